// The clean-up passes on a full table in which they find nothing to do, against a bare walk of the same lists; that of
// the stale pass also makes the sensor calls and logs the line that each of them costs.
#include "bench/compare.h"
#include "bench/table_fill.h"
#include "fault_engine/sel.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"

namespace {

void walk_index() {
    for (const entity_id_node *entity = entity_id_list_head_ptr; entity != nullptr; entity = entity->next) {
        for (const entity_instance_node *instance = entity->instance_list; instance != nullptr;
             instance = instance->next) {
            for (const fault_node *fault = instance->fault_list; fault != nullptr; fault = fault->next) {
                benchmark::DoNotOptimize(fault->fault_code);
            }
        }
    }
}

void walk_chain_and_ask() {
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        const auto sensor_number = static_cast<int32_t>(entry->record.sens_num);
        uint32_t unused[2] = {};
        uint32_t state = 0;
        uint32_t type = 0;
        sensor_data_record sensor;
        IPMI_SensorGetSensorData(sensor_number, &type, &sensor);
        IPMI_SensorGetSensorReading(sensor_number, &unused[0], &unused[1], &state);
        fe_logger("sensr_name: %s iCurrentstatus:%d type_code: %u iSensorType: %d\n", entry->record.sensor_name,
                  static_cast<int>(state), sensor.event_type, static_cast<int>(sensor.sensor_type));
    }
}

void pass(benchmark::State &state, const Layout &layout, void (*clean_up)(), void (*walk)()) {
    fill_table(layout);
    compare(state, 1, clean_up, walk);
    if (fe_fault_count != static_cast<uint32_t>(layout.total())) {
        state.SkipWithError("the pass found something to clear");
    }
}

} // namespace

void add_cleanup() {
    static constexpr struct {
        const char *name;
        Layout layout;
    } shapes[] = {{", 64 instances", spread}, {", one instance", one_instance}};
    for (const auto &shape : shapes) {
        add_comparison(std::string("duplicate pass, 1024 faults") + shape.name, 2001, [=](benchmark::State &state) {
            pass(state, shape.layout, cleanup_duplicate_events, walk_index);
        });
    }
    for (const auto &shape : shapes) {
        add_comparison(std::string("stale pass, 1024 faults") + shape.name, 501, [=](benchmark::State &state) {
            pass(state, shape.layout, cleanup_deasserted_events, walk_chain_and_ask);
        });
    }
}
