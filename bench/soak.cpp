// soak [seconds]   (600 when not given)
//
// Runs the engine as on the target, all of it at once, for the given time: a producer of fault requests and a writer of
// the SEL FIFO, each with a schedule of its own, the duplicate and stale passes, and readers of the table files. Then it
// lets the table overflow, stops the engine and compares. What the engine broadcasts is checked event by event
// (soak_check.h). Fails on any difference between what went in and what came out.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "bench/neighbours.h"
#include "bench/private_folder.h"
#include "bench/soak_check.h"
#include "bench/soak_reader.h"
#include "bench/soak_schedule.h"
#include "fault_engine/engine.h"
#include "platform/fe_core/fe_core.h"

// The engine's own, which calls it as anybody else would.
extern "C" void cleanup_duplicate_events() {
    static auto *const sweep = reinterpret_cast<void (*)()>(dlsym(RTLD_NEXT, "cleanup_duplicate_events"));
    sweep();
    ++counts().sweeps;
}

namespace {

using Clock = std::chrono::steady_clock;

constexpr int reader_count = 2;
constexpr auto nap = std::chrono::microseconds(200);
constexpr auto patience = std::chrono::seconds(60); // without any progress

enum class Phase { mixed, drained, fill, over };
std::atomic<Phase> phase = Phase::mixed;
std::atomic<uint64_t> dispatchable_sent[2];
std::atomic<bool> idle[2];

uint64_t progress() {
    return counts().dispatched[0] + counts().dispatched[1] + counts().sweeps + counts().stale_passes;
}

// What does not come at all would hang the threads that wait with us.
template <class Condition>
void await(const char *what, Condition holds) {
    uint64_t seen = progress();
    auto limit = Clock::now() + patience;
    while (!holds()) {
        if (progress() != seen) {
            seen = progress();
            limit = Clock::now() + patience;
        } else if (Clock::now() > limit) {
            fprintf(stderr, "soak: %s: nothing happens any more\n", what);
            _exit(1);
        }
        std::this_thread::sleep_for(nap);
    }
}

// One source: sends its events until the time is up, then, once the engine has caught up, those that fill the table.
template <class Send>
void run_source(Source source, Schedule &schedule, Send send) {
    const auto which = static_cast<size_t>(source);
    const auto send_next = [&] {
        const Event event = schedule.next();
        if (event.after_sweep) {
            await("a duplicate pass", [&] {
                return counts().dispatched[which] == dispatchable_sent[which] &&
                       counts().sweeps > counts().sweeps_before_last_dispatch;
            });
        }
        if (event.fate != Event::Fate::refused) {
            ++dispatchable_sent[which];
        }
        ++counts().sent[which];
        send(event);
    };
    while (phase == Phase::mixed || !schedule.may_stop()) {
        send_next();
    }
    idle[which] = true;
    await("the other source", [] { return phase == Phase::fill; });
    counts().fill_from[which].store(schedule.sent(), std::memory_order_release);
    for (unsigned i = 0; i < fill_events; ++i) {
        send_next();
    }
    idle[which] = true;
}

// In the place of the core library's interface: returns when the engine is to stop.
void produce_requests(fe_read_buf_struct *buffer) {
    Schedule schedule(Source::requests, counts().fill_from[0]);
    run_source(Source::requests, schedule, [=](const Event &event) {
        pthread_mutex_lock(&buffer->fe_read_wait_mutex);
        while (fe_flag(&fe_read_complete) != 0) {
            pthread_cond_wait(&buffer->fe_read_wait_cond, &buffer->fe_read_wait_mutex);
        }
        pthread_mutex_unlock(&buffer->fe_read_wait_mutex);

        pthread_mutex_lock(&buffer->fe_read_buf_mutex);
        *buffer->fe_read_buf = request_of(event);
        fe_set_flag(&fe_read_complete, 1);
        pthread_cond_signal(&buffer->fe_read_buf_cond);
        pthread_mutex_unlock(&buffer->fe_read_buf_mutex);
    });
    while (phase != Phase::over) {
        std::this_thread::sleep_for(nap);
    }
}

void write_record(int fifo, const sel_record &record) {
    if (write(fifo, &record, sizeof record) != sizeof record) {
        difference("the FIFO does not take a record");
    }
}

// The first events of the source are the SEL that the start-up walk finds.
std::vector<sel_record> take_walk(Schedule &schedule) {
    std::vector<sel_record> walk;
    while (walk.size() < walk_records) {
        walk.push_back(schedule.next().record);
    }
    dispatchable_sent[1] = walk_records;
    counts().sent[1] = walk_records;
    return walk;
}

void run_stale_passes() {
    while (phase != Phase::over) {
        cleanup_deasserted_events();
        ++counts().stale_passes;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// Returns when the engine has committed all that the sources sent.
void await_caught_up() {
    for (const Source source : sources) {
        const auto which = static_cast<size_t>(source);
        await("the sources", [=] { return idle[which].load(); });
        await("the engine", [=] { return counts().dispatched[which] == dispatchable_sent[which]; });
    }
    pthread_mutex_lock(&fe_write_buf_struct_ptr->fe_write_buf_mutex);
    pthread_mutex_unlock(&fe_write_buf_struct_ptr->fe_write_buf_mutex);
}

void print_progress(const ReaderCounts &readers) {
    printf("%llu requests and %llu SEL records in, %llu broadcasts out, %llu reader checks passed, %llu differences\n",
           static_cast<unsigned long long>(counts().sent[0]), static_cast<unsigned long long>(counts().sent[1]),
           static_cast<unsigned long long>(counts().broadcasts), static_cast<unsigned long long>(readers.passed),
           static_cast<unsigned long long>(counts().differences + readers.wrong));
    fflush(stdout);
}

// The mixed stretch.
void soak_for(std::chrono::seconds time, const ReaderCounts &readers) {
    const bool on_terminal = isatty(STDOUT_FILENO) != 0;
    const auto end = Clock::now() + time;
    auto next_line = Clock::now() + std::chrono::seconds(10);
    while (Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (on_terminal && Clock::now() >= next_line) {
            print_progress(readers);
            next_line += std::chrono::seconds(10);
        }
    }
}

// Two whole passes after the last event leave nothing stale.
void await_nothing_stale() {
    const uint64_t passes = counts().stale_passes;
    await("the stale passes", [=] { return counts().stale_passes >= passes + 2; });
    pthread_mutex_lock(&fe_table_mutex);
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        if (entry->record.entity_id == transient_entity) {
            difference("a stale fault is left");
        }
    }
    pthread_mutex_unlock(&fe_table_mutex);
}

void run_engine(int fifo, std::chrono::seconds time, const ReaderCounts &readers) {
    static Schedule sel_schedule(Source::sel, counts().fill_from[1]);
    const std::vector<sel_record> walk = take_walk(sel_schedule);
    neighbours::serve_sel(walk);

    init_sdr_lookup();
    if (init_listener() != 0 || init_broadcaster() != 0 || init_fault_processor() != 0) {
        difference("a thread of the engine does not start");
        return;
    }
    await("the write buffer", [] { return __atomic_load_n(&fe_write_buf_struct_ptr, __ATOMIC_ACQUIRE) != nullptr; });
    std::thread sel_thread([] { init_database(); });
    std::thread sel_writer(
        [=] { run_source(Source::sel, sel_schedule, [=](const Event &event) { write_record(fifo, event.record); }); });
    std::thread stale_passes(run_stale_passes);

    soak_for(time, readers);
    phase = Phase::drained;
    await_caught_up();
    await_nothing_stale();
    idle[0] = idle[1] = false;
    phase = Phase::fill;
    await_caught_up();
    phase = Phase::over;

    sel_writer.join();
    stale_passes.join();
    pthread_join(fe_listener_thread_id, nullptr);
    pthread_join(fe_fault_processor_thread_id, nullptr);
    pthread_join(fe_broadcaster_thread_id, nullptr);
    write_record(fifo, {}); // the SEL thread looks at the stop flag when there is something to read
    sel_thread.join();
    if (fe_read_buf_struct_ptr != nullptr || fe_write_buf_struct_ptr != nullptr) {
        difference("a buffer outlives the engine");
    }
}

void print_line(const char *what, uint64_t count) {
    printf("%-42s %12llu\n", what, static_cast<unsigned long long>(count));
}

void print_counts(const ReaderCounts &readers) {
    print_line("fault requests in", counts().sent[0]);
    print_line("SEL records in", counts().sent[1]);
    print_line("of both, dispatched to the entity filter", counts().dispatched[0] + counts().dispatched[1]);
    print_line("broadcasts out", counts().broadcasts);
    print_line("  faults created", counts().created);
    print_line("  faults repeated", counts().repeated);
    print_line("  faults cleared", counts().cleared);
    print_line("faults in the table at the end", fe_fault_count);
    print_line("duplicate passes", counts().sweeps);
    print_line("stale passes", counts().stale_passes);
    print_line("reader checks passed", readers.passed);
    print_line("reader checks retried", readers.retried);
    print_line("reader checks failed", readers.wrong);
    print_line("differences", counts().differences);
}

ReaderCounts &shared_counts() {
    void *memory = mmap(nullptr, sizeof(ReaderCounts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        perror("soak: mmap");
        exit(2);
    }
    return *new (memory) ReaderCounts{};
}

} // namespace

int main(int argc, char **argv) {
    char *end = nullptr;
    const std::chrono::seconds time(argc > 1 ? strtol(argv[1], &end, 10) : 600);
    if (argc > 2 || time.count() < 1 || (end != nullptr && *end != '\0')) {
        fprintf(stderr, "usage: soak [SECONDS]   (600 when not given)\n");
        return 2;
    }
    const PrivateFolder folder(temporary_parent());
    const std::string entry_file = folder.path("fe_table.entry");
    const std::string count_file = folder.path("fe_table.sz");
    const std::string status_file = folder.path("stor_stat");
    const std::string fifo_file = folder.path("SA_vSEL_FIFO");
    close(creat(status_file.c_str(), 0600));
    const int fifo = mkfifo(fifo_file.c_str(), 0600) == 0 ? open(fifo_file.c_str(), O_RDWR) : -1;
    if (fifo < 0) {
        perror("soak: FIFO");
        return 2;
    }
    fcntl(fifo, F_SETPIPE_SZ, 4096); // the writer is never more than 256 records ahead

    check_status_in(status_file);
    ReaderCounts &readers = shared_counts();
    std::vector<pid_t> reader_pids;
    for (int i = 0; i < reader_count; ++i) {
        reader_pids.push_back(start_reader(entry_file.c_str(), count_file.c_str(), readers));
    }
    describe_soak_sensors();
    neighbours::behaviour() = {.filter = check_dispatch,
                               .broadcast = check_broadcast,
                               .run_interface = produce_requests,
                               .run_broadcaster = [] {}};
    run_engine(fifo, time, readers);
    readers.stop = true;
    for (const pid_t pid : reader_pids) {
        int status = 0;
        if (waitpid(pid, &status, 0) != pid || status != 0) {
            difference("a reader failed");
        }
    }
    close(fifo);
    check_end(entry_file.c_str(), count_file.c_str());
    if (readers.passed == 0) {
        difference("no reader ever got a pair");
    }
    print_counts(readers);
    return counts().differences == 0 && readers.wrong == 0 ? 0 : 1;
}
