// The host program of the fault engine: one file a subcommand.
#pragma once

#include <stdexcept>

// Something is wrong with what the user gave: reported in one line on stderr, exit code 2.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum ExitCode { exit_ok = 0, exit_failed = 1, exit_refused = 2 };

// Each takes the arguments from the subcommand's name on and returns an exit code.
int run_event(int argc, char **argv);
int run_replay(int argc, char **argv);
int run_request(int argc, char **argv);
int run_serve(int argc, char **argv);
int run_table(int argc, char **argv);
