// System calls and the allocator of the process, stood in front of: paths are redirected into a folder of the test's
// own, and the n-th call can be made to fail. Calls from outside the library pass through untouched unless armed.
#pragma once

#include <atomic>
#include <string>
#include <vector>

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
    void create(const std::string &base_name) const;       // an empty file (stor_stat must exist to be written)

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

// While it lives, the n-th call (1 is the first) of that kind made by this thread fails; `lasting`: all later ones, too.
// Allocation failures return null, the others -1 (thread_create: EAGAIN). A thread that this one creates meanwhile is
// armed in the same way for its own allocations, for good.
class FailCall : Scoped {
public:
    FailCall(Call call, int nth, bool lasting = false);
    ~FailCall();
    int count() const; // calls of that kind seen so far

private:
    const Call call_;
};

// Whether a call of that kind that this thread makes now is to fail; it counts as one.
bool is_to_fail(Call call);

// Calls, by all threads, that were made to fail since the start of the process.
int failed_calls();

// From now on this process is killed (SIGKILL) before the n-th call of Call::file that this thread makes.
void kill_before_file_call(int nth);

// While it lives, counts the blocks that this thread, and the threads that it creates, allocate less those they free.
struct BlockCount : OfThread<BlockCount> {
    int blocks() const { return count; }
    std::atomic<int> count = 0;
};

// While it lives, opens of this base name in the sandbox fail with EACCES.
struct FailOpen : OfThread<FailOpen> {
    explicit FailOpen(const std::string &name) : base_name(name) {}
    const std::string base_name;
};

// While it lives, records the sequence of open, lockf, write, fsync and close calls of this thread as text:
// "open fe_table.entry RDWR|CREAT|TRUNC 0704", "open stor_stat RDWR|TRUNC", "lockf fe_table.sz F_LOCK 0",
// "write fe_table.sz 4", "fsync fe_table.entry", "close fe_table.sz".
struct CallTrace : OfThread<CallTrace> {
    const std::vector<std::string> &calls() const { return lines; }
    std::vector<std::string> lines;
};
