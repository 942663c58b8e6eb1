// Fault tables to measure on.
#pragma once

#include "fault_engine/fault_table.h"

// How many nodes each level of the index has under each node of the level above.
struct Layout {
    int entities;
    int instances;
    int faults;

    int total() const { return entities * instances * faults; }
    int last_code() const { return total() - 1; }
};

constexpr Layout spread = {8, 8, 16};
constexpr Layout one_instance = {1, 1, FE_TABLE_MAX_FAULTS};

// A record with the write buffer that update_fe_database() wants around it.
struct RecordInHand {
    fe_write_buf record{};
    fe_write_buf_struct block{};

    RecordInHand() { block.fe_write_buf = &record; }
    RecordInHand(const RecordInHand &) = delete;
    RecordInHand &operator=(const RecordInHand &) = delete;
};

// Fault number `n` of a layout: entity ids and instances count from 1; its code is unique. Nothing in it is stale, given
// describe_all_sensors().
void make_fault(const Layout &layout, int n, fe_write_buf &record);

// Sensors 0 to 255, so that each fault of make_fault() has one.
void describe_all_sensors();

// Empties the table and fills it, without files. The order of the chain has nothing to do with that of the memory.
void fill_table(const Layout &layout);
void empty_table();
