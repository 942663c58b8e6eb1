// fectl serve: the engine, running.
#include <memory>

#include "tools/capture.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/live_session.h"
#include "tools/stop_signals.h"

namespace {

struct ServeOptions {
    CaptureOptions capture;
    EngineOptions engine;
    ViewOptions view;
    std::string socket;
    bool fifo_create = false;

    std::string socket_path() const {
        const std::string &folder = engine.file_directory;
        return socket.empty() ? (folder.empty() ? "/tmp" : folder) + "/fectl.sock" : socket;
    }
};

int serve(const ServeOptions &chosen) {
    const StopSignals stop_signals;
    serve_capture(chosen.capture.files, chosen.engine.log, std::nullopt);
    const std::unique_ptr<View> view = make_view(chosen.view);
    LiveSession live(chosen.engine, {.socket = chosen.socket_path(), .create_fifo = chosen.fifo_create}, *view);
    fprintf(stderr, "ready: socket %s, FIFO %s\n", chosen.socket_path().c_str(), live.fifo_path().c_str());
    stop_signals.await([&live] { return live.has_given_up(); });
    live.stop();
    return live.end(*view, chosen.view, true);
}

} // namespace

Run prepare_serve(CLI::App &app) {
    const auto chosen = std::make_shared<ServeOptions>();
    cli::describe(
        app, "Runs the engine: takes fault requests from a socket (fectl request) and SEL records from a FIFO (fectl\n"
             "event), and prints what each does to the faults. SIGINT, SIGTERM or SIGHUP stops it; then it prints\n"
             "the active faults.");
    add_capture_options(app, chosen->capture);
    cli::add_text(app, "--socket", "PATH", chosen->socket,
                  "the socket to make (default: fectl.sock in DIR, or in /tmp)");
    cli::add_flag(app, "--fifo-create", chosen->fifo_create,
                  "make the FIFO, SA_vSEL_FIFO in DIR or in /var, if it is missing");
    add_engine_options(app, chosen->engine, "where the engine's files go (default: its own /tmp and /var)");
    add_view_options(app, chosen->view);
    add_refused_option(app, chosen->view);
    return [chosen] {
        if (chosen->capture.files.sdr.empty()) {
            throw Refusal("serve: --sdr FILE is needed; see fectl help serve");
        }
        return serve(*chosen);
    };
}
