#include "platform/entity_filter/entity_filter.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include "fault_engine/fault_request.h"
#include "platform/entity_filter/entity_filter_host.h"
#include "platform/entity_filter/fault_codes.h"
#include "platform/time_text.h"

namespace entity_filter {
namespace {

uint32_t wall_clock() {
    return static_cast<uint32_t>(time(nullptr));
}
uint32_t only_sensor(uint32_t) {
    return 0;
}

// Both have the request's fields at the same offsets; eventType is the first byte of the record's opaque_44.
static_assert(offsetof(fe_read_buf, sens_num) == offsetof(fe_write_buf, sens_num));

void fill_identity(fe_write_buf &record, const fe_read_buf &request) {
    memcpy(&record, &request, sizeof request);
    record.sensor_name[sizeof record.sensor_name - 1] = '\0';
}

void fill_code(fe_write_buf &record, const FaultChoice &choice) {
    const int32_t shift = codes_per_rank * static_cast<int32_t>(std::min(hooks.sensor_rank(record.sens_num), 255U));
    record.vemoFaultCode = choice.code + shift;
    record.ProbableCause = choice.probable_cause;
    if (choice.related[0] == 0) {
        return;
    }
    record.related_FaultCode.related_fc[0] = record.vemoFaultCode;
    std::ranges::transform(choice.related, &record.related_FaultCode.related_fc[1],
                           [shift](int32_t code) { return code == 0 ? 0 : code + shift; });
}

void fill_time(fe_write_buf &record) {
    const uint32_t now = hooks.clock();
    record.Fault_time = static_cast<int32_t>(now);
    write_time_text(record.TimeOfEvent, now);
}

void fill_names(fe_write_buf &record, const char *detail) {
    char type[32];
    const char *known_type = sensor_type_name(record.entity_type);
    if (known_type != nullptr) {
        snprintf(type, sizeof type, "%s", known_type);
    } else {
        snprintf(type, sizeof type, "Sensor type 0x%02x", record.entity_type);
    }
    snprintf(record.FaultName, sizeof record.FaultName, "%s %s", type, detail);

    char entity[24];
    const char *known_entity = entity_name(record.entity_id);
    if (known_entity != nullptr) {
        snprintf(entity, sizeof entity, "%s", known_entity);
    } else {
        snprintf(entity, sizeof entity, "entity-%u", record.entity_id);
    }
    snprintf(record.entity_RN, sizeof record.entity_RN, "%s-%d", entity, record.entity_instance);
    snprintf(record.fault_RN, sizeof record.fault_RN, "fault-%d", record.vemoFaultCode);
    snprintf(record.entity_DN, sizeof record.entity_DN, "sys/%s", record.entity_RN);
    snprintf(record.fault_DN, sizeof record.fault_DN, "sys/%s/%s", record.entity_RN, record.fault_RN);
    snprintf(record.FaultDescription, sizeof record.FaultDescription, "%s %d: %s, %s", entity, record.entity_instance,
             record.sensor_name, record.FaultName);
}

int32_t fill(EntityClass entity, const char *, fe_read_buf *request, fe_write_buf_struct *wbuf) {
    fe_write_buf &record = *wbuf->fe_write_buf;
    const FaultChoice choice = choose_fault(entity, *request);
    fill_identity(record, *request);
    fill_code(record, choice);
    fill_time(record);
    fill_names(record, choice.detail);
    return 0;
}

} // namespace

Hooks hooks = {.fill = fill, .clock = wall_clock, .sensor_rank = only_sensor};

} // namespace entity_filter

#define HANDLER(name, entity)                                                                       \
    int32_t name(fe_read_buf *request, fe_write_buf_struct *wbuf) {                                 \
        return entity_filter::hooks.fill(entity_filter::EntityClass::entity, #name, request, wbuf); \
    }
HANDLER(process_cpu_fault, processor)
HANDLER(process_drive_bp_fault, drive)
HANDLER(process_sys_board_fault, board)
HANDLER(process_mem_fault, memory)
HANDLER(process_ps_fault, power)
HANDLER(process_add_in_fault, add_in)
HANDLER(process_front_panel_fault, front_panel)
HANDLER(process_chassis_fault, chassis)
HANDLER(process_fan_fault, fan)
HANDLER(process_fw_bios_post_fault, firmware)
HANDLER(process_nm_fault, node_manager)
HANDLER(process_pci_fault, pci)
HANDLER(process_storage_fault, storage)
HANDLER(process_plax_fault, storage_plx)
HANDLER(process_cmc_fault, chassis_controller)
