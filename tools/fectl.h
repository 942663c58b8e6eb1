// The host program of the fault engine: one file a subcommand.
#pragma once

#include <functional>
#include <stdexcept>

namespace CLI {
class App;
}

// Something is wrong with what the user gave: reported in one line on stderr, exit code 2.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Something could not be done that was right to ask for: reported in one line on stderr, exit code 1. So are exceptions of
// all other kinds but ipmi_access::CaptureError and std::filesystem::filesystem_error, which count as refusals.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Nobody answers on the network, or not rightly: reported in one line on stderr, exit code 4.
struct Unreachable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Returns what `work` returns or, when it throws, says why in one line on standard error and returns the exit code for that.
int run_and_report(const std::function<int()> &work);

enum ExitCode { exit_ok = 0, exit_failed = 1, exit_refused = 2, exit_fault_found = 3, exit_unreachable = 4 };

// Adds the options of a subcommand and returns what to do once they are parsed; that returns an exit code.
using Run = std::function<int()>;
Run prepare_diff(CLI::App &app);
Run prepare_event(CLI::App &app);
Run prepare_explain(CLI::App &app);
Run prepare_fetch(CLI::App &app); // where FE_BMC is built
Run prepare_replay(CLI::App &app);
Run prepare_report(CLI::App &app);
Run prepare_request(CLI::App &app);
Run prepare_serve(CLI::App &app);
Run prepare_table(CLI::App &app);
Run prepare_watch(CLI::App &app); // where FE_BMC is built
