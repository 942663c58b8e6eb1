// fectl serve: the engine, running.
#include <csignal>
#include <ctime>

#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/engine_files.h"
#include "tools/engine_session.h"
#include "tools/fectl.h"
#include "tools/live_engine.h"
#include "tools/request_socket.h"
#include "tools/sel_fifo.h"

namespace {

constexpr char help[] = R"(usage: fectl serve --sdr FILE [options]

Runs the engine: takes fault requests from a socket (fectl request) and SEL records from a FIFO (fectl event), and prints
what each does to the faults. SIGINT or SIGTERM stops it; then it prints the active faults.

  --sdr FILE        sensor data records, as written by "ipmitool sdr dump"
  --sel FILE        the event log at the start, as written by "ipmitool sel writeraw" (default: an empty one)
  --socket PATH     the socket to make (default: fectl.sock in DIR, or in /tmp)
  --fifo-create     make the FIFO, SA_vSEL_FIFO in DIR or in /var, if it is missing
)";

// The engine's waits for a FIFO that cannot be opened are pauses, too.
constexpr std::chrono::milliseconds short_pause{10};

constexpr timespec between_checks{.tv_sec = 0, .tv_nsec = 250'000'000};

struct ServeOptions {
    EngineOptions engine;
    std::string socket;
    bool fifo_create = false;
    bool help = false;
};

ServeOptions read_options(int argc, char **argv) {
    ServeOptions chosen;
    const std::vector<option> options =
        with_engine_options({{"socket", required_argument, nullptr, 'k'}, {"fifo-create", no_argument, nullptr, 'f'}});
    parse_options(argc, argv, options.data(), [&chosen](int found, const char *argument) {
        if (found == 'k')
            chosen.socket = argument;
        else if (found == 'f')
            chosen.fifo_create = true;
        else if (!chosen.engine.take(found, argument))
            chosen.help = true;
    });
    if (!chosen.help && chosen.engine.sdr.empty())
        throw Refusal("serve: --sdr FILE is needed; see fectl serve --help");
    if (chosen.socket.empty())
        chosen.socket = (chosen.engine.file_directory.empty() ? "/tmp" : chosen.engine.file_directory) + "/fectl.sock";
    return chosen;
}

void load_captures(const EngineOptions &chosen) {
    chosen.load_captures();
    if (ipmi_access::sel_size() > ipmi_access::max_walk_records)
        throw Refusal(chosen.sel + ": " + std::to_string(ipmi_access::sel_size()) +
                      " records, but the start-up walk takes " + std::to_string(ipmi_access::max_walk_records));
}

// SIGINT and SIGTERM, which wait in the process from the moment this is made; threads made later don't see them either.
class StopSignals {
public:
    StopSignals() {
        sigemptyset(&set_);
        sigaddset(&set_, SIGINT);
        sigaddset(&set_, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &set_, nullptr);
    }

    // True for a signal, false when the engine stops of itself.
    bool await(const LiveEngine &engine) const {
        while (sigtimedwait(&set_, nullptr, &between_checks) < 0)
            if (engine.has_given_up())
                return false;
        return true;
    }

private:
    sigset_t set_;
};

} // namespace

int run_serve(int argc, char **argv) {
    const ServeOptions chosen = read_options(argc, argv);
    if (chosen.help) {
        printf("%s%s", help, engine_options_help);
        return exit_ok;
    }
    const StopSignals stop_signals;
    load_captures(chosen.engine);
    RequestSocket requests(chosen.socket);
    EngineSession session(chosen.engine, short_pause);
    SelFifo records(engine_file(sel_fifo_path), chosen.fifo_create);
    setvbuf(stdout, nullptr, _IOLBF, 0);
    LiveEngine engine(requests, records);
    engine.start();
    fprintf(stderr, "ready: socket %s, FIFO %s\n", chosen.socket.c_str(), records.path().c_str());

    const bool told_to_stop = stop_signals.await(engine);
    if (!told_to_stop)
        fprintf(stderr, "fectl: the engine has stopped: %s is gone or fails\n", records.path().c_str());
    engine.stop();
    const RequestsSeen requests_seen = {fe_core::request_counts(), requests.drain()};
    session.print_end(&requests_seen);
    return told_to_stop ? exit_ok : exit_failed;
}
