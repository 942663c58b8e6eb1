// fectl replay: what the engine makes of captured SELs.
#include <memory>

#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/replay_run.h"
#include "tools/summary.h"

namespace {

struct Options {
    ReplayOptions replay;
    bool summary = false;
    size_t jobs = 1;
};

// One after the other. JSON lines name their capture; text has it above.
int replay_all(const std::vector<CaptureFiles> &captures, ReplayOptions options) {
    int code = exit_ok;
    for (const CaptureFiles &files : captures) {
        if (options.view.format == "text") {
            printf("%s== %s\n", &files == captures.data() ? "" : "\n", files.name.c_str());
        }
        options.view.capture = files.name;
        ReplayApart replay(files, options);
        fputs(replay.take().c_str(), stdout);
        code = worse_code(code, replay.exit_code());
    }
    return code;
}

int run(const Options &chosen) {
    const std::vector<CaptureFiles> captures = chosen.replay.capture.captures();
    if (captures.empty()) {
        throw Refusal("replay: a capture is needed, or --sdr FILE and --sel FILE; see fectl help replay");
    }
    for (const CaptureFiles &files : captures) {
        if (files.sdr.empty() || files.sel.empty()) {
            throw Refusal("replay: both --sdr FILE and --sel FILE are needed; see fectl help replay");
        }
    }
    if (captures.size() > 1 && !(chosen.replay.engine.file_directory.empty() && chosen.replay.engine.log.empty())) {
        throw Refusal("--file-dir, --log: the captures would write over each other's files");
    }
    if (chosen.summary) {
        return print_summary(captures, chosen.replay, chosen.jobs);
    }
    return captures.size() == 1 ? replay_and_print(captures[0], chosen.replay) : replay_all(captures, chosen.replay);
}

} // namespace

Run prepare_replay(CLI::App &app) {
    const auto chosen = std::make_shared<Options>();
    add_capture_operands(app, chosen->replay.capture);
    add_replay_options(app, chosen->replay);
    add_view_options(app, chosen->replay.view);
    add_refused_option(app, chosen->replay.view);
    cli::add_flag(app, "--summary", chosen->summary, "a line a server, then totals");
    cli::add_number(app, "--jobs", chosen->jobs, 1, 1024, "replay N captures side by side for --summary (default: 1)");
    return [chosen] { return run(*chosen); };
}
