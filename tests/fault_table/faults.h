// Faults in short, as the tests put them into the table past the roads, and what the table then holds.
#pragma once

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <vector>

#include "support/interpose.h"
#include "support/neighbours.h"

struct FaultTable : testing::Test {
    FaultTable() { reset_world(); }
    ~FaultTable() override { reset_world(); }
    SandboxPaths sandbox;
};

struct Fault {
    uint8_t entity;
    int32_t instance, code;
    int32_t severity = FE_SEVERITY_MAJOR, related = 0;
    uint32_t sensor_number = 256; // no stale pass asks for it
};

inline bool operator==(const fe_write_buf &one, const fe_write_buf &other) {
    return std::memcmp(&one, &other, sizeof one) == 0;
}

inline int32_t update(fe_write_buf &record) {
    fe_write_buf_struct block{};
    block.fe_write_buf = &record;
    return update_fe_database(&block);
}

inline void put(const Fault &fault) {
    fe_write_buf record{};
    record.entity_id = fault.entity;
    record.entity_instance = fault.instance;
    record.vemoFaultCode = fault.code;
    record.vemoFaultSeverity = fault.severity;
    record.related_FaultCode.related_fc[1] = fault.related;
    record.sens_num = fault.sensor_number;
    update(record);
}

// The records of the chain, newest first.
inline std::vector<fe_write_buf> chain() {
    std::vector<fe_write_buf> records;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        records.push_back(entry->record);
    }
    return records;
}
