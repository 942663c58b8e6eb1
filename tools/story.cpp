#include "tools/story.h"

#include <cstring>
#include <numeric>

#include "base/ipmi.h"
#include "base/wire_bytes.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "platform/ipmi_access/utf8.h"

namespace story {
namespace {

template <size_t size>
std::string field_text(const char (&field)[size]) {
    return ipmi_access::utf8_text({field, strnlen(field, size)});
}

std::optional<uint32_t> known_time(int32_t time) {
    return time == 0 || time == -1 ? std::nullopt : std::optional(static_cast<uint32_t>(time));
}

// The engine raises instances by one where an entity's count from 0, and takes some from the event.
int32_t own_instance(const fe_write_buf &record, const ipmi_access::Sensor *sensor) {
    if (sensor == nullptr || sensor->entity_id != record.entity_id) {
        return record.entity_instance;
    }
    const int32_t raised = fe_sdr_instance_array[sensor->entity_id] == 1 ? 0 : 1;
    return record.entity_instance == sensor->entity_instance + raised ? sensor->entity_instance
                                                                      : record.entity_instance;
}

} // namespace

Record read_record(const sel_record &bytes) {
    const uint32_t time = little_endian(bytes.timestamp);
    const bool has_time = bytes.record_type < sel_record_type::first_oem_without_time && time != UINT32_MAX;
    return {.id = static_cast<uint16_t>(little_endian(bytes.record_id)),
            .type = bytes.record_type,
            .time = has_time ? std::optional(time) : std::nullopt,
            .generator_id = static_cast<uint16_t>(little_endian(bytes.generator_id)),
            .sensor_number = bytes.sensor_number,
            .event = ipmi_access::event_of(bytes),
            .data = {bytes.event_data[0], bytes.event_data[1], bytes.event_data[2]}};
}

bool has_sensor(const Record &record) {
    return record.type < sel_record_type::first_oem;
}

Fault read_fault(const fe_write_buf &record) {
    const std::string name = field_text(record.sensor_name);
    const ipmi_access::Sensor *sensor = ipmi_access::find_sensor(record.sens_num);
    if (sensor != nullptr && sensor->name.substr(0, sizeof record.sensor_name - 1) != name) {
        sensor = nullptr; // a request's own
    }
    return {.sensor = sensor != nullptr ? sensor->label : name,
            .sensor_number = record.sens_num,
            .sensor_type = record.entity_type,
            .event_type = record.opaque_44[0],
            .entity_id = record.entity_id,
            .entity_instance = own_instance(record, sensor),
            .table_instance = record.entity_instance,
            .severity = record.vemoFaultSeverity,
            .fault_number = record.fe_fault_num,
            .table_code = record.vemoFaultCode,
            .cause = record.ProbableCause,
            .own_name = field_text(record.FaultName),
            .event = {},
            .raised_by = {},
            .count = record.vemoFaultOccur,
            .first_time = {},
            .last_time = known_time(record.Fault_time)};
}

// Offsets of sensor-specific types, and of an OEM's, are independent of each other.
bool cleared_by_another_event(const Change &change) {
    if (change.kind != ChangeKind::cleared || !change.record || change.before == nullptr) {
        return false;
    }
    const auto &raised = change.before->raised_by;
    const auto &cleared = change.after->event;
    return raised && cleared && raised->event_type >= event_type::sensor_specific && raised->offset != cleared->offset;
}

size_t Totals::refused_in_all() const {
    return std::accumulate(refused.begin(), refused.end(), size_t{0});
}

} // namespace story
