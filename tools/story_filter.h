// What of a story is to be seen, and in which order.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/story.h"

namespace CLI {
class App;
}

namespace story {

struct Filter {
    int32_t least_severity = INT32_MIN;
    int32_t most_severity = INT32_MAX;
    std::optional<std::pair<uint8_t, int32_t>> entity; // id and instance
    std::string sensor;                                // its name, without regard to case, or its number
    std::optional<int32_t> code;                       // with or without what tells sensors of one kind apart
    std::optional<uint32_t> since, until;
    std::string sort = "severity";

    bool passes(const Fault &fault) const;
    bool passes(const Change &change) const;
    bool passes(const Refused &refused) const;
    std::vector<Fault> select(std::vector<Fault> faults) const; // those that pass, sorted; they come newest first
};

void add_part_options(CLI::App &app, Filter &filter);   // --entity, --sensor
void add_filter_options(CLI::App &app, Filter &filter); // these, --severity, --since, --until, --sort

// Seconds since 1970 of "2024-06-01", "2024-06-01 10:00", "2024-06-01T10:00:00Z", all in UTC. Throws Refusal.
uint32_t parse_time(const std::string &name, const std::string &text);

} // namespace story
