// The engine's surroundings in fectl, from before it starts until after it has stopped: its log, its pauses, its files,
// and the listener that is told what it does.
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>

#include "tools/engine_options.h"
#include "tools/private_folder.h"
#include "tools/story.h"

// One at a time. A process that starts the engine has one in all, since nothing empties the engine's table.
class EngineSession {
public:
    // Without --real-time pauses are cut to `longest_pause`. Throws Refusal when the log cannot be written.
    EngineSession(const EngineOptions &options, std::chrono::milliseconds longest_pause, story::Listener &listener);
    ~EngineSession();
    EngineSession(const EngineSession &) = delete;
    EngineSession &operator=(const EngineSession &) = delete;

    // After the engine has stopped. Says what files have failed; false if any has.
    bool files_are_good() const;

private:
    struct CloseFile {
        void operator()(FILE *file) const { fclose(file); }
    };

    std::string log_path_;
    std::unique_ptr<FILE, CloseFile> log_;
};

// The engine starts on the served capture: all records but the last `live` go through the start-up walk, those through
// process_sel_data() afterwards. There are no threads.
void replay_served_capture(size_t live);
