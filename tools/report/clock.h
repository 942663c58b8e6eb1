// The time axis of a log. A log is in the order in which its records were written, but its clock may have been set,
// reset or not yet known: the axis runs in the order of the log, and where the clock jumps it is cut.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace report {

constexpr int64_t per_second = 1000; // places to a second

enum class Jump { none, back, ahead, start }; // why an era begins: the clock was set, or counts from a start

// A stretch in which the clock ran. Its place is that of its first second; the next one's begins behind a gap.
struct Era {
    int64_t place;
    int64_t first; // in seconds: since 1970, or since the system's start for times before the first date
    int64_t last;
    Jump jump;
};

struct Clock {
    std::vector<Era> eras;
    std::vector<int64_t> places; // of each time that it was made of
    int64_t end = 0;             // the place behind the last one
};

// From the times of a log's records, in its order. An unknown time counts as the one before it, at the log's begin as the
// first known one; the records of one second are spread over its places.
Clock make_clock(std::span<const std::optional<int64_t>> times);

bool is_date(int64_t time);

std::string time_text(int64_t time);                // "2024-06-01 10:00:00", "start+12345s"
std::string time_text(std::optional<int64_t> time); // likewise, or "time unknown"
std::string duration_text(int64_t seconds);         // "3 d 4 h", "12 min"

// The time of a line: ISO 8601 in UTC.
std::optional<int64_t> parse_time(const std::string &text);

// Between two marks of an axis, in seconds, rising.
std::span<const int64_t> axis_steps();

// A mark of the axis.
struct Mark {
    int64_t place;
    std::string text;
};
std::vector<Mark> axis_marks(const Clock &clock, size_t at_most);

} // namespace report
