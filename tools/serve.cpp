// fectl serve: the engine, running.
#include <algorithm>
#include <memory>

#include "tools/capture.h"
#include "tools/cli.h"
#include "tools/engine_files.h"
#include "tools/engine_session.h"
#include "tools/engine_watch.h"
#include "tools/fectl.h"
#include "tools/live_engine.h"
#include "tools/request_socket.h"
#include "tools/sel_fifo.h"
#include "tools/stop_signals.h"
#include "tools/view.h"

namespace {

// The engine's waits for a FIFO that cannot be opened are pauses, too.
constexpr std::chrono::milliseconds short_pause{10};

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

void serve_capture(const CaptureFiles &files) {
    LoadedCapture loaded = load_capture(files);
    const size_t records = loaded.capture.records.size();
    if (records > ipmi_access::max_walk_records) {
        throw Refusal(files.sel + ": " + std::to_string(records) + " records, but the start-up walk takes " +
                      std::to_string(ipmi_access::max_walk_records));
    }
    std::ranges::for_each(loaded.warnings, warn);
    ipmi_access::serve(std::move(loaded.capture));
}

int serve(const ServeOptions &chosen) {
    const StopSignals stop_signals;
    serve_capture(chosen.capture.files);
    RequestSocket requests(chosen.socket_path());
    const std::unique_ptr<View> view = make_view(chosen.view);
    const EngineSession session(chosen.engine, short_pause, *view);
    SelFifo records(engine_file(sel_fifo_path), chosen.fifo_create);
    setvbuf(stdout, nullptr, _IOLBF, 0);
    LiveEngine engine(requests, records);
    engine.start();
    fprintf(stderr, "ready: socket %s, FIFO %s\n", chosen.socket_path().c_str(), records.path().c_str());

    const bool told_to_stop = stop_signals.await([&engine] { return engine.has_given_up(); });
    if (!told_to_stop) {
        fprintf(stderr, "fectl: the engine has stopped: %s is gone or fails\n", records.path().c_str());
    }
    engine.stop();
    const RequestsSeen requests_seen = {fe_core::request_counts(), requests.drain(), records.drain()};
    const story::Ending ending = engine_ending();
    view->end(ending, &requests_seen);
    const bool good = session.files_are_good() && told_to_stop;
    return good ? exit_code(chosen.view, ending.active) : exit_failed;
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
