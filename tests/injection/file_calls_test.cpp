// The calls that publish the table, failing one by one, and the death of the process at each of them: a reader takes
// the pair of files for what it was or what it is to be, or refuses it, but never takes a torn pair for a good one.
#include <algorithm>
#include <csignal>
#include <cstdio>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "injection/table.h"
#include "support/interpose.h"
#include "tools/fectl.h"

namespace {

void clear_first() {
    put({3, 1, 5, FE_SEVERITY_CLEARED});
}
void create_next() {
    put({3, static_cast<int32_t>(fe_fault_count) + 1, 5});
}
void update_oldest() {
    const fe_table_entry *oldest = fe_table_head_ptr;
    while (oldest->next != nullptr) {
        oldest = oldest->next;
    }
    put({3, oldest->record.entity_instance, 5});
}

enum Seen { old_table, new_table, refused, torn };

// With `records` to write, calls 1 and 2 open the files, 3 and 4 lock them, 5 writes the count, then each record has
// its write; two fsync, two unlock and two close.
constexpr int calls_of(int records) {
    return 11 + records;
}

// What a reader sees after the n-th of them has failed, alone or with all behind it; death before the n-th comes to the
// latter. A first call that fails leaves the old records as they are.
constexpr Seen implied(int nth, bool lasting, int records) {
    if (nth == 1) {
        return old_table;
    }
    return nth <= 5 + records && (lasting || nth >= 5) ? refused : new_table;
}

// The call to try after the n-th: where time is short not every record's.
constexpr int next_call(int nth, int records) {
    return nth > 5 && nth + RECORD_STEP <= 5 + records ? nth + RECORD_STEP : nth + 1;
}

class FileCalls : public testing::Test {
protected:
    ~FileCalls() override { reset_world(); }

    void fill(int faults) {
        reset_world();
        world().keep_log = false;
        for (int i = 0; i < faults; ++i) {
            create_next();
        }
        sel_init_complete = 1;
        std::ranges::fill(seen, 0);
    }

    Table read() const { return read_table_files(sandbox.path("")); }

    // What the files hold: the chain, another table, or neither.
    Seen look(Seen chain, const Table &table, Seen other) {
        Seen found = refused;
        try {
            const Table records = read();
            const auto same = [](const auto &one, const auto &two) { return memcmp(&one, &two, sizeof one) == 0; };
            found = is_chain(records) ? chain : std::ranges::equal(records, table, same) ? other : torn;
        } catch (const Refusal &) {
        }
        ++seen[found];
        return found;
    }

    static void die_changing(void (*change)(), int nth) {
        const pid_t child = fork();
        if (child == 0) {
            kill_before_file_call(nth);
            change();
            raise(SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    }

    void report(const char *what) const {
        printf("%s: old table %d, new table %d, refused %d\n", what, seen[old_table], seen[new_table], seen[refused]);
    }

    SandboxPaths sandbox;
    int seen[torn + 1] = {};
};

TEST_F(FileCalls, EachFailsInAChangeOfAFullTable) {
    constexpr int records = FE_TABLE_MAX_FAULTS;
    for (const bool lasting : {false, true}) {
        fill(records);
        update_oldest();
        Table before = read();
        for (int nth = 1, failed = -1; failed != failed_calls(); nth = next_call(nth, records)) {
            SCOPED_TRACE(nth);
            ASSERT_LE(nth, calls_of(records) + 1);
            failed = failed_calls();
            {
                const FailCall failure(Call::file, nth, lasting);
                update_oldest();
            }
            ASSERT_EQ(look(new_table, before, old_table), implied(nth, lasting, records));
            ASSERT_EQ(broken_invariant(), "");
            ASSERT_EQ(failed == failed_calls(), nth > calls_of(records));
            update_oldest();
            before = read();
            ASSERT_TRUE(is_chain(before));
        }
        report(lasting ? "file calls failing from the n-th on" : "the n-th file call failing");
    }
}

TEST_F(FileCalls, NoDeathLeavesATornPairThatIsTakenForGood) {
    if (!FORKS) {
        GTEST_SKIP() << "forks";
    }
    const struct {
        const char *name;
        int faults;
        void (*change)();
        int records;
    } rows[] = {{"killed while clearing the only fault", 1, clear_first, 0},
                {"killed while creating the second fault", 1, create_next, 2},
                {"killed while updating the older of two", 2, update_oldest, 2},
                {"killed while updating a full table", FE_TABLE_MAX_FAULTS, update_oldest, FE_TABLE_MAX_FAULTS}};
    for (const auto &[name, faults, change, records] : rows) {
        fill(faults);
        change();
        const Table after = read();
        fill(faults);
        for (int nth = 1; nth <= calls_of(records) + 1; nth = next_call(nth, records)) {
            write_to_fe_file(fe_table_head_ptr);
            die_changing(change, nth);
            ASSERT_EQ(look(old_table, after, new_table), implied(nth, true, records)) << name << ", call " << nth;
        }
        report(name);
    }
}

} // namespace
