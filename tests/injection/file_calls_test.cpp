// The calls that publish the table, failing one by one, and the death of the process at each of them: a reader takes
// the pair of files for what it was or what it is to be, or refuses it, but never takes a torn pair for a good one.
#include <algorithm>
#include <csignal>
#include <ctime>

#include <sys/wait.h>
#include <unistd.h>

#include "fault_table/faults.h"
#include "tools/fectl.h"
#include "tools/table_files.h"

// The reader of the table files pauses between its attempts; no test should wait for that.
extern "C" int nanosleep(const timespec *, timespec *) {
    return 0;
}

namespace {

void clear_first() {
    put({3, 1, 5, FE_SEVERITY_CLEARED});
}
void create_next() {
    put({3, static_cast<int32_t>(fe_fault_count) + 1, 5});
}
void update_oldest() {
    fe_write_buf oldest = chain().back();
    update(oldest);
}

enum Seen { old_table, new_table, refused, torn };

// With `records` to write, calls 1 and 2 open the files, 3 and 4 lock them, 5 writes the count, then each record has
// its write; two fsync, two unlock and two close.
constexpr int calls_of(int records) {
    return 11 + records;
}

// What a reader sees after that has befallen the n-th of them. Before the first nothing has changed; a file that cannot
// be opened stays as it is.
constexpr Seen implied(int nth, Way way, int records, bool count_changes) {
    if (nth <= 2 && way == Way::alone) {
        return count_changes ? refused : nth == 1 ? old_table : new_table;
    }
    if (nth == 1) {
        return old_table;
    }
    return nth <= 5 + records && (nth >= 5 || way != Way::alone) ? refused : new_table;
}

// The call to try after the n-th: where time is short not every record's.
constexpr int next_call(int nth, int records) {
    return nth > 5 && nth + RECORD_STEP <= 5 + records ? nth + RECORD_STEP : nth + 1;
}

// In a process of its own, which says whether it befell it.
void change_in_child(void (*change)(), Way way, int nth, bool may_happen) {
    const pid_t child = fork();
    if (child == 0) {
        const int failed = failed_calls();
        const FailCall failure(Call::file, nth, way);
        change();
        _exit(broken_invariant().empty() && (failed_calls() != failed) == may_happen ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, way == Way::kills && may_happen ? SIGKILL : 0);
}

void fill(int faults) {
    reset_world();
    world().keep_log = false;
    while (faults-- > 0) {
        create_next();
    }
    sel_init_complete = 1;
}

TEST_F(FaultTable, NoFileCallLeavesATornPairThatIsTakenForGood) {
    if (!FORKS) {
        GTEST_SKIP() << "forks";
    }
    const struct {
        const char *name;
        int faults;
        void (*change)();
        int records;
    } rows[] = {{"clearing the only fault", 1, clear_first, 0},
                {"creating the second fault", 1, create_next, 2},
                {"updating the older of two", 2, update_oldest, 2},
                {"updating a full table", FE_TABLE_MAX_FAULTS, update_oldest, FE_TABLE_MAX_FAULTS}};
    for (const auto &[name, faults, change, records] : rows) {
        fill(faults);
        change();
        const auto after = chain();
        fill(faults);
        const auto before = chain();
        const auto look = [&] {
            try {
                const auto seen = read_table_files(sandbox.path(""));
                return seen == before ? old_table : seen == after ? new_table : torn;
            } catch (const Refusal &) {
                return refused;
            }
        };
        for (const Way way : {Way::alone, Way::with_all_behind_it, Way::kills}) {
            for (int nth = 1; nth <= calls_of(records) + 1; nth = next_call(nth, records)) {
                write_to_fe_file(fe_table_head_ptr);
                change_in_child(change, way, nth, nth <= calls_of(records));
                ASSERT_EQ(look(), implied(nth, way, records, before.size() != after.size()))
                    << name << ", way " << int(way) << ", call " << nth;
            }
        }
    }
}

} // namespace
