#include "tools/replay_run.h"

#include <memory>

#include "tools/cli.h"
#include "tools/engine_session.h"
#include "tools/engine_watch.h"
#include "tools/fectl.h"
#include "tools/private_folder.h"
#include "tools/progress.h"

namespace {

// Passes on what happens, and tells how far it is.
class WithProgress : public story::Listener {
public:
    WithProgress(story::Listener &listener, size_t records) : listener_(listener) { progress_.expect(records); }
    void change(const story::Change &change) override {
        progress_.erase();
        listener_.change(change);
    }
    void refused(const story::Refused &refused) override { listener_.refused(refused); }
    void record_done() override { progress_.step("records"); }

private:
    story::Listener &listener_;
    Progress progress_;
};

} // namespace

Replayed replay(const CaptureFiles &files, const EngineOptions &engine, size_t live, story::Listener &listener) {
    live = serve_capture(files, engine.log, live);
    EngineOptions options = engine;
    std::unique_ptr<PrivateFolder> folder;
    if (options.file_directory.empty()) {
        folder = std::make_unique<PrivateFolder>();
        options.file_directory = folder->path();
    }
    WithProgress watched(listener, ipmi_access::served().records.size());
    const EngineSession session(options, std::chrono::milliseconds(0), watched);
    replay_served_capture(live);
    return {engine_ending(), session.files_are_good()};
}

int replay_and_print(const CaptureFiles &files, const ReplayOptions &options) {
    const std::unique_ptr<View> view = make_view(options.view);
    const Replayed replayed = replay(files, options.engine, options.live, *view);
    view->end(replayed.ending, nullptr);
    return replayed.files_are_good ? exit_code(options.view, replayed.ending.active) : exit_failed;
}

void add_replay_options(CLI::App &app, ReplayOptions &options) {
    add_capture_options(app, options.capture);
    cli::add_number(app, "--live", options.live, 0, INT32_MAX,
                    "keep the last N records for after the start, and show what each does (default: 0)");
    add_engine_options(app, options.engine,
                       "keep the engine's files there (default: in a folder that goes at the end)");
}
