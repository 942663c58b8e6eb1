// The fault table as both tests of injected failures change it and look at it.
#pragma once

#include <cstring>
#include <vector>

#include "support/neighbours.h"
#include "tools/table_files.h"

using Table = std::vector<fe_write_buf>;

struct Fault {
    uint8_t entity;
    int32_t instance, code;
    int32_t severity = FE_SEVERITY_MAJOR, related = 0;
    uint32_t sensor_number = 256; // no stale pass asks for it
};

// Past the roads.
inline void put(const Fault &fault) {
    fe_write_buf record{};
    record.entity_id = fault.entity;
    record.entity_instance = fault.instance;
    record.vemoFaultCode = fault.code;
    record.vemoFaultSeverity = fault.severity;
    record.related_FaultCode.related_fc[1] = fault.related;
    record.sens_num = fault.sensor_number;
    fe_write_buf_struct block{};
    block.fe_write_buf = &record;
    update_fe_database(&block);
}

// Whether these are the records of the chain, newest first.
inline bool is_chain(const Table &records) {
    const fe_table_entry *entry = fe_table_head_ptr;
    for (const fe_write_buf &record : records) {
        if (entry == nullptr || memcmp(&record, &entry->record, sizeof record) != 0) {
            return false;
        }
        entry = entry->next;
    }
    return entry == nullptr;
}
