// Text of an event: "NAME: event words".
#pragma once

#include <cstdint>
#include <string>

namespace ipmi_access {

struct Event {
    uint8_t sensor_type;
    uint8_t event_type; // 0..127
    uint8_t offset;     // 0..15
    bool deasserted;
};

// The engine takes the second word for the sensor's name when the first contains "PSU" (not at the start as "LED_PSU")
// or starts with "FRU_"; such a name comes twice.
std::string event_text(const std::string &sensor_name, const Event &event);

} // namespace ipmi_access
