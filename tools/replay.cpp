// fectl replay: what the engine makes of a captured SEL.
#include <algorithm>
#include <chrono>
#include <memory>

#include "tools/capture.h"
#include "tools/cli.h"
#include "tools/engine_session.h"
#include "tools/engine_watch.h"
#include "tools/fectl.h"
#include "tools/private_folder.h"
#include "tools/view.h"

namespace {

struct ReplayOptions {
    CaptureOptions capture;
    EngineOptions engine;
    ViewOptions view;
    size_t live = 0;
};

// All that can be wrong with the input shows here, before the engine touches anything.
void serve_capture(const ReplayOptions &chosen) {
    const CaptureFiles &files = chosen.capture.files;
    if (files.sdr.empty() || files.sel.empty())
        throw Refusal("replay: both --sdr FILE and --sel FILE are needed; see fectl help replay");
    LoadedCapture loaded = load_capture(files);
    for (const std::string &warning : loaded.warnings)
        warn(warning);
    const size_t records = loaded.capture.records.size();
    if (records - std::min(chosen.live, records) > ipmi_access::max_walk_records)
        throw Refusal(files.sel + ": " + std::to_string(records) + " records, but the start-up walk takes " +
                      std::to_string(ipmi_access::max_walk_records) + "; --live " +
                      std::to_string(records - ipmi_access::max_walk_records) + " keeps the rest for afterwards");
    ipmi_access::serve(std::move(loaded.capture));
}

int replay(ReplayOptions chosen) {
    serve_capture(chosen);
    std::unique_ptr<PrivateFolder> folder;
    if (chosen.engine.file_directory.empty()) {
        folder = std::make_unique<PrivateFolder>();
        chosen.engine.file_directory = folder->path();
    }
    const std::unique_ptr<View> view = make_view(chosen.view);
    const EngineSession session(chosen.engine, std::chrono::milliseconds(0), *view);
    replay_served_capture(std::min(chosen.live, ipmi_access::served().records.size()));
    view->end(engine_ending(), nullptr);
    return session.files_are_good() ? exit_ok : exit_failed;
}

} // namespace

Run prepare_replay(CLI::App &app) {
    const auto chosen = std::make_shared<ReplayOptions>();
    add_capture_options(app, chosen->capture);
    cli::add_number(app, "--live", chosen->live, 0, INT32_MAX,
                    "keep the last N records for after the start, and show what each does (default: 0)");
    add_engine_options(app, chosen->engine,
                       "keep the engine's files there (default: in a folder that goes at the end)");
    add_view_options(app, chosen->view);
    return [chosen] { return replay(*chosen); };
}
