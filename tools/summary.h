// Many servers, a line each.
#pragma once

#include <vector>

#include "tools/replay_run.h"

// Replays them, `jobs` side by side, and prints a line each in their order, then totals. Unreadable ones are said on
// standard error. Returns the exit code.
int print_summary(const std::vector<CaptureFiles> &captures, const ReplayOptions &options, size_t jobs);

// Of two captures: a failure before a refusal before a fault found.
int worse_code(int one, int other);
