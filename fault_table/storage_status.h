// The storage status: live faults of the storage entities counted by severity band, and the bands in use published as
// one byte in /var/stor_stat.
#pragma once

#include "base/ipmi.h"
#include "fault_table/table.h"

constexpr bool is_storage_entity(uint8_t entity) {
    return entity >= entity_id::storage_0 && entity <= entity_id::plax_3;
}

// Counts a created fault by its severity, and publishes the bands; nothing for other than storage entities.
void count_storage_fault(uint8_t entity, int32_t severity) FE_REQUIRES(table_lock);
// The same for a fault that is about to go, by the severity stored last.
void uncount_storage_fault(uint8_t entity, int32_t severity) FE_REQUIRES(table_lock);
