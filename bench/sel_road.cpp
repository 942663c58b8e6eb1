// One SEL record of a known fault down the whole road, before the start-up walk is over (no files, no broadcasts),
// against the calls into the neighbours alone.
#include "bench/compare.h"
#include "bench/logger.h"
#include "bench/sel_road_floor.h"
#include "bench/server.h"
#include "bench/table_fill.h"
#include "bench/working_buffer.h"

namespace {

std::vector<sel_record> one_of_each() {
    std::vector<sel_record> records;
    for (unsigned sensor = 0; sensor < server::sensors; ++sensor) {
        records.push_back(server::fault_event(sensor));
    }
    return records;
}

// Lines that the work logs; 0 with the silent logger.
template <class Work>
uint64_t lines_of(Work work) {
    const uint64_t before = logger::lines();
    work();
    return logger::lines() - before;
}

void road(benchmark::State &state) {
    empty_table();
    server::describe();
    const WorkingBuffer buffer;
    RecordInHand hand;
    const std::vector<sel_record> records = one_of_each();
    const auto go = [&] {
        for (const sel_record &record : records) {
            process_sel_data(reinterpret_cast<const uint8_t *>(&record));
        }
    };
    const auto neighbours_alone = [&] {
        for (const sel_record &record : records) {
            call_neighbours(record, &hand.block);
        }
    };
    go(); // creates the faults
    if (fe_fault_count != server::sensors || lines_of(go) != lines_of(neighbours_alone)) {
        state.SkipWithError("the floor is not that of the road");
    }
    compare(state, server::sensors, go, neighbours_alone);
}

} // namespace

void add_sel_road() {
    add_comparison(logger::formats ? "one SEL record, formatting logger" : "one SEL record, silent logger", 2001, road);
}
