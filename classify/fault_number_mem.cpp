// Fault numbers of the memory entities: module (8), board (25) and device (32).
#include <iterator>

#include "classify/event.h"
#include "classify/fault_number.h"
#include "fault_engine/classify.h"

using namespace fault_number;

namespace {

// Threshold events, columns by sensor type.
constexpr number_row module_temperature = pairs({refused, none, none, 66, 67, 68}); // modules and devices
constexpr number_row board_temperature = pairs({refused, none, none, 75, 76, 77});
constexpr number_row voltage = pairs({refused, 96, 97, none, 99, 100});
constexpr number_row memory_errors = pairs({refused, none, none, none, 71, 72});
constexpr number_row other_threshold = pairs({refused, none, none, none, none, none});

constexpr number_row limit_or_presence = offsets_0_and_1(64);
constexpr number_row enabled = offsets_0_and_1(85);
constexpr number_row slot_connector = from_zero({79, 79, 80, 81, 83, 82, 83, 84, 85, 86});

const number_row &threshold_row(uint8_t sensor_type_code, uint8_t sensor_entity) {
    switch (sensor_type_code) {
    case sensor_type::temperature:
        switch (sensor_entity) {
        case entity_id::memory_module:
        case entity_id::memory_device: return module_temperature;
        case entity_id::memory_board: return board_temperature;
        default: return other_threshold;
        }
    case sensor_type::voltage: return voltage;
    case sensor_type::memory: return memory_errors;
    default: return other_threshold;
    }
}

int32_t slot_event(fe_read_buf *request, const ipmi_event &event) {
    if (event.sensor_type != sensor_type::slot_connector || give_number(request, slot_connector, event.offset) != 0) {
        return -1;
    }
    request->vemoFaultSeverity = FE_SEVERITY_INFO;
    return 0;
}

// OEM 0x70: the sensor's instance is a group of eight, the offset is the module in it.
int32_t group_event(fe_read_buf *request, const ipmi_event &event) {
    request->entity_group_instance = request->entity_instance;
    request->fe_fault_num = 64;
    if (event.offset > 7) {
        return -1;
    }
    request->entity_instance = event.offset + 1;
    return 0;
}

// A memory module's instance is 8 * group + number, where number 0 is called 8: 43 is number 3 of group 5, 40 is
// number 8 of group 5.
void split_instance(fe_read_buf *request) {
    const auto instance = static_cast<uint32_t>(request->entity_instance);
    request->entity_group_instance = static_cast<int32_t>(instance >> 3);
    request->entity_instance = (instance & 7) == 0 ? 8 : static_cast<int32_t>(instance & 7);
}

// OEM 0x7F: fault number and severity by offset. A memory module's instance is split, at refused offsets too.
int32_t oem_7f_event(fe_read_buf *request, const ipmi_event &event, uint8_t sensor_entity) {
    struct outcome {
        int16_t on_board; // fault number where the sensor belongs to a memory board
        int16_t elsewhere;
        int8_t severity;
    };
    static constexpr outcome outcomes[] = {
        {74, 74, FE_SEVERITY_CLEARED}, // offset 8
        {74, 74, FE_SEVERITY_WARNING},
        {90, 64, FE_SEVERITY_WARNING},
        {90, 64, FE_SEVERITY_CLEARED}, // offset 11
    };
    int32_t result = -1;
    const int row = event.offset - oem_7f_first_offset;
    if (row >= 0 && row < static_cast<int>(std::size(outcomes))) {
        const outcome &found = outcomes[row];
        request->fe_fault_num = sensor_entity == entity_id::memory_board ? found.on_board : found.elsewhere;
        request->vemoFaultSeverity = found.severity;
        result = 0;
    }
    if (sensor_entity == entity_id::memory_module) {
        split_instance(request);
    }
    return result;
}

} // namespace

int32_t get_fault_num_mem(fe_read_buf *request, const sensor_data_record *sensor, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    const auto sensor_entity = static_cast<uint8_t>(sensor->entity_id);
    switch (event.type) {
    case event_type::threshold:
        return give_number(request, threshold_row(event.sensor_type, sensor_entity), event.offset);
    case event_type::limit:
    case event_type::device_presence: return give_number(request, limit_or_presence, event.offset);
    case event_type::device_enabled: return give_number(request, enabled, event.offset);
    case event_type::sensor_specific: return slot_event(request, event);
    case event_type::oem_70: return group_event(request, event);
    case event_type::oem_7f: return oem_7f_event(request, event, sensor_entity);
    default: return -1;
    }
}
