// road_instructions repeat|mix|live RECORDS
//
// Sends SEL records down the road, with a logger that does nothing, for callgrind to count what a record costs:
//   repeat  each is a repeat of one of 64 faults, before the start-up walk is over
//   mix     a quarter creates a fault, half repeat it, a quarter clears it
//   live    as repeat, after the start-up walk: with broadcasts and the files of 64 faults
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "bench/private_folder.h"
#include "bench/server.h"
#include "bench/working_buffer.h"
#include "fault_engine/fault_table.h"
#include "platform/fe_core/fe_core.h"

namespace {

void send(const sel_record &record) {
    process_sel_data(reinterpret_cast<const uint8_t *>(&record));
}

void repeat(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        send(server::fault_event(i % server::sensors));
    }
}

void mix(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        const unsigned sensor = i % server::sensors;
        const bool clears = i / server::sensors % 4 == 3;
        send(clears ? server::clearing_event(sensor) : server::fault_event(sensor));
    }
}

} // namespace

int main(int argc, char **argv) {
    const std::string_view what = argc == 3 ? argv[1] : "";
    const unsigned count = argc == 3 ? static_cast<unsigned>(strtoul(argv[2], nullptr, 10)) : 0;
    if ((what != "repeat" && what != "mix" && what != "live") || count % (4 * server::sensors) != 0) {
        fprintf(stderr, "usage: road_instructions repeat|mix|live RECORDS   (a multiple of %u)\n", 4 * server::sensors);
        return 2;
    }
    const PrivateFolder folder(temporary_parent());
    const WorkingBuffer buffer;
    server::describe();
    if (what == "mix") {
        mix(count);
        return fe_fault_count == 0 ? 0 : 1;
    }
    fe_set_flag(&sel_init_complete, what == "live" ? 1 : 0);
    repeat(count);
    return fe_fault_count == server::sensors ? 0 : 1;
}
