#include "tools/story_json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ctime>

#include "platform/time_text.h"
#include "tools/story_words.h"

namespace story {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t most_kept = 10000;

std::string dump(const Json &json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The members of an object, to be put between others.
std::string members(const Json &object) {
    const std::string text = dump(object);
    return text.substr(1, text.size() - 2);
}

void add(std::string &line, const char *key, const std::string &value) {
    line += ",\"";
    line += key;
    line += "\":";
    line += value;
}

// All of a fault that stays while it is the same event at the same severity.
Json identity_of(const Fault &fault) {
    const auto &raised = fault.raised_by;
    return {{"sensor", fault.sensor},
            {"sensor_number", fault.sensor_number},
            {"sensor_type", fault.sensor_type},
            {"event_type", fault.event_type},
            {"entity", entity_words(fault)},
            {"entity_id", fault.entity_id},
            {"entity_instance", fault.entity_instance},
            {"table_instance", fault.table_instance},
            {"severity", severity_word(fault.severity)},
            {"code", base_code(fault)},
            {"table_code", fault.table_code},
            {"name", fault_name(fault)},
            {"cause", cause_word(fault)},
            {"event", event_words(fault)},
            {"raised_by", raised ? Json(ipmi_access::event_words(*raised)) : Json(nullptr)},
            {"fault_number", fault.fault_number}};
}

template <class Value>
void append_bytes(std::string &key, const Value &value) {
    key.append(reinterpret_cast<const char *>(&value), sizeof value);
}

std::string key_of(const Fault &fault) {
    const auto pack = [](const std::optional<ipmi_access::Event> &event) {
        return event ? 0x80000000U | uint32_t{event->sensor_type} << 16 | uint32_t{event->event_type} << 8 |
                           uint32_t{event->offset} << 1 | event->deasserted
                     : 0U;
    };
    std::string key = fault.sensor + '\n' + fault.own_name + '\n';
    for (const uint32_t number : {fault.sensor_number, uint32_t{fault.sensor_type}, uint32_t{fault.event_type},
                                  uint32_t{fault.entity_id}, static_cast<uint32_t>(fault.entity_instance),
                                  static_cast<uint32_t>(fault.table_instance), static_cast<uint32_t>(fault.severity),
                                  static_cast<uint32_t>(fault.fault_number), static_cast<uint32_t>(fault.table_code),
                                  static_cast<uint32_t>(fault.cause), pack(fault.event), pack(fault.raised_by)}) {
        append_bytes(key, number);
    }
    return key;
}

std::string quoted_date(uint32_t time) {
    if (time < sel_time_first_date) {
        return "null";
    }
    const time_t seconds = time;
    tm date{};
    char text[32];
    gmtime_r(&seconds, &date);
    strftime(text, sizeof text, "\"%Y-%m-%dT%H:%M:%SZ\"", &date);
    return text;
}

const char *truth(bool value) {
    return value ? "true" : "false";
}

} // namespace

JsonLines::JsonLines(const std::string &capture) {
    if (!capture.empty()) {
        capture_ = "," + members({{"capture", capture}});
    }
}

std::string JsonLines::head(const char *type) const {
    return std::string("{\"type\":\"") + type + '"' + capture_;
}

const std::string &JsonLines::identity(const Fault &fault) {
    if (identities_.size() > most_kept) {
        identities_.clear();
    }
    const auto [found, is_new] = identities_.try_emplace(key_of(fault));
    if (is_new) {
        found->second = members(identity_of(fault));
    }
    return found->second;
}

// ISO 8601 in UTC; null for none and for times since start.
const std::string &JsonLines::time(std::optional<uint32_t> time) {
    if (times_.size() > most_kept) {
        times_.clear();
    }
    const auto [found, is_new] = times_.try_emplace(time.value_or(0));
    if (is_new) {
        found->second = quoted_date(time.value_or(0));
    }
    return found->second;
}

void JsonLines::add_fault(std::string &line, const Fault &fault) {
    line += ',';
    line += identity(fault);
    add(line, "count", std::to_string(fault.count));
    add(line, "first_time", time(fault.first_time));
    add(line, "last_time", time(fault.last_time));
}

void JsonLines::add_record(std::string &line, const Record *record) {
    const std::optional<uint32_t> when = record != nullptr ? record->time : std::nullopt;
    add(line, "record_id", record != nullptr ? std::to_string(record->id) : "null");
    add(line, "time", time(when));
    add(line, "seconds_since_start", when && *when < sel_time_first_date ? std::to_string(*when) : "null");
}

std::string JsonLines::change(const Change &change) {
    std::string line = head("change");
    add(line, "change", std::string("\"") + change_word(change.kind) + '"');
    add(line, "origin", std::string("\"") + origin_word(change.origin) + '"');
    add(line, "live", truth(change.live));
    add_record(line, change.record ? &*change.record : nullptr);
    add(line, "severity_before",
        change.before != nullptr ? '"' + severity_word(change.before->severity) + '"' : "null");
    add(line, "table_code_before", change.before != nullptr ? std::to_string(change.before->table_code) : "null");
    add(line, "cleared_by_another_event", truth(cleared_by_another_event(change)));
    add_fault(line, *change.after);
    return line + '}';
}

std::string JsonLines::fault(const Fault &fault) {
    std::string line = head("fault");
    add_fault(line, fault);
    return line + '}';
}

std::string JsonLines::refused(const Refused &refused) {
    const Record &record = refused.record;
    const bool named = has_sensor(record);
    std::string line = head("refused");
    add_record(line, &record);
    const Json rest = {{"sensor", named ? Json(sensor_label(record)) : Json(nullptr)},
                       {"sensor_number", named ? Json(record.sensor_number) : Json(nullptr)},
                       {"generator_id", named ? Json(record.generator_id) : Json(nullptr)},
                       {"event", event_words(record)},
                       {"reason", reason_key(refused.reason)},
                       {"serious", refused.serious}};
    return line + ',' + members(rest) + '}';
}

std::string JsonLines::summary(const Ending &ending, const RequestsSeen *requests) {
    const Totals &totals = ending.totals;
    Json reasons_json = Json::object();
    for (size_t i = 0; i < reasons; ++i) {
        reasons_json[reason_key(static_cast<Reason>(i))] = totals.refused[i];
    }
    Json by_severity = Json::object();
    for (const int32_t severity : {6, 5, 4, 3, 1}) {
        by_severity[severity_word(severity)] = 0;
    }
    for (const Fault &fault : ending.active) { // a request may give any number
        const std::string word = severity_word(fault.severity);
        by_severity[word] = by_severity.value(word, 0) + 1;
    }
    const auto worst = std::ranges::max_element(ending.active, {}, &Fault::severity); // of equals the newest
    Json rest = {{"records", totals.records},
                 {"processed", totals.processed},
                 {"ignored", totals.ignored},
                 {"refused", totals.refused_in_all()},
                 {"refused_by_reason", reasons_json},
                 {"refused_serious", totals.refused_serious},
                 {"nothing_to_clear", totals.nothing_to_clear},
                 {"not_stored", totals.not_stored},
                 {"left_out", totals.left_out},
                 {"requests", totals.requests},
                 {"created", totals.created},
                 {"repeated", totals.repeated},
                 {"cleared", totals.cleared},
                 {"recovered", totals.recovered},
                 {"evicted", totals.evicted},
                 {"active", ending.active.size()},
                 {"by_severity", by_severity},
                 {"worst", worst != ending.active.end() ? Json(one_line(*worst)) : Json(nullptr)}};
    if (requests != nullptr) {
        rest.update(Json{{"requests_processed", totals.requests_processed},
                         {"requests_dropped", requests->counts.wrong_size},
                         {"requests_left", requests->not_taken()},
                         {"records_left", requests->records_left}});
    }
    return head("summary") + ',' + members(rest) + '}';
}

} // namespace story
