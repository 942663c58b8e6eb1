// The storage status: live faults of the storage entities counted by severity band, and the bands in use published as
// one byte in /var/stor_stat. Used with fe_table_mutex held.
#pragma once

#include "fault_engine/fault_record.h"

constexpr bool is_storage_entity(uint8_t entity_id) {
    return entity_id >= 208 && entity_id <= 215;
}

// A fault of a storage entity came with this severity, or went with it. Other entities' faults are not counted.
void count_storage_fault(uint8_t entity_id, int32_t severity);
void uncount_storage_fault(uint8_t entity_id, int32_t severity);
