// More of the process's calls stood in front of, for tests of the live engine.
#pragma once

#include <functional>
#include <vector>

#include <sys/select.h>

#include "support/interpose.h"

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

// While it lives, records which mutexes and conditions are destroyed, by any thread, in order. One at a time.
struct DestroyLog : Scoped {
    DestroyLog();
    ~DestroyLog();
    std::vector<const void *> addresses() const;
    bool has(const void *address) const;
};
