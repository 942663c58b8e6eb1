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

enum Seen { old_table, new_table, refused, torn, unexplained, unsound };

// With `records` to write, calls 1 and 2 open the files, 3 and 4 lock them, 5 writes the count, then each record has
// its write; two fsync, two unlock and two close.
constexpr int calls_of(int records) {
    return 11 + records;
}

// What befalls the calls, or of the writes alone, which come fifth and later.
struct Failure {
    const char *name;
    Call call;
    Way way;

    int last_call(int records) const { return call == Call::file ? calls_of(records) : 1 + records; }
    int first_record() const { return call == Call::file ? 6 : 2; }
};
constexpr Failure failures[] = {{"fails", Call::file, Way::alone},
                                {"fails with all behind it", Call::file, Way::with_all_behind_it},
                                {"kills", Call::file, Way::kills},
                                {"is short", Call::write_short, Way::alone},
                                {"is short with all behind it", Call::write_short, Way::with_all_behind_it}};

// What a reader sees after that has befallen the n-th of them. Before the first nothing has changed; a file that cannot
// be opened stays as it is.
Seen implied(int nth, const Failure &failure, int records, bool count_changes) {
    const bool alone = failure.way == Way::alone;
    if (nth > failure.last_call(records)) {
        return new_table;
    }
    if (failure.call == Call::write_short) {
        return refused;
    }
    if (nth <= 2 && alone) {
        return count_changes ? refused : nth == 1 ? old_table : new_table;
    }
    if (nth == 1) {
        return old_table;
    }
    return nth <= 5 + records && (nth >= 5 || !alone) ? refused : new_table;
}

// The call to try after the n-th: where time is short not every record's.
int next_call(int nth, const Failure &failure, int records) {
    const int first = failure.first_record();
    return nth >= first && nth + RECORD_STEP < first + records ? nth + RECORD_STEP : nth + 1;
}

// A reader of the files, who knows the table before the change and after it.
struct Reader {
    std::string folder;
    std::vector<fe_write_buf> before, after;

    std::vector<fe_write_buf> read() const { return read_table_files(folder); }
    Seen look() const {
        try {
            const auto seen = read();
            return seen == before ? old_table : seen == after ? new_table : torn;
        } catch (const Refusal &refusal) {
            return strstr(refusal.what(), " bytes long, ") != nullptr ? refused : unexplained;
        }
    }
};

// The failing change comes in a process of its own, which, if it lives, goes on with a good one.
Seen after_failure(void (*change)(), const Failure &failure, int nth, bool may_happen, const Reader &reader) {
    const pid_t child = fork();
    if (child == 0) {
        const int failed = failed_calls();
        {
            const FailCall failing(failure.call, nth, failure.way);
            change();
        }
        const bool sound = broken_invariant().empty() && (failed_calls() != failed) == may_happen;
        const Seen seen = reader.look();
        create_next();
        _exit(sound && reader.read() == chain() ? seen : unsound);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    if (WIFSIGNALED(status)) {
        EXPECT_TRUE(WTERMSIG(status) == SIGKILL && failure.way == Way::kills && may_happen) << status;
        return reader.look();
    }
    return static_cast<Seen>(WEXITSTATUS(status));
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
        const Reader reader{sandbox.path(""), before, after};
        for (const Failure &failure : failures) {
            const int last_call = failure.last_call(records);
            for (int nth = 1; nth <= last_call + 1; nth = next_call(nth, failure, records)) {
                write_to_fe_file(fe_table_head_ptr);
                const Seen seen = after_failure(change, failure, nth, nth <= last_call, reader);
                ASSERT_EQ(seen, implied(nth, failure, records, before.size() != after.size()))
                    << name << ": call " << nth << " " << failure.name;
            }
        }
    }
}

} // namespace
