#include "platform/ipmi_access/event_text.h"

#include <cstdio>

#include "base/ipmi.h"
#include "platform/ipmi_access/event_tables.h"

namespace ipmi_access {
namespace {

const EventRow *find_row(const Event &event) {
    return event.event_type == event_type::sensor_specific ? find_sensor_specific_events(event.sensor_type)
                                                           : find_generic_events(event.event_type);
}

bool name_is_second_word(const std::string &name) {
    return name.starts_with("FRU_") || (name.find("PSU") != std::string::npos && !name.starts_with("LED_PSU"));
}

} // namespace

Event event_of(const sel_record &record) {
    return {record.sensor_type, static_cast<uint8_t>(record.event_dir_type & 0x7F),
            static_cast<uint8_t>(record.event_data[0] & 0x0F), (record.event_dir_type & 0x80) != 0};
}

std::string event_words(const Event &event) {
    const char *end = event.deasserted ? " - Deasserted" : "";
    const EventRow *row = find_row(event);
    if (row != nullptr && row->words[event.offset] != nullptr) {
        return std::string(row->words[event.offset]) + end;
    }
    char unknown[48];
    snprintf(unknown, sizeof unknown, "Event Offset 0x%x%s", event.offset, end);
    return unknown;
}

bool is_serious(const Event &event) {
    const EventRow *row = find_row(event);
    return row != nullptr && !event.deasserted && (row->serious >> event.offset & 1) != 0;
}

const char *sensor_type_words(uint8_t sensor_type) {
    const EventRow *row = find_sensor_specific_events(sensor_type);
    return row == nullptr ? nullptr : row->name;
}

std::string event_text(const std::string &sensor_name, const Event &event) {
    const std::string first = name_is_second_word(sensor_name) ? sensor_name + ' ' : "";
    return first + sensor_name + ": " + event_words(event);
}

} // namespace ipmi_access
