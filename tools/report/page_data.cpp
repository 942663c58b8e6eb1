#include "tools/report/page.h"

#include <algorithm>

namespace report {

using nlohmann::json;

namespace {

json optional_number(const std::optional<int64_t> &number) {
    return number ? json(*number) : json(nullptr);
}

// Five numbers a record: places since the record before, id, severity, event, and by how many seconds its own time is
// behind that of its place (null: it has none).
void add_entry(json &numbers, const Entry &entry, int64_t &place, const ServerLog &log, int64_t shown) {
    const int64_t at = log.clock.places[entry.line];
    const auto &time = log.times[entry.line];
    numbers.push_back(at - place);
    numbers.push_back(optional_number(entry.record));
    numbers.push_back(static_cast<int>(entry.severity));
    numbers.push_back(entry.event);
    numbers.push_back(time ? json(shown - *time) : json(nullptr));
    place = at;
}

int64_t time_at(const Clock &clock, int64_t place) {
    size_t era = clock.eras.size() - 1;
    while (era > 0 && clock.eras[era].place > place) {
        --era;
    }
    return clock.eras[era].first + (place - clock.eras[era].place) / per_second;
}

json entries_of(const std::vector<Entry> &entries, const ServerLog &log) {
    json numbers = json::array();
    int64_t place = 0;
    for (const Entry &entry : entries) {
        const int64_t shown = log.clock.eras.empty() ? 0 : time_at(log.clock, log.clock.places[entry.line]);
        add_entry(numbers, entry, place, log, shown);
    }
    return numbers;
}

json lane_data(const Lane &lane, const std::string &part, const ServerLog &log) {
    json lives = json::array();
    for (const Life &life : lane.lives) {
        lives.push_back({life.name, life.track, static_cast<int>(life.end), entries_of(life.entries, log)});
    }
    return {{"sensor", lane.sensor}, {"part", part}, {"tracks", lane.tracks}, {"lives", std::move(lives)}};
}

// Place and group of each, in the order of the places.
json serious_data(const ServerLog &log) {
    std::vector<std::pair<int64_t, size_t>> marks;
    for (size_t group = 0; group < log.refused.size() && log.refused[group].serious; ++group) {
        for (const Entry &entry : log.refused[group].entries) {
            marks.emplace_back(log.clock.places[entry.line], group);
        }
    }
    std::ranges::sort(marks);
    return marks;
}

json server_data(const ServerLog &log) {
    json eras = json::array();
    for (const Era &era : log.clock.eras) {
        eras.push_back({era.place, era.first, era.last});
    }
    json lanes = json::array();
    for (const Part &part : log.parts) {
        for (const Lane &lane : part.lanes) {
            lanes.push_back(lane_data(lane, part.name, log));
        }
    }
    json refused = json::array();
    for (const RefusedGroup &group : log.refused) {
        refused.push_back(
            {{"source", group.source}, {"event", group.event}, {"numbers", entries_of(group.entries, log)}});
    }
    return {{"eras", std::move(eras)},
            {"end", log.clock.end},
            {"lanes", std::move(lanes)},
            {"refused", std::move(refused)},
            {"serious", serious_data(log)}};
}

} // namespace

std::string page_data(const std::vector<ServerLog> &logs, const Words &words) {
    json data = {{"words", json::array()}, {"servers", json::array()}, {"steps", axis_steps()}};
    for (const std::string *word : words.all()) {
        data["words"].push_back(*word);
    }
    for (const ServerLog &log : logs) {
        data["servers"].push_back(server_data(log));
    }
    std::string text = data.dump(-1, ' ', false, json::error_handler_t::replace);
    // A script element ends at the first "</script", wherever it stands.
    for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
        text.replace(at, 1, "\\u003c");
    }
    return text;
}

} // namespace report
