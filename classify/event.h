// An IPMI event as the tables of this folder see it, taken out of a 16-byte SEL record.
#pragma once

#include <cstdint>

#include "base/ipmi.h"
#include "fault_engine/sel.h"

inline constexpr uint8_t oem_7f_first_offset = 8; // of those of OEM type 0x7F that have an outcome

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
