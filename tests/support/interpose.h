// System calls and the allocator of the process, stood in front of: paths are redirected into a folder of the test's
// own, and the n-th call can be made to fail. Calls from outside the library pass through untouched unless armed.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include <sys/select.h>

#include "support/scoped.h"

// A folder of its own for one test, removed with its contents at the end. While it lives, opens of /tmp/fe_table.entry,
// /tmp/fe_table.sz, /var/stor_stat and /var/SA_vSEL_FIFO go to files of the same base name in it. Without one, opens of
// these paths fail with ENOENT: no test touches the real ones.
class SandboxPaths : Scoped {
public:
    SandboxPaths();
    ~SandboxPaths();
    std::string path(const std::string &base_name) const { return dir_ + "/" + base_name; } // as path("fe_table.sz")
    std::string bytes(const std::string &base_name) const; // content; "<missing>" when there is no such file

private:
    std::string dir_;
};

enum class Call {
    allocate,
    open,
    lockf,
    write,
    fsync,
    close,
    thread_create,
    write_short, // writes half of its bytes
    read,
    select,
    fstat,
    neighbour, // of whichever calls somebody asks is_to_fail() about
    file,      // any open, lockf, write, fsync or close
};

enum class Way { alone, with_all_behind_it, kills }; // the process, before the call

// While it lives, the n-th call (1 is the first; 0: none) of that kind made by this thread fails. Allocation failures
// return null, the others -1 (thread_create: EAGAIN). A thread that this one creates meanwhile is armed in the same way
// for its own calls, for good.
class FailCall : Scoped {
public:
    FailCall(Call call, int nth, Way way = Way::alone);
    ~FailCall();

private:
    const Call call_;
};

// Whether a call of that kind that this thread makes now is to fail; it counts as one.
bool is_to_fail(Call call);

// Calls, by all threads, that were made to fail since the start of the process.
int failed_calls();

// While it lives, counts the blocks that this thread, and the threads that it creates, allocate less those they free.
struct BlockCount : OfThread<BlockCount> {
    std::atomic<int> count = 0;
};

// While it lives, records the sequence of open, lockf, write, fsync and close calls of this thread as text:
// "open fe_table.entry RDWR|CREAT|TRUNC 0704", "open stor_stat RDWR|TRUNC", "lockf fe_table.sz F_LOCK 0",
// "write fe_table.sz 4", "fsync fe_table.entry", "close fe_table.sz".
struct CallTrace : OfThread<CallTrace> {
    std::vector<std::string> lines;
};

// While it lives, the function answers select() of this thread, and fstat() of this thread leaves errno_of_fstat
// behind.
struct ScriptedWait : OfThread<ScriptedWait> {
    using Answer = std::function<int(int limit, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *)>;
    explicit ScriptedWait(Answer select_answer) : answer(std::move(select_answer)) {}
    const Answer answer;
    int errno_of_fstat = 0;
};

// While it lives, the function runs before every duplicate sweep that the library makes in this thread.
struct OnSweep : OfThread<OnSweep> {
    explicit OnSweep(std::function<void()> function) : seen(std::move(function)) {}
    const std::function<void()> seen;
};

// The mutexes and conditions that were destroyed since it was last asked, by any thread, in order.
std::vector<const void *> take_destroyed();
