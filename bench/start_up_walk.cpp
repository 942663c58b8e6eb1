// The walk of a whole SEL at start-up, per record, against the calls into the neighbours alone.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "bench/compare.h"
#include "bench/neighbours.h"
#include "bench/sel_road_floor.h"
#include "bench/server.h"
#include "bench/table_fill.h"
#include "bench/working_buffer.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "sel/sel_decode_area.h"

namespace {

void decode_and_call(fe_write_buf_struct *wbuf) {
    static sel_decode_area area;
    uint16_t unused = 0;
    uint16_t total = 0;
    SELTotalSEL(&area.total_first, 0, &unused, &total);
    const std::unique_ptr<sel_list_entry[]> list(new sel_list_entry[total]);
    uint32_t decoded = 0;
    for (sel_chunk_request request = {1, sel_chunk_entries}; decoded < total;) {
        DecodeSel(&area, sel_decode_area_size, &request, &area.decoded_last);
        memcpy(&list[decoded], area.entries, area.decoded_last * sizeof *area.entries);
        decoded += area.decoded_last;
        request.first_record_id = area.next_record_id;
    }
    for (uint32_t i = 0; i < decoded; ++i) {
        call_neighbours(list[i].record, wbuf);
        fe_logger("populate_all_sel_events:Sensor num: %d\n", int{list[i].sensor_number[0]});
    }
}

void walk(benchmark::State &state, unsigned count) {
    empty_table();
    server::describe();
    const WorkingBuffer buffer;
    RecordInHand hand;
    std::vector<sel_record> sel;
    for (unsigned i = 0; i < count; ++i) {
        sel.push_back(server::fault_event(i % server::sensors));
    }
    neighbours::serve_sel(sel);
    compare(
        state, count, [] { populate_all_sel_events(); }, [&] { decode_and_call(&hand.block); });
    neighbours::serve_sel({});
    if (fe_fault_count != server::sensors) {
        state.SkipWithError("the walk did not fill the table");
    }
}

} // namespace

void add_start_up_walk() {
    for (const unsigned count : {1024U, 8192U, 65535U}) {
        add_comparison("start-up walk of " + std::to_string(count) + " records, one record",
                       static_cast<int>(65535U / count * 4) + 51, [=](benchmark::State &state) { walk(state, count); });
    }
}
