// The timeline as it stands in the file: what is readable without the script. Places are percent of the width.
#pragma once

#include <string>
#include <vector>

#include "tools/report/server_log.h"

namespace report {

constexpr int track_height = 16;
constexpr int track_pitch = 18;
int bar_height(Severity severity);

std::string percent(int64_t place, const Clock &clock);

// One or more faults: those that begin and end where another has just been drawn are shown by that one.
struct Bar {
    size_t faults;
    std::string title;
    std::string shapes; // SVG
};
std::vector<Bar> lane_bars(const Lane &lane, const ServerLog &log, const Words &words);

// Gaps of the clock.
struct Gap {
    int64_t from, to; // places
    std::string text;
};
std::vector<Gap> clock_gaps(const Clock &clock);

// Marks of serious refused events; one for those that would cover each other.
struct Flag {
    int64_t place;
    size_t events;
    std::string title;
};
std::vector<Flag> serious_flags(const ServerLog &log);

} // namespace report
