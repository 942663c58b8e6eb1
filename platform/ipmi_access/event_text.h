// Words of events, after IPMI v2.0, tables 42-2 and 42-3.
#pragma once

#include <cstdint>
#include <string>

#include "fault_engine/sel.h"

namespace ipmi_access {

struct Event {
    uint8_t sensor_type;
    uint8_t event_type; // 0..127
    uint8_t offset;     // 0..15
    bool deasserted;

    bool operator==(const Event &) const = default;
};

Event event_of(const sel_record &record);

// "Upper Critical going high", "Failure detected - Deasserted", "Event Offset 0x3" for one that has no words.
std::string event_words(const Event &event);

// Whether the event by its own meaning says that something is broken, or about to: uncorrectable, non-recoverable,
// critical, failed. A deasserted one never does.
bool is_serious(const Event &event);

// "Power Supply", or null.
const char *sensor_type_words(uint8_t sensor_type);

// "NAME: event words". The engine takes the second word for the sensor's name when the first contains "PSU" (not at the
// start as "LED_PSU") or starts with "FRU_"; such a name comes twice.
std::string event_text(const std::string &sensor_name, const Event &event);

} // namespace ipmi_access
