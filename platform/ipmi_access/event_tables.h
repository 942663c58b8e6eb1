// What event offsets mean: IPMI v2.0, tables 42-2 (generic events) and 42-3 (by sensor type).
#pragma once

#include <array>
#include <cstdint>

namespace ipmi_access {

struct EventRow {
    uint8_t type;
    uint16_t serious;                   // a bit for each offset that says that something is broken, or about to
    const char *name;                   // of the sensor type; nobody asks for that of a generic type
    std::array<const char *, 16> words; // by offset; null where it has none
};

// Both return null for a type that has no row.
const EventRow *find_generic_events(uint8_t event_type);
const EventRow *find_sensor_specific_events(uint8_t sensor_type);

} // namespace ipmi_access
