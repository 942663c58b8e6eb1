#include "tools/story_words.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

#include "base/ipmi.h"
#include "fault_engine/classify.h"
#include "platform/entity_filter/entity_filter_host.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/entity_names.h"

namespace story {
namespace {

constexpr int32_t inoperable = 214, degraded = 218; // probable causes

// By event/reading type, for faults that are no measurement.
struct EventTypeWords {
    uint8_t event_type;
    const char *words;
};
constexpr EventTypeWords event_type_words[] = {
    {0x02, "usage"},        {0x03, "state"},      {0x04, "predictive failure"}, {0x05, "limit"},
    {0x06, "performance"},  {0x07, "severity"},   {0x08, "presence"},           {0x09, "enabled"},
    {0x0A, "availability"}, {0x0B, "redundancy"}, {0x0C, "power state"},
};

// The catalogue's group of the code, 0 in front for none.
std::array<int32_t, FE_RELATED_CODES> related_codes(int32_t code) {
    fe_write_buf record{};
    record.vemoFaultCode = code;
    lookup_fill_related_threshold_fault_code(&record);
    return std::to_array(record.related_FaultCode.related_fc);
}

std::string level_words(int32_t severity) {
    switch (severity) {
    case FE_SEVERITY_CRITICAL: return "non-recoverable";
    case FE_SEVERITY_MAJOR: return "critical";
    case FE_SEVERITY_CLEARED: return "threshold";
    default: return "non-critical";
    }
}

std::string own_words(const Fault &fault) {
    const char *type = ipmi_access::sensor_type_words(fault.sensor_type);
    if (type == nullptr && !fault.own_name.empty()) {
        return fault.own_name;
    }
    char unknown[24];
    snprintf(unknown, sizeof unknown, "Sensor type 0x%02x", fault.sensor_type);
    std::string subject = type != nullptr ? type : unknown;
    if (fault.event_type == event_type::threshold) {
        return subject + ' ' + level_words(fault.severity);
    }
    if (fault.sensor_type == sensor_type::entity_presence) {
        return subject;
    }
    const auto *known = std::ranges::find(event_type_words, fault.event_type, &EventTypeWords::event_type);
    return subject + ' ' + (known != std::end(event_type_words) ? known->words : "event");
}

// Catalogue names of measurements end in their level, the others say that something is broken.
bool name_fits(std::string_view name, const Fault &fault) {
    const bool non_critical = name.ends_with("NonCritical");
    const bool non_recoverable = name.ends_with("NonRecoverable");
    if (fault.severity == FE_SEVERITY_CLEARED) {
        return true;
    }
    if (fault.event_type != event_type::threshold) {
        return fault.severity >= FE_SEVERITY_MAJOR;
    }
    return non_critical == (fault.severity < FE_SEVERITY_MAJOR) &&
           non_recoverable == (fault.severity >= FE_SEVERITY_CRITICAL);
}

} // namespace

std::string severity_word(int32_t severity) {
    constexpr const char *words[] = {"cleared", "info", "2", "warning", "minor", "major", "critical"};
    const auto code = static_cast<uint32_t>(severity);
    return code < std::size(words) ? words[code] : std::to_string(severity);
}

std::string entity_words(uint8_t entity_id, int32_t instance) {
    const char *name = entity_name(entity_id);
    const std::string words = name != nullptr ? name : "entity " + std::to_string(entity_id);
    return words + (name != nullptr ? " " : ".") + std::to_string(instance);
}

std::string entity_words(const Fault &fault) {
    return entity_words(fault.entity_id, fault.entity_instance);
}

int32_t base_code(const Fault &fault) {
    return fault.table_code % entity_filter::codes_per_rank;
}

int32_t measurement_code(int32_t table_code) {
    const int32_t code = table_code % entity_filter::codes_per_rank;
    int32_t least = code;
    for (const int32_t related : related_codes(code)) {
        least = related != 0 ? std::min(least, related) : least;
    }
    const bool is_own_threshold = code >= entity_filter::own_threshold_codes;
    if (is_own_threshold) {
        least = code - (code - entity_filter::own_threshold_codes) % 3;
    }
    return table_code - code + least;
}

std::string one_line(const Fault &fault) {
    return severity_word(fault.severity) + ": " + sensor_words(fault) + " (" + entity_words(fault) + "), " +
           event_words(fault);
}

bool is_catalogue_code(int32_t code) {
    return related_codes(code)[0] != 0 || strcmp(get_fault_code_string(static_cast<uint32_t>(code)), "Unknown") != 0;
}

std::string fault_name(const Fault &fault) {
    const char *known = get_fault_code_string(static_cast<uint32_t>(base_code(fault)));
    const bool has_name = strcmp(known, "Unknown") != 0;
    return has_name && name_fits(known, fault) ? known : own_words(fault);
}

const char *cause_word(const Fault &fault) {
    const bool says_too_much = fault.cause == inoperable && fault.severity < FE_SEVERITY_MAJOR && fault.severity > 0;
    return get_probable_cause_string(static_cast<uint32_t>(says_too_much ? degraded : fault.cause));
}

std::string event_words(const Fault &fault) {
    return fault.event ? ipmi_access::event_words(*fault.event) : own_words(fault);
}

std::string sensor_words(const Fault &fault) {
    if (fault.sensor.empty()) {
        return ipmi_access::unnamed_sensor(fault.sensor_number);
    }
    const auto &sensors = ipmi_access::served().sensors;
    const auto same = std::ranges::count_if(sensors, [&](const auto &s) { return s && s->label == fault.sensor; });
    char number[24];
    snprintf(number, sizeof number, " (0x%02x)", fault.sensor_number);
    return same > 1 ? fault.sensor + number : fault.sensor;
}

std::string sensor_label(const Record &record) {
    const ipmi_access::Sensor *sensor = ipmi_access::find_sensor(record.sensor_number);
    const bool is_its = sensor != nullptr && sensor->owner == (record.generator_id & 0xFF);
    return is_its ? sensor->label : ipmi_access::unnamed_sensor(record.sensor_number);
}

std::string event_words(const Record &record) {
    char words[40];
    if (record.type == sel_record_type::system_event) {
        return ipmi_access::event_words(record.event);
    }
    snprintf(words, sizeof words,
             record.type >= sel_record_type::first_oem ? "OEM record of type 0x%02x" : "record of type 0x%02x",
             record.type);
    return words;
}

const char *change_word(ChangeKind kind) {
    constexpr const char *words[] = {"created", "repeated", "cleared", "evicted"};
    return words[static_cast<size_t>(kind)];
}

const char *origin_word(Origin origin) {
    constexpr const char *words[] = {"record", "request", "stale_pass", "duplicate_pass"};
    return words[static_cast<size_t>(origin)];
}

const char *reason_key(Reason reason) {
    constexpr const char *keys[] = {"no_sensor", "other_owner", "sensor_type_differs", "no_severity", "no_fault_number",
                                    "oem",       "other"};
    return keys[static_cast<size_t>(reason)];
}

const char *reason_words(Reason reason) {
    constexpr const char *words[] = {
        "no sensor data record",      "another owner's sensor",          "not of the sensor's type",
        "no severity for this event", "no fault number for this entity", "OEM record",
        "refused by the engine"};
    return words[static_cast<size_t>(reason)];
}

} // namespace story
