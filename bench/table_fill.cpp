#include "bench/table_fill.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "bench/neighbours.h"
#include "platform/fe_core/fe_core.h"

namespace {

constexpr int32_t first_code = 100000;
constexpr uint8_t threshold_event = 1, voltage = 2;

} // namespace

void describe_all_sensors() {
    for (int number = 0; number <= 255; ++number) {
        const auto code = first_code + number;
        neighbours::describe(static_cast<uint8_t>(number), 1, 1, voltage, threshold_event, code, "SENSOR: text");
    }
}

void make_fault(const Layout &layout, int n, fe_write_buf &record) {
    record = neighbours::sensors()[n & 0xFF].fault;
    const int instance = n / layout.faults;
    record.entity_id = static_cast<uint8_t>(1 + instance / layout.instances);
    record.entity_instance = 1 + instance % layout.instances;
    record.vemoFaultSeverity = FE_SEVERITY_MAJOR;
    record.sens_num = n & 0xFF;
    record.vemoFaultCode = first_code + n;
    strcpy(record.sensor_name, "BENCH_SENSOR");
}

void fill_table(const Layout &layout) {
    empty_table();
    std::vector<int> order(static_cast<size_t>(layout.total()));
    std::iota(order.begin(), order.end(), 0);
    RecordInHand hand;
    const auto send_all = [&] {
        for (const int n : order) {
            make_fault(layout, n, hand.record);
            update_fe_database(&hand.block);
        }
    };
    send_all(); // creates
    std::shuffle(order.begin(), order.end(), std::minstd_rand(1));
    send_all(); // moves to the head, one after the other
}

void empty_table() {
    fe_set_flag(&sel_init_complete, 0);
    RecordInHand hand;
    while (fe_table_head_ptr != nullptr) {
        hand.record = fe_table_head_ptr->record;
        hand.record.vemoFaultSeverity = FE_SEVERITY_CLEARED;
        hand.record.related_FaultCode = {};
        update_fe_database(&hand.block);
    }
}
