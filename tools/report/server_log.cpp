#include "tools/report/server_log.h"

#include <algorithm>
#include <cstdio>

#include "base/ipmi.h"

namespace report {

using nlohmann::json;

namespace {

// A value that may be null or missing.
std::string text_of(const json &line, const char *key) {
    const auto found = line.find(key);
    return found != line.end() && found->is_string() ? found->get<std::string>() : "";
}

std::optional<int64_t> optional_number(const json &line, const char *key) {
    const auto found = line.find(key);
    return found != line.end() && found->is_number_integer() ? std::optional(found->get<int64_t>()) : std::nullopt;
}

int64_t number_of(const json &line, const char *key) {
    return optional_number(line, key).value_or(0);
}

std::optional<int64_t> time_of(const json &line, const char *key) {
    return parse_time(text_of(line, key));
}

// Who says it: the sensor, and the generator if that is not the BMC.
std::string source_of(const json &line) {
    const int64_t generator = optional_number(line, "generator_id").value_or(bmc_owner);
    char text[32] = "";
    if (generator != bmc_owner) {
        snprintf(text, sizeof text, " (generator 0x%02x)", static_cast<unsigned>(generator));
    }
    const std::string sensor = text_of(line, "sensor");
    return (sensor.empty() ? "no sensor" : sensor) + text;
}

Severity last_severity(const Life &life) {
    return life.entries.back().severity;
}

size_t free_track(Lane &lane) {
    std::vector<bool> taken(lane.tracks);
    for (const auto &[code, life] : lane.open) {
        taken[lane.lives[life].track] = true;
    }
    const auto track = static_cast<size_t>(std::ranges::find(taken, false) - taken.begin());
    lane.tracks = std::max(lane.tracks, track + 1);
    return track;
}

// A threshold fault changes its code with its level; then it is known by the one that it had.
std::map<int64_t, size_t>::iterator open_life(Lane &lane, const json &line) {
    const auto found = lane.open.find(number_of(line, "table_code"));
    if (found != lane.open.end()) {
        return found;
    }
    const auto before = lane.open.find(number_of(line, "table_code_before"));
    return before == lane.open.end() && lane.open.size() == 1 ? lane.open.begin() : before;
}

Life &raise(Lane &lane, int64_t code, size_t name) {
    const size_t track = free_track(lane);
    lane.open[code] = lane.lives.size();
    return lane.lives.emplace_back(Life{name, track, LifeEnd::active, {}});
}

void change_life(Lane &lane, const json &line, const Entry &entry, size_t name) {
    const std::string change = line.at("change");
    const int64_t code = number_of(line, "table_code");
    const auto found = change == "created" ? lane.open.end() : open_life(lane, line);
    if (found == lane.open.end()) {
        raise(lane, code, name).entries.push_back(entry);
        return;
    }
    const size_t number = found->second;
    Life &life = lane.lives[number];
    life.entries.push_back(entry);
    lane.open.erase(found);
    if (change == "repeated") {
        lane.open[code] = number;
    } else {
        life.end = change == "cleared" ? LifeEnd::cleared : LifeEnd::evicted;
    }
}

void worst_first(auto &parts_or_lanes) {
    std::ranges::stable_sort(parts_or_lanes, std::greater(), [](const auto &one) { return worst_active(one); });
}

} // namespace

Severity severity_of(const std::string &word) {
    const auto found = std::ranges::find(severity_words, word);
    return found == std::end(severity_words) ? Severity::info : static_cast<Severity>(found - severity_words);
}

Severity worst_active(const Lane &lane) {
    Severity worst = Severity::cleared;
    for (const auto &[code, life] : lane.open) {
        worst = std::max(worst, last_severity(lane.lives[life]));
    }
    return worst;
}

Severity worst_active(const Part &part) {
    Severity worst = Severity::cleared;
    for (const Lane &lane : part.lanes) {
        worst = std::max(worst, worst_active(lane));
    }
    return worst;
}

size_t Words::number(const std::string &text) {
    const auto [place, is_new] = numbers_.try_emplace(text, texts_.size());
    if (is_new) {
        texts_.push_back(&place->first);
    }
    return place->second;
}

LogReader::LogReader(Words &words, std::string name) : words_(words) {
    log_.name = std::move(name);
}

void LogReader::take(const json &line) {
    const std::string type = line.at("type");
    if (type == "change") {
        take_change(line);
    } else if (type == "refused") {
        take_refused(line);
    } else if (type == "fault") {
        take_fault(line);
    } else if (type == "summary") {
        log_.summary = line;
    }
}

Entry LogReader::next_entry(const json &line) {
    const auto date = time_of(line, "time");
    log_.times.push_back(date ? date : optional_number(line, "seconds_since_start"));
    return {log_.times.size() - 1, optional_number(line, "record_id"), severity_of(text_of(line, "severity")),
            words_.number(text_of(line, "event"))};
}

Lane &LogReader::lane_of(const json &line) {
    const int64_t id = number_of(line, "entity_id");
    const int64_t instance = number_of(line, "entity_instance");
    const std::string sensor = text_of(line, "sensor");
    const auto [part, part_is_new] = parts_.try_emplace({id, instance}, log_.parts.size());
    if (part_is_new) {
        log_.parts.push_back({text_of(line, "entity"), {}});
    }
    std::vector<Lane> &lanes = log_.parts[part->second].lanes;
    const auto [lane, is_new] =
        lanes_.try_emplace({id, instance, number_of(line, "sensor_number"), sensor}, lanes.size());
    if (is_new) {
        lanes.push_back({sensor, {}, {}, 1});
    }
    return lanes[lane->second];
}

void LogReader::take_change(const json &line) {
    change_life(lane_of(line), line, next_entry(line), words_.number(text_of(line, "name")));
}

void LogReader::take_refused(const json &line) {
    RefusedGroup group{
        line.value("serious", false), text_of(line, "reason"), source_of(line), text_of(line, "event"), {}};
    const auto [found, is_new] =
        groups_.try_emplace({group.serious, group.reason, group.source, group.event}, log_.refused.size());
    if (is_new) {
        log_.refused.push_back(std::move(group));
    }
    log_.refused[found->second].entries.push_back(next_entry(line));
}

void LogReader::take_fault(const json &line) {
    fault_lines_.push_back(line);
    ActiveFault fault{.part = text_of(line, "entity"),
                      .sensor = text_of(line, "sensor"),
                      .name = text_of(line, "name"),
                      .event = text_of(line, "event"),
                      .severity = severity_of(text_of(line, "severity")),
                      .code = number_of(line, "code"),
                      .count = number_of(line, "count"),
                      .first = time_of(line, "first_time"),
                      .last = time_of(line, "last_time")};
    const Lane &lane = lane_of(line);
    if (const auto life = lane.open.find(number_of(line, "table_code")); life != lane.open.end()) {
        fault.first = log_.times[lane.lives[life->second].entries.front().line];
        fault.last = log_.times[lane.lives[life->second].entries.back().line];
    }
    log_.faults.push_back(std::move(fault));
}

// A table without a log.
void LogReader::show_faults_alone() {
    for (json &line : fault_lines_) {
        line["change"] = "created";
        line["time"] = line["last_time"];
    }
    std::ranges::stable_sort(fault_lines_, {}, [](const json &line) { return time_of(line, "time"); });
    for (const json &line : fault_lines_) {
        take_change(line);
    }
    for (ActiveFault &fault : log_.faults) {
        fault.first = fault.last;
    }
    if (!fault_lines_.empty()) {
        log_.warnings.emplace_back(
            "A table has the time of each fault's last event alone: it may be there for longer.");
    }
}

ServerLog LogReader::finish() {
    if (log_.times.empty()) {
        show_faults_alone();
    }
    log_.clock = make_clock(log_.times);
    worst_first(log_.parts);
    for (Part &part : log_.parts) {
        worst_first(part.lanes);
    }
    std::ranges::stable_sort(log_.refused, std::greater(),
                             [](const RefusedGroup &group) { return std::pair(group.serious, group.entries.size()); });
    std::ranges::stable_sort(log_.faults, std::greater(),
                             [](const ActiveFault &fault) { return std::pair(fault.severity, fault.last); });
    return std::move(log_);
}

} // namespace report
