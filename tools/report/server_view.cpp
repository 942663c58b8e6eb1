#include <algorithm>
#include <cstdio>

#include "tools/report/timeline.h"
#include "tools/report/view.h"
#include "tools/story_words.h"

namespace report {

namespace {

constexpr size_t marks_of_axis = 10;
constexpr size_t parts_named = 8;
constexpr size_t records_named = 12;

std::string number_text(uint64_t number) {
    std::string text = std::to_string(number);
    for (size_t at = text.size(); at > 3; at -= 3) {
        text.insert(at - 3, 1, ',');
    }
    return text;
}

std::string counted(uint64_t number, const std::string &what) {
    return number_text(number) + ' ' + what + (number == 1 ? "" : "s");
}

// Where several kinds of lines may go, the severity's own names go along.
data with_severity(data &&view, Severity severity) {
    view.set("severity", word_of(severity));
    view.set("letter", letter_of(severity));
    view.set("level", std::to_string(static_cast<int>(severity)));
    return std::move(view);
}

std::string span_text(const ServerLog &log) {
    const std::vector<Era> &eras = log.clock.eras;
    if (!log.summary.contains("records")) { // a published table has no log
        return "";
    }
    if (eras.empty()) {
        return log.summary.value("records", 0) == 0 ? "The log is empty." : "No record has a time.";
    }
    std::string text = time_text(eras.front().first) + " to " + time_text(eras.back().last) + " UTC";
    return eras.size() > 1 ? text : text + ", " + duration_text(eras.back().last - eras.front().first);
}

std::string records_text(const nlohmann::json &summary) {
    constexpr const char *keys[] = {"processed", "ignored", "refused", "created", "repeated", "cleared", "evicted"};
    if (!summary.contains("records")) {
        return "";
    }
    std::string text = counted(summary.value("records", uint64_t{0}), "record") + " in the log";
    for (const char *key : keys) {
        text += std::string(key == keys[3]   ? "; faults: "
                            : key == keys[0] ? ": "
                                             : ", ") +
                number_text(summary.value(key, uint64_t{0})) + ' ' + key;
    }
    return text;
}

std::string state_text(const ActiveFault &fault, const ServerLog &log) {
    if (!fault.first || log.clock.eras.empty()) {
        return "";
    }
    const int64_t end = log.clock.eras.back().last;
    return is_date(*fault.first) && end > *fault.first
               ? std::string(", ") + duration_text(end - *fault.first) + " before the log's end"
               : "";
}

data worst_view(const ServerLog &log) {
    if (log.faults.empty()) {
        return false;
    }
    const ActiveFault &fault = log.faults.front();
    const bool has_words = !fault.event.empty() && fault.event != fault.name;
    const std::string what = has_words ? fault.name + ", " + fault.event : fault.name;
    return with_severity(object({{"part", fault.part},
                                 {"what", what},
                                 {"sensor", fault.sensor},
                                 {"since", time_text(fault.first)},
                                 {"duration", state_text(fault, log)}}),
                         fault.severity);
}

// The earliest raise among the faults that make the part as bad as it is.
std::optional<int64_t> since(const Part &part, const ServerLog &log) {
    const Severity worst = worst_active(part);
    const Entry *first = nullptr;
    for (const Lane &lane : part.lanes) {
        for (const auto &[code, number] : lane.open) {
            const Life &life = lane.lives[number];
            if (life.entries.back().severity == worst &&
                (first == nullptr || life.entries.front().line < first->line)) {
                first = &life.entries.front();
            }
        }
    }
    return first == nullptr ? std::nullopt : log.times[first->line];
}

// Other parts that are as badly off as the worst one.
data others_view(const ServerLog &log) {
    data parts = data::type::list;
    if (log.faults.empty()) {
        return parts;
    }
    const Severity worst = log.faults.front().severity;
    size_t left_out = 0;
    for (const Part &part : log.parts) {
        if (worst_active(part) != worst || part.name == log.faults.front().part) {
            continue;
        }
        if (parts.list_value().size() == parts_named) {
            ++left_out;
        } else {
            parts.push_back(object({{"part", part.name}, {"since", time_text(since(part, log))}}));
        }
    }
    if (parts.is_empty_list()) {
        return parts;
    }
    const std::string more = left_out == 0 ? "" : std::string("and ") + counted(left_out, "more part");
    return with_severity(object({{"parts", parts}, {"more", more}}), worst);
}

// Where there is little room the text of the last mark would reach out of the page.
data marks_view(const Clock &clock) {
    return list(axis_marks(clock, marks_of_axis), [&clock](const Mark &mark) {
        const bool late = mark.place >= clock.end / 20 * 17;
        return object({{"x", percent(mark.place, clock)}, {"text", mark.text}, {"late", late}});
    });
}

data gaps_view(const Clock &clock) {
    return list(clock_gaps(clock), [&clock](const Gap &gap) {
        return object(
            {{"x", percent(gap.from, clock)}, {"width", percent(gap.to - gap.from, clock)}, {"text", gap.text}});
    });
}

data flags_view(const ServerLog &log) {
    return list(serious_flags(log), [&log](const Flag &flag) {
        return object(
            {{"x", percent(flag.place, log.clock)}, {"count", std::to_string(flag.events)}, {"title", flag.title}});
    });
}

std::string lane_title(const Lane &lane) {
    std::string text = lane.sensor + ": " + counted(lane.lives.size(), "fault");
    if (!lane.open.empty()) {
        text += ", " + std::to_string(lane.open.size()) + " active, " + word_of(worst_active(lane));
    }
    return text;
}

data lane_view(const Lane &lane, const ServerLog &log, const Words &words, size_t number) {
    const data bars = list(lane_bars(lane, log, words), [](const Bar &bar) {
        return object({{"count", std::to_string(bar.faults)}, {"title", bar.title}, {"shapes", bar.shapes}});
    });
    return with_severity(object({{"number", std::to_string(number)},
                                 {"sensor", lane.sensor.empty() ? "no sensor" : lane.sensor},
                                 {"title", lane_title(lane)},
                                 {"height", std::to_string(lane.tracks * track_pitch)},
                                 {"bars", bars}}),
                         worst_active(lane));
}

data parts_view(const ServerLog &log, const Words &words) {
    size_t lanes = 0;
    return list(log.parts, [&](const Part &part) {
        const Severity worst = worst_active(part);
        const std::string state =
            worst == Severity::cleared ? "no active fault" : word_of(worst) + (" since " + time_text(since(part, log)));
        const data lane_views =
            list(part.lanes, [&](const Lane &lane) { return lane_view(lane, log, words, lanes++); });
        return with_severity(object({{"name", part.name}, {"state", state}, {"lanes", lane_views}}), worst);
    });
}

data fault_view(const ActiveFault &fault) {
    return with_severity(object({{"part", fault.part},
                                 {"sensor", fault.sensor},
                                 {"name", fault.name},
                                 {"event", fault.event},
                                 {"first", time_text(fault.first)},
                                 {"last", time_text(fault.last)},
                                 {"count", std::to_string(fault.count)},
                                 {"code", std::to_string(fault.code)}}),
                         fault.severity);
}

std::string reason_text(const std::string &key) {
    for (size_t at = 0; at < story::reasons; ++at) {
        if (const auto reason = static_cast<story::Reason>(at); key == story::reason_key(reason)) {
            return story::reason_words(reason);
        }
    }
    return key;
}

std::string record_ids(const std::vector<Entry> &entries) {
    std::string text;
    for (size_t at = 0; at < std::min(entries.size(), records_named); ++at) {
        char id[24];
        snprintf(id, sizeof id, "%llx", static_cast<unsigned long long>(entries[at].record.value_or(0)));
        text += (at == 0 ? "" : ", ") + std::string(id);
    }
    return entries.size() <= records_named ? text
                                           : text + " and " + number_text(entries.size() - records_named) + " more";
}

data refused_view(const ServerLog &log) {
    size_t groups = 0;
    return list(log.refused, [&](const RefusedGroup &group) {
        return object({{"number", std::to_string(groups++)},
                       {"serious", group.serious},
                       {"source", group.source},
                       {"event", group.event},
                       {"reason", reason_text(group.reason)},
                       {"count", std::to_string(group.entries.size())},
                       {"first", time_text(log.times[group.entries.front().line])},
                       {"last", time_text(log.times[group.entries.back().line])},
                       {"records", record_ids(group.entries)}});
    });
}

data levels_view() {
    data levels = data::type::list;
    for (size_t level = severities - 1; level > 0; --level) {
        const int height = bar_height(static_cast<Severity>(level));
        levels.push_back(with_severity(object({{"height", std::to_string(height)}, {"y", std::to_string(16 - height)}}),
                                       static_cast<Severity>(level)));
    }
    return levels;
}

// What is about the log as a whole.
data log_view(const ServerLog &log) {
    return object({{"span", span_text(log)},
                   {"worst", worst_view(log)},
                   {"others", others_view(log)},
                   {"counts", counts_view(log)},
                   {"records", records_text(log.summary)},
                   {"has_warnings", !log.warnings.empty()},
                   {"warnings", list(log.warnings, [](const std::string &line) { return data(line); })}});
}

bool has_serious(const ServerLog &log) {
    return !log.refused.empty() && log.refused.front().serious;
}

} // namespace

data server_view(const ServerLog &log, const Words &words, size_t number) {
    const bool failed = !log.failure.empty();
    return object({{"number", std::to_string(number)},
                   {"name", log.name},
                   {"failure", failed ? data(object({{"failure", log.failure}})) : data(false)},
                   {"log", failed ? data(false) : log_view(log)},
                   {"has_timeline", !log.times.empty()},
                   {"levels", levels_view()},
                   {"marks", marks_view(log.clock)},
                   {"gaps", gaps_view(log.clock)},
                   {"has_gaps", log.clock.eras.size() > 1},
                   {"has_serious", has_serious(log)},
                   {"serious", flags_view(log)},
                   {"serious_title", "Serious events that are no faults"},
                   {"parts", parts_view(log, words)},
                   {"has_faults", !log.faults.empty()},
                   {"faults", list(log.faults, fault_view)},
                   {"has_refused", !log.refused.empty()},
                   {"refused", refused_view(log)}});
}

} // namespace report
