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

uint32_t (*clock_now)() = wall_clock;
uint32_t (*rank_of_sensor)(uint32_t sensor_number) = only_sensor;

// Both have the request's fields at the same offsets; eventType is the first byte of the record's opaque_44.
static_assert(offsetof(fe_read_buf, sens_num) == offsetof(fe_write_buf, sens_num));

void fill_identity(fe_write_buf &record, const fe_read_buf &request) {
    memcpy(&record, &request, sizeof request);
    record.sensor_name[sizeof record.sensor_name - 1] = '\0';
}

void fill_code(fe_write_buf &record, const FaultChoice &choice) {
    const int32_t shift = codes_per_rank * static_cast<int32_t>(std::min(rank_of_sensor(record.sens_num), 255U));
    record.vemoFaultCode = choice.code + shift;
    record.ProbableCause = choice.probable_cause;
    if (choice.related[0] == 0)
        return;
    record.related_FaultCode.related_fc[0] = record.vemoFaultCode;
    std::ranges::transform(choice.related, &record.related_FaultCode.related_fc[1],
                           [shift](int32_t code) { return code == 0 ? 0 : code + shift; });
}

void fill_time(fe_write_buf &record) {
    const uint32_t now = clock_now();
    record.Fault_time = static_cast<int32_t>(now);
    write_time_text(record.TimeOfEvent, now);
}

void fill_names(fe_write_buf &record, const char *detail) {
    char type[32];
    const char *known_type = sensor_type_name(record.entity_type);
    if (known_type != nullptr)
        snprintf(type, sizeof type, "%s", known_type);
    else
        snprintf(type, sizeof type, "Sensor type 0x%02x", record.entity_type);
    snprintf(record.FaultName, sizeof record.FaultName, "%s %s", type, detail);

    char entity[24];
    const char *known_entity = entity_name(record.entity_id);
    if (known_entity != nullptr)
        snprintf(entity, sizeof entity, "%s", known_entity);
    else
        snprintf(entity, sizeof entity, "entity-%u", record.entity_id);
    snprintf(record.entity_RN, sizeof record.entity_RN, "%s-%d", entity, record.entity_instance);
    snprintf(record.fault_RN, sizeof record.fault_RN, "fault-%d", record.vemoFaultCode);
    snprintf(record.entity_DN, sizeof record.entity_DN, "sys/%s", record.entity_RN);
    snprintf(record.fault_DN, sizeof record.fault_DN, "sys/%s/%s", record.entity_RN, record.fault_RN);
    snprintf(record.FaultDescription, sizeof record.FaultDescription, "%s %d: %s, %s", entity, record.entity_instance,
             record.sensor_name, record.FaultName);
}

int32_t fill(EntityClass entity, const fe_read_buf *request, fe_write_buf_struct *wbuf) {
    fe_write_buf &record = *wbuf->fe_write_buf;
    const FaultChoice choice = choose_fault(entity, *request);
    fill_identity(record, *request);
    fill_code(record, choice);
    fill_time(record);
    fill_names(record, choice.detail);
    return 0;
}

} // namespace

void set_clock(uint32_t (*now)()) {
    clock_now = now != nullptr ? now : wall_clock;
}

void set_sensor_rank(uint32_t (*rank)(uint32_t sensor_number)) {
    rank_of_sensor = rank != nullptr ? rank : only_sensor;
}

} // namespace entity_filter

using entity_filter::EntityClass;
using entity_filter::fill;

int32_t process_cpu_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::processor, request, wbuf);
}
int32_t process_drive_bp_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::drive, request, wbuf);
}
int32_t process_sys_board_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::board, request, wbuf);
}
int32_t process_mem_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::memory, request, wbuf);
}
int32_t process_ps_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::power, request, wbuf);
}
int32_t process_add_in_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::add_in, request, wbuf);
}
int32_t process_front_panel_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::front_panel, request, wbuf);
}
int32_t process_chassis_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::chassis, request, wbuf);
}
int32_t process_fan_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::fan, request, wbuf);
}
int32_t process_fw_bios_post_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::firmware, request, wbuf);
}
int32_t process_nm_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::node_manager, request, wbuf);
}
int32_t process_pci_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::pci, request, wbuf);
}
int32_t process_storage_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::storage, request, wbuf);
}
int32_t process_plax_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::storage_plx, request, wbuf);
}
int32_t process_cmc_fault(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    return fill(EntityClass::chassis_controller, request, wbuf);
}
