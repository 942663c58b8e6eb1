// Faults in short, as the tests put them into the table without a road, and what the table then holds.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "support/world.h"

struct Fault {
    uint8_t entity;
    int32_t instance, code;
    int32_t severity = FE_SEVERITY_MAJOR, related = 0;
    uint32_t sensor_number = 256; // no stale pass asks for it
};

inline bool operator==(const fe_write_buf &one, const fe_write_buf &other) {
    return std::memcmp(&one, &other, sizeof one) == 0;
}

int32_t update(fe_write_buf &record);
void put(const Fault &fault);

// As they stand in a file, one behind the other.
std::string bytes_of(const auto &records) {
    std::string bytes;
    for (const fe_write_buf &record : records) {
        bytes.append(reinterpret_cast<const char *>(&record), sizeof record);
    }
    return bytes;
}

// The records of the chain, newest first.
std::vector<fe_write_buf> chain();

// The index: its entries in order, and whether no level of it is empty or there twice and each entry is under its own
// keys. The caller keeps others from the table.
struct TableIndex {
    std::vector<const fe_table_entry *> entries;
    bool is_sound = true;
};
TableIndex table_index();

// Empty when the fault table keeps its invariants (index and chain agree, no empty level, count right), else what is
// wrong. The second takes fe_table_mutex, the first leaves that to its caller.
std::string broken_table();
std::string broken_invariant();
