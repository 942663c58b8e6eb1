#include "tools/story_json.h"

#include <nlohmann/json.hpp>

#include <ctime>

#include "platform/time_text.h"
#include "tools/story_words.h"

namespace story {
namespace {

using Json = nlohmann::ordered_json;

void add_fault(Json &json, const Fault &fault) {
    json["sensor"] = fault.sensor;
    json["sensor_number"] = fault.sensor_number;
    json["entity"] = entity_words(fault);
    json["entity_id"] = fault.entity_id;
    json["entity_instance"] = fault.entity_instance;
    json["table_instance"] = fault.table_instance;
    json["severity"] = severity_word(fault.severity);
    json["code"] = base_code(fault);
    json["table_code"] = fault.table_code;
    json["name"] = fault_name(fault);
    json["cause"] = cause_word(fault);
    json["event"] = event_words(fault);
    json["raised_by"] = fault.raised_by ? Json(ipmi_access::event_words(*fault.raised_by)) : Json(nullptr);
    json["fault_number"] = fault.fault_number;
    json["count"] = fault.count;
    json["first_time"] = time_to_json(fault.first_time);
    json["last_time"] = time_to_json(fault.last_time);
}

// Seconds since the system started, of a time that is no date.
Json since_start(std::optional<uint32_t> time) {
    return time && *time < sel_time_first_date ? Json(*time) : Json(nullptr);
}

void add_record(Json &json, const Record &record) {
    json["record_id"] = record.id;
    json["time"] = time_to_json(record.time);
    json["seconds_since_start"] = since_start(record.time);
}

} // namespace

Json time_to_json(std::optional<uint32_t> time) {
    if (!time || *time < sel_time_first_date)
        return nullptr;
    const time_t seconds = *time;
    tm date{};
    char text[32];
    gmtime_r(&seconds, &date);
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &date);
    return text;
}

Json to_json(const Change &change) {
    Json json = {{"type", "change"},
                 {"change", change_word(change.kind)},
                 {"origin", origin_word(change.origin)},
                 {"live", change.live}};
    if (change.record)
        add_record(json, *change.record);
    else
        json.update({{"record_id", nullptr}, {"time", nullptr}, {"seconds_since_start", nullptr}});
    json["severity_before"] = change.before != nullptr ? Json(severity_word(change.before->severity)) : Json(nullptr);
    json["table_code_before"] = change.before != nullptr ? Json(change.before->table_code) : Json(nullptr);
    json["cleared_by_another_event"] = cleared_by_another_event(change);
    add_fault(json, *change.after);
    return json;
}

Json to_json(const Fault &fault) {
    Json json = {{"type", "fault"}};
    add_fault(json, fault);
    return json;
}

Json to_json(const Refused &refused) {
    Json json = {{"type", "refused"}};
    add_record(json, refused.record);
    const bool has_sensor = is_system_event(refused.record);
    json["sensor"] = has_sensor ? Json(sensor_label(refused.record)) : Json(nullptr);
    json["sensor_number"] = has_sensor ? Json(refused.record.sensor_number) : Json(nullptr);
    json["generator_id"] = has_sensor ? Json(refused.record.generator_id) : Json(nullptr);
    json["event"] = event_words(refused.record);
    json["reason"] = reason_key(refused.reason);
    json["serious"] = refused.serious;
    return json;
}

Json to_json(const Ending &ending) {
    const Totals &totals = ending.totals;
    Json reasons_json = Json::object();
    for (size_t i = 0; i < reasons; i++)
        reasons_json[reason_key(static_cast<Reason>(i))] = totals.refused[i];
    return {{"type", "summary"},
            {"records", totals.records},
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
            {"active", ending.active.size()}};
}

} // namespace story
