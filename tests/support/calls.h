// System calls and the allocator of the process, stood in front of: the n-th call can be made to fail, and what was
// called can be told. Calls pass through untouched unless armed, but for fsync() and syslog(), which do nothing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/select.h>

#include "support/scoped.h"

enum class Call {
    allocate,
    open,
    lockf,
    write,
    write_short, // writes half of its bytes
    fsync,
    close,
    read,
    fstat,
    select,
    thread_create,
    neighbour, // a function of platform/*.h, as world.cpp answers it
    count
};

enum class Way { alone, with_all_behind_it };

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

// While it lives, tells the function of this thread's calls on files: "open fe_table.entry RDWR|CREAT|TRUNC 0704",
// "lockf fe_table.sz F_LOCK 0", "write fe_table.sz 4", "fsync fe_table.entry", "close fe_table.sz".
struct CallTrace : OfThread<CallTrace> {
    explicit CallTrace(std::function<void(const std::string &call)> function) : seen(std::move(function)) {}
    const std::function<void(const std::string &call)> seen;
};

// While it lives, the function answers select() of this thread, and fstat() of this thread leaves errno_of_fstat
// behind.
struct ScriptedWait : OfThread<ScriptedWait> {
    using Answer = std::function<int(int limit, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *)>;
    explicit ScriptedWait(Answer select_answer) : answer(std::move(select_answer)) {}
    const Answer answer;
    int errno_of_fstat = 0;
};

// While set, told of every condition that any thread broadcasts or signals, in that thread.
extern std::function<void(const void *cond)> on_wake_up;

// The mutexes and conditions that were destroyed since it was last asked, by any thread, in order.
std::vector<const void *> take_destroyed();

// What the process would leave in the machine's log comes here.
extern std::function<void(int priority, const std::string &format)> on_syslog;
