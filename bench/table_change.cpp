// One change of the table with its files written, against the same system calls on the same bytes.
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <numeric>
#include <random>
#include <unistd.h>

#include "bench/compare.h"
#include "bench/private_folder.h"
#include "bench/table_fill.h"
#include "platform/fe_core/fe_core.h"

namespace {

constexpr char memory_file_system[] = "/dev/shm";

// Copies of the table's records in blocks of their own, linked in an order that has nothing to do with that of the
// memory.
class ScatteredRecords {
public:
    explicit ScatteredRecords(const fe_table_entry *first) {
        for (; first != nullptr; first = first->next) {
            auto *copy = static_cast<fe_table_entry *>(malloc(sizeof *first));
            gaps_.push_back(malloc(sizeof(fault_node)));
            *copy = *first;
            copies_.push_back(copy);
        }
        std::shuffle(copies_.begin(), copies_.end(), std::minstd_rand(2));
        for (size_t i = 0; i < copies_.size(); ++i) {
            copies_[i]->next = i + 1 < copies_.size() ? copies_[i + 1] : nullptr;
        }
    }
    ~ScatteredRecords() {
        std::for_each(copies_.begin(), copies_.end(), free);
        std::for_each(gaps_.begin(), gaps_.end(), free);
    }
    ScatteredRecords(const ScatteredRecords &) = delete;
    ScatteredRecords &operator=(const ScatteredRecords &) = delete;

    const fe_table_entry *first() const { return copies_.front(); }
    uint32_t count() const { return static_cast<uint32_t>(copies_.size()); }

private:
    std::vector<fe_table_entry *> copies_;
    std::vector<void *> gaps_;
};

bool write_pair(const fe_table_entry *first, uint32_t count) {
    const int entries_fd = open("/tmp/fe_table.entry", O_RDWR | O_CREAT | O_TRUNC, 0704);
    const int count_fd = open("/tmp/fe_table.sz", O_RDWR | O_CREAT | O_TRUNC, 0704);
    bool ok = lockf(entries_fd, F_LOCK, 0) == 0 && lockf(count_fd, F_LOCK, 0) == 0;
    ok &= write(count_fd, &count, sizeof count) == sizeof count;
    for (; first != nullptr; first = first->next) {
        ok &= write(entries_fd, &first->record, sizeof first->record) == sizeof first->record;
    }
    ok &= fsync(entries_fd) == 0 && fsync(count_fd) == 0;
    ok &= lockf(count_fd, F_ULOCK, 0) == 0 && lockf(entries_fd, F_ULOCK, 0) == 0;
    close(entries_fd);
    close(count_fd);
    return ok;
}

void change(benchmark::State &state, int faults, bool on_disk) {
    const PrivateFolder folder(on_disk ? temporary_parent() : memory_file_system);
    const Layout layout = faults % 64 == 0 ? Layout{8, 8, faults / 64} : Layout{1, 1, faults};
    fill_table(layout);
    const ScatteredRecords records(fe_table_head_ptr);
    fe_set_flag(&sel_init_complete, 1);

    RecordInHand hand;
    std::minstd_rand random(3);
    bool ok = true;
    const auto change_one = [&] {
        make_fault(layout, static_cast<int>(random() % static_cast<unsigned>(faults)), hand.record);
        ok &= update_fe_database(&hand.block) == 0;
    };
    const auto system_calls = [&] { ok &= write_pair(records.first(), records.count()); };
    compare(state, 1, change_one, system_calls);
    fe_set_flag(&sel_init_complete, 0);

    ok &= std::filesystem::file_size(folder.path("fe_table.entry")) == sizeof(fe_write_buf) * records.count();
    if (!ok) {
        state.SkipWithError("the files were not written");
    }
    state.counters[result::faults] = faults;
    state.counters[result::on_disk] = on_disk;
}

void add_series(bool on_disk, int rounds) {
    for (const int faults : {1, 64, 256, 512, 768, 1024}) {
        const std::string where = on_disk ? "on disk" : "in memory";
        const std::string what = faults == 1 ? " fault" : " faults";
        add_comparison("one change, files " + where + ", " + std::to_string(faults) + what, rounds,
                       [=](benchmark::State &state) { change(state, faults, on_disk); });
    }
}

} // namespace

void add_table_change() {
    add_series(true, 301);
    if (access(memory_file_system, W_OK) == 0) {
        add_series(false, 1001);
    }
}
