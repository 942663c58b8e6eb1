// Captures through the engine.
#pragma once

#include <unistd.h>

#include <string>

#include "tools/capture.h"
#include "tools/engine_options.h"
#include "tools/story.h"
#include "tools/view.h"

namespace CLI {
class App;
}

struct ReplayOptions {
    CaptureOptions capture;
    EngineOptions engine;
    ViewOptions view;
    size_t live = 0;
};
void add_replay_options(CLI::App &app, ReplayOptions &options); // --live and those of captures and engine

// Replays a capture in this process, which can do so once. `files_are_good` is false when the engine's files or its log
// could not be written, which has been said. Without a folder in the options the engine's files go with the call. Throws
// Refusal and CaptureError for what is wrong with the capture, before the engine is touched.
struct Replayed {
    story::Ending ending;
    bool files_are_good;
};
Replayed replay(const CaptureFiles &files, const EngineOptions &engine, size_t live, story::Listener &listener);

// The same, printed; returns the exit code.
int replay_and_print(const CaptureFiles &files, const ReplayOptions &options);

// A replay in a process of its own, since a process can do only one. What it prints is kept for take().
class ReplayApart {
public:
    // Its standard error is `complaints`.
    ReplayApart(const CaptureFiles &files, const ReplayOptions &options, int complaints = STDERR_FILENO);
    ~ReplayApart();
    ReplayApart(ReplayApart &&other) noexcept;
    ReplayApart &operator=(ReplayApart &&) = delete;

    // Waits for its end; all of its standard output.
    std::string take();
    int exit_code() const { return exit_code_; } // after that

private:
    int pid_ = -1;
    int output_ = -1;
    int exit_code_ = 0;
};
