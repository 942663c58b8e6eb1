// Fault numbers: the choice of a family by entity, and the small families.
#include "classify/fault_number.h"

#include "classify/event.h"
#include "fault_engine/classify.h"

using namespace fault_number;

namespace {

constexpr number_row logical_threshold = pairs({114, 115, 116, 117, 118, 119});
constexpr int32_t logical_discrete = 120;

constexpr number_row fan_threshold = pairs({3, 4, 5, 6, 7, 8});
constexpr number_row fan_predictive_failure = offsets_0_and_1(10);
constexpr number_row fan_presence = offsets_0_and_1(2);

constexpr number_row add_in_threshold = pairs({108, 109, 110, 108, 109, 110});
constexpr number_row add_in_limit = offsets_0_and_1(111);
constexpr number_row add_in_presence = offsets_0_and_1(63);

constexpr number_row pci_temperature = pairs({refused, refused, 110, 108, 109, 110});
constexpr number_row pci_threshold = pairs({refused, refused, none, none, none, none});
constexpr number_row pci_presence = offsets_0_and_1(63);
constexpr number_row pci_slots = from_zero({refused, 63, 63, 63, 63, 63, 63, 63});

constexpr number_row front_panel_threshold = pairs({refused, refused, refused, 105, 106, 107});
constexpr number_row chassis_digital = offsets_0_and_1(104);
constexpr number_row firmware_presence = offsets_0_and_1(103);

} // namespace

int32_t get_fault_num(fe_read_buf *request, const sensor_data_record *sensor, const uint8_t *sel_bytes) {
    switch (request->entity_id) {
    case entity_id::processor:
    case entity_id::disk:
    case entity_id::system_board:
    case entity_id::drive_backplane:
    case entity_id::expansion_board:
    case entity_id::plax_3:
    case entity_id::cmc: return get_fault_num_logicalentity(request, sensor, sel_bytes);
    case entity_id::memory_module:
    case entity_id::memory_board:
    case entity_id::memory_device: return get_fault_num_mem(request, sensor, sel_bytes);
    case entity_id::power_supply:
    case entity_id::power_system_board:
    case entity_id::power_module:
    case entity_id::power_management: return get_fault_num_ps(request, sensor, sel_bytes);
    case entity_id::add_in_card: return get_fault_num_add_in(request, sensor, sel_bytes);
    case entity_id::front_panel_board: return get_fault_num_front_panel(request, sensor, sel_bytes);
    case entity_id::system_chassis: return get_fault_num_chassis(request, sensor, sel_bytes);
    case entity_id::fan: return get_fault_num_fan(request, sensor, sel_bytes);
    case entity_id::system_firmware: return get_fault_num_fw_bios(request, sensor, sel_bytes);
    case entity_id::pci_express_bus: return get_fault_num_pci(request, sensor, sel_bytes);
    case entity_id::controller_firmware: // known, but without a number
    case entity_id::storage_0:
    case entity_id::storage_1:
    case entity_id::storage_2:
    case entity_id::storage_3:
    case entity_id::plax_0:
    case entity_id::plax_1:
    case entity_id::plax_2: return 0;
    default: return -1;
    }
}

int32_t get_fault_num_logicalentity(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    if (event.type == event_type::threshold) {
        return give_number(request, logical_threshold, event.offset);
    }
    request->fe_fault_num = logical_discrete;
    return 0;
}

int32_t get_fault_num_fan(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    switch (event.type) {
    case event_type::threshold: return give_number(request, fan_threshold, event.offset);
    case event_type::predictive_failure: return give_number(request, fan_predictive_failure, event.offset);
    case event_type::device_presence: return give_number(request, fan_presence, event.offset);
    default: return -1;
    }
}

int32_t get_fault_num_add_in(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    switch (event.type) {
    case event_type::threshold: return give_number(request, add_in_threshold, event.offset);
    case event_type::limit: return give_number(request, add_in_limit, event.offset);
    case event_type::device_presence: return give_number(request, add_in_presence, event.offset);
    default: return -1;
    }
}

int32_t get_fault_num_pci(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    switch (event.type) {
    case event_type::threshold:
        return give_number(request, event.sensor_type == sensor_type::temperature ? pci_temperature : pci_threshold,
                           event.offset);
    case event_type::device_presence:
        if (give_number(request, pci_presence, event.offset) != 0) {
            return -1;
        }
        request->entity_instance = 0;
        return 0;
    case event_type::oem_70: // the offset is the slot
        if (give_number(request, pci_slots, event.offset) != 0) {
            return -1;
        }
        request->entity_instance = event.offset;
        return 0;
    default: return -1;
    }
}

int32_t get_fault_num_front_panel(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    return event.type == event_type::threshold ? give_number(request, front_panel_threshold, event.offset) : -1;
}

int32_t get_fault_num_chassis(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    return event.type == event_type::digital ? give_number(request, chassis_digital, event.offset) : -1;
}

int32_t get_fault_num_fw_bios(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    return event.type == event_type::device_presence ? give_number(request, firmware_presence, event.offset) : -1;
}
