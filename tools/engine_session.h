// The engine's surroundings in fectl, from before it starts until after it has stopped: its log, its pauses, its files,
// and what is printed of it: a line a broadcast, then the active faults and the counts.
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>

#include "platform/fe_core/fe_core_host.h"
#include "tools/engine_options.h"
#include "tools/fault_list.h"
#include "tools/progress.h"

struct RequestsSeen {
    fe_core::RequestCounts counts;
    size_t left; // in the socket when the engine stopped
};

// One at a time: the engine's callbacks find it in a global.
class EngineSession {
public:
    // Without --real-time pauses are cut to `longest_pause`. Throws Refusal when the log cannot be written.
    EngineSession(const EngineOptions &options, std::chrono::milliseconds longest_pause);
    ~EngineSession();
    EngineSession(const EngineSession &) = delete;
    EngineSession &operator=(const EngineSession &) = delete;

    void show_progress(size_t records) { progress_.start(records); }

    // After the engine has stopped; `requests` is null for an engine that took none. Says what files have failed.
    void print_end(const RequestsSeen *requests);

private:
    struct CloseFile {
        void operator()(FILE *file) const { fclose(file); }
    };

    static void show_broadcast(fe_write_buf_struct *write_buffer);
    void report_failed_files();

    std::string log_path_;
    std::unique_ptr<FILE, CloseFile> log_;
    FaultList list_{stdout};
    Progress progress_;
    size_t lines_ = 0; // with the engine's fe_write_buf_mutex held, as all of show_broadcast()
};
