// An IPMI event as the tables of this folder see it, taken out of a 16-byte SEL record.
#pragma once

#include <cstdint>

#include "fault_engine/sel.h"

struct ipmi_event {
    uint8_t type;        // event/reading type, 0..127
    uint8_t direction;   // 0 assertion, 1 deassertion
    uint8_t offset;      // 0..15
    uint8_t sensor_type; // IPMI v2.0, table 42-3
    uint8_t data_3;      // event data 3
};

inline ipmi_event event_of(const uint8_t *sel_bytes) {
    const auto *record = reinterpret_cast<const sel_record *>(sel_bytes);
    return {
        .type = static_cast<uint8_t>(record->event_dir_type & 0x7F),
        .direction = static_cast<uint8_t>(record->event_dir_type >> 7),
        .offset = static_cast<uint8_t>(record->event_data[0] & 0x0F),
        .sensor_type = record->sensor_type,
        .data_3 = record->event_data[2],
    };
}

namespace event_type { // IPMI v2.0, table 42-1 and 42-2
inline constexpr uint8_t threshold = 0x01;
inline constexpr uint8_t dmi_usage = 0x02;
inline constexpr uint8_t digital = 0x03;
inline constexpr uint8_t predictive_failure = 0x04;
inline constexpr uint8_t limit = 0x05;
inline constexpr uint8_t performance = 0x06;
inline constexpr uint8_t severity = 0x07;
inline constexpr uint8_t device_presence = 0x08;
inline constexpr uint8_t device_enabled = 0x09;
inline constexpr uint8_t availability = 0x0A;
inline constexpr uint8_t redundancy = 0x0B;
inline constexpr uint8_t acpi_power = 0x0C;
inline constexpr uint8_t sensor_specific = 0x6F;
inline constexpr uint8_t oem_70 = 0x70;
inline constexpr uint8_t oem_7f = 0x7F;
} // namespace event_type

namespace sensor_type { // IPMI v2.0, table 42-3
inline constexpr uint8_t temperature = 0x01;
inline constexpr uint8_t voltage = 0x02;
inline constexpr uint8_t current = 0x03;
inline constexpr uint8_t fan = 0x04;
inline constexpr uint8_t physical_security = 0x05;
inline constexpr uint8_t power_supply = 0x08;
inline constexpr uint8_t memory = 0x0C;
inline constexpr uint8_t drive_slot = 0x0D;
inline constexpr uint8_t system_event = 0x12;
inline constexpr uint8_t slot_connector = 0x21;
inline constexpr uint8_t entity_presence = 0x25;
} // namespace sensor_type

namespace entity_id { // IPMI v2.0, table 43-13
inline constexpr uint8_t processor = 3;
inline constexpr uint8_t system_board = 7;
inline constexpr uint8_t memory_module = 8;
inline constexpr uint8_t power_supply = 10;
inline constexpr uint8_t add_in_card = 11;
inline constexpr uint8_t system_chassis = 23;
inline constexpr uint8_t memory_board = 25; // "other chassis board"
inline constexpr uint8_t memory_device = 32;
inline constexpr uint8_t system_firmware = 34;
} // namespace entity_id
