#include "base/output_area.h"
#include "fault_engine/engine.h"
#include "fault_engine/sel.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"

int32_t init_sdr_lookup(void) {
    for (int32_t &floor : fe_sdr_instance_array) {
        floor = 1;
    }
    for (int32_t sensor_number = 0; sensor_number <= 255; ++sensor_number) {
        output_area<uint32_t> type{};
        sensor_data_record sensor{};
        if (IPMI_SensorGetSensorData(sensor_number, &type.value, &sensor) != 0) {
            fe_logger("IPMI_SensorGetSensorData failed for sensor_num: %d\n", sensor_number);
            continue;
        }
        const auto instance = static_cast<int32_t>(sensor.entity_instance);
        if (sensor.entity_id <= 255 && fe_sdr_instance_array[sensor.entity_id] > instance) {
            fe_sdr_instance_array[sensor.entity_id] = instance;
        }
    }
    return 0;
}
