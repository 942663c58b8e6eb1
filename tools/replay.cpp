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
#include "tools/replay.h"

namespace {

struct ReplayOptions {
    CaptureOptions capture;
    EngineOptions engine;
    ViewOptions view;
    size_t live = 0;
};

// All that can be wrong with the input shows here, before the engine touches anything. Returns how many records are live.
size_t serve_capture(const CaptureFiles &files, std::optional<size_t> wanted) {
    LoadedCapture loaded = load_capture(files);
    for (const std::string &warning : loaded.warnings)
        warn(warning);
    const size_t records = loaded.capture.records.size();
    const size_t too_many = records - std::min(records, ipmi_access::max_walk_records);
    const size_t live = std::min(wanted.value_or(too_many), records);
    if (live < too_many)
        throw Refusal(files.sel + ": " + std::to_string(records) + " records, but the start-up walk takes " +
                      std::to_string(ipmi_access::max_walk_records) + "; --live " + std::to_string(too_many) +
                      " keeps the rest for afterwards");
    ipmi_access::serve(std::move(loaded.capture));
    return live;
}

int replay(const ReplayOptions &chosen) {
    const CaptureFiles &files = chosen.capture.files;
    if (files.sdr.empty() || files.sel.empty())
        throw Refusal("replay: both --sdr FILE and --sel FILE are needed; see fectl help replay");
    return replay_capture(files, chosen.engine, chosen.live, *make_view(chosen.view));
}

} // namespace

int replay_capture(const CaptureFiles &files, EngineOptions engine, std::optional<size_t> wanted, View &view) {
    const size_t live = serve_capture(files, wanted);
    std::unique_ptr<PrivateFolder> folder;
    if (engine.file_directory.empty()) {
        folder = std::make_unique<PrivateFolder>();
        engine.file_directory = folder->path();
    }
    const EngineSession session(engine, std::chrono::milliseconds(0), view);
    replay_served_capture(live);
    view.end(engine_ending(), nullptr);
    return session.files_are_good() ? exit_ok : exit_failed;
}

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
