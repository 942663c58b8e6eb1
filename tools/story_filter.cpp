#include "tools/story_filter.h"

#include <strings.h>

#include <algorithm>
#include <ctime>

#include "platform/time_text.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/story_words.h"

namespace story {
namespace {

// "major", "major..", "..minor", "minor..major"
void parse_severities(Filter &filter, const std::string &text) {
    const size_t dots = text.find("..");
    const std::string least = text.substr(0, dots);
    const std::string most = dots == text.npos ? least : text.substr(dots + 2);
    if (!least.empty()) {
        filter.least_severity = cli::parse_severity("--severity", least);
    }
    if (!most.empty()) {
        filter.most_severity = cli::parse_severity("--severity", most);
    }
    if (filter.least_severity > filter.most_severity) {
        throw Refusal("--severity: '" + text + "' begins above its end");
    }
}

std::pair<uint8_t, int32_t> parse_entity(const std::string &text) {
    const size_t dot = text.find('.');
    if (dot == text.npos) {
        throw Refusal("--entity: '" + text + "' is no entity; an id and an instance belong here, as in 10.2");
    }
    return {static_cast<uint8_t>(cli::parse_number("--entity", text.substr(0, dot), 0, UINT8_MAX)),
            static_cast<int32_t>(cli::parse_number("--entity", text.substr(dot + 1), INT32_MIN, INT32_MAX))};
}

bool is_number(const std::string &text, uint32_t number) {
    char *end = nullptr;
    return text.size() > 2 && text.starts_with("0x") && strtoul(text.c_str(), &end, 16) == number && *end == '\0';
}

bool is_sensor(const std::string &wanted, const std::string &name, uint32_t number) {
    return wanted.empty() || strcasecmp(wanted.c_str(), name.c_str()) == 0 || is_number(wanted, number);
}

} // namespace

uint32_t parse_time(const std::string &name, const std::string &text) {
    for (const char *format : {"%Y-%m-%dT%H:%M:%SZ", "%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        tm date{};
        const char *end = strptime(text.c_str(), format, &date);
        const int day = date.tm_mday; // timegm() carries a day that the month lacks
        const time_t time = end != nullptr && *end == '\0' ? timegm(&date) : -1;
        if (time >= 0 && time < UINT32_MAX && date.tm_mday == day) {
            return static_cast<uint32_t>(time);
        }
    }
    throw Refusal(name + ": '" + text + "' is no time; write 2024-06-01 or \"2024-06-01 10:00:00\" (UTC)");
}

bool Filter::passes(const Fault &fault) const {
    return fault.severity >= least_severity && fault.severity <= most_severity &&
           (!entity || (entity->first == fault.entity_id && entity->second == fault.entity_instance)) &&
           is_sensor(sensor, fault.sensor, fault.sensor_number) &&
           (!code || *code == fault.table_code || *code == base_code(fault)) &&
           (!since || (fault.last_time && *fault.last_time >= *since)) &&
           (!until || (fault.last_time && *fault.last_time <= *until));
}

// A cleared fault counts with the severity that it had.
bool Filter::passes(const Change &change) const {
    if (change.kind != ChangeKind::cleared || change.before == nullptr) {
        return passes(*change.after);
    }
    Fault fault = *change.after;
    fault.severity = change.before->severity;
    return passes(fault);
}

bool Filter::passes(const Refused &refused) const {
    const std::optional<uint32_t> time = refused.record.time;
    return !entity && !code && is_sensor(sensor, sensor_label(refused.record), refused.record.sensor_number) &&
           (!since || (time && *time >= *since)) && (!until || (time && *time <= *until));
}

std::vector<Fault> Filter::select(std::vector<Fault> faults) const {
    std::erase_if(faults, [this](const Fault &fault) { return !passes(fault); });
    if (sort == "severity") {
        std::ranges::stable_sort(faults, std::greater(), &Fault::severity);
    } else if (sort == "entity") {
        std::ranges::stable_sort(faults, {}, [](const Fault &f) { return std::tie(f.entity_id, f.entity_instance); });
    }
    return faults;
}

void add_part_options(CLI::App &app, Filter &filter) {
    cli::add_parsed(
        app, "--entity", "E.I", [&filter](const std::string &text) { filter.entity = parse_entity(text); },
        "of this part alone: entity id and instance, as in 10.2");
    cli::add_text(app, "--sensor", "NAME", filter.sensor, "of this sensor alone: its name, or its number as in 0x2e");
}

void add_filter_options(CLI::App &app, Filter &filter) {
    cli::add_parsed(
        app, "--severity", "RANGE", [&filter](const std::string &text) { parse_severities(filter, text); },
        "of these severities alone: major, major.., minor..major, ..minor");
    add_part_options(app, filter);
    cli::add_parsed(
        app, "--since", "TIME", [&filter](const std::string &text) { filter.since = parse_time("--since", text); },
        "last seen then or later (UTC)");
    cli::add_parsed(
        app, "--until", "TIME", [&filter](const std::string &text) { filter.until = parse_time("--until", text); },
        "last seen then or earlier (UTC)");
    cli::add_text(app, "--sort", "WORD", filter.sort, "severity (default), time or entity")
        .one_of({"severity", "time", "entity"});
}

} // namespace story
