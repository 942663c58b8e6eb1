#include "bench/neighbours.h"

#include <algorithm>
#include <cstring>

#include "platform/entity_filter/entity_filter_host.h"
#include "platform/fe_core/fe_core_host.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "sel/sel_decode_area.h"

namespace {

std::array<neighbours::Sensor, 256> all_sensors;
std::span<const sel_record> sel;

// The first 52 bytes of a record are those of its request.
int32_t fill_from_sensor(fe_read_buf *request, fe_write_buf *record) {
    *record = all_sensors[request->sens_num & 0xFF].fault;
    memcpy(static_cast<void *>(record), request, sizeof *request);
    return 0;
}

neighbours::Behaviour current = {
    .filter = fill_from_sensor,
    .broadcast = [](const fe_write_buf &) {},
    .run_interface = [](fe_read_buf_struct *) {},
    .run_broadcaster = [] {},
};

template <size_t N>
void set_text(char (&field)[N], const std::string &text) {
    text.copy(field, N - 1);
}

} // namespace

namespace neighbours {

std::array<Sensor, 256> &sensors() {
    return all_sensors;
}

Behaviour &behaviour() {
    return current;
}

void serve_sel(std::span<const sel_record> records) {
    sel = records;
}

void describe(uint8_t number, uint8_t entity, uint8_t instance, uint8_t sensor_type, uint8_t event_type,
              int32_t fault_code, const std::string &event_text) {
    Sensor &sensor = all_sensors[number];
    sensor = {};
    sensor.described = true;
    sensor.data.sensor_number = number;
    sensor.data.entity_id = entity;
    sensor.data.entity_instance = instance;
    sensor.data.sensor_type = sensor_type;
    sensor.data.event_type = event_type;
    sensor.state = 0x3F;
    set_text(sensor.event_text, event_text);

    const std::string part = "part-" + std::to_string(entity) + "-" + std::to_string(instance);
    fe_write_buf &fault = sensor.fault;
    set_text(fault.entity_DN, "sys/rack-unit-1/board/" + part);
    set_text(fault.fault_DN, "sys/rack-unit-1/board/" + part + "/fault-" + std::to_string(fault_code));
    set_text(fault.entity_RN, part);
    set_text(fault.fault_RN, "fault-" + std::to_string(fault_code));
    set_text(fault.FaultDescription, part + " reports a fault that somebody at the rack should look at");
    set_text(fault.TimeOfEvent, "Sat Nov 22 21:42:00 2025");
    fault.Fault_time = 1763847720;
    fault.ProbableCause = 215;
    fault.vemoFaultCode = fault_code;
    set_text(fault.FaultName, "fltBenchPartProblem");
}

} // namespace neighbours

namespace {

int32_t sensor_data(int32_t sensor_number, uint32_t *record_type_word, sensor_data_record *sensor) {
    const neighbours::Sensor &found = all_sensors[static_cast<uint8_t>(sensor_number)];
    if (!found.described) {
        return -1;
    }
    *record_type_word = 1;
    *sensor = found.data;
    return 0;
}

int32_t sensor_reading(int32_t sensor_number, uint32_t *reading, uint32_t *status, uint32_t *state) {
    const neighbours::Sensor &found = all_sensors[static_cast<uint8_t>(sensor_number)];
    *reading = 0;
    *status = 0;
    *state = found.state;
    return found.described ? 0 : -1;
}

int32_t event_text(uint32_t, const sel_entry_fields *fields, sel_text_rec *text) {
    const neighbours::Sensor &sensor = all_sensors[fields->sensor_number & 0xFF];
    static_assert(sizeof sensor.event_text <= sizeof text->event);
    memcpy(text->event, sensor.event_text, sizeof sensor.event_text);
    return 0;
}

int32_t sel_size(uint32_t *first, int32_t, uint16_t *second, uint16_t *total) {
    *first = 0;
    *second = 0;
    *total = static_cast<uint16_t>(sel.size());
    return 0;
}

// A record's id is its place in the SEL, from 1.
int32_t decode(void *decode_area, uint32_t, const void *chunk_request, uint32_t *decoded) {
    auto &area = *static_cast<sel_decode_area *>(decode_area);
    const auto &request = *static_cast<const sel_chunk_request *>(chunk_request);
    const size_t first = request.first_record_id - size_t{1};
    const size_t count = std::min<size_t>(request.entries, sel.size() - first);
    for (size_t i = 0; i < count; ++i) {
        area.entries[i] = {.record = sel[first + i], .sensor_number = {sel[first + i].sensor_number, 0, 0, 0}};
    }
    *decoded = static_cast<uint32_t>(count);
    const size_t next = first + count;
    area.next_record_id = next < sel.size() ? static_cast<uint16_t>(next + 1) : sel_end_of_log;
    return 0;
}

// No extended records here.
const bool installed = [] {
    fe_core::hooks.interface = [](fe_read_buf_struct *read_buffer) { current.run_interface(read_buffer); };
    fe_core::hooks.broadcaster = [] { current.run_broadcaster(); };
    fe_core::hooks.broadcast = [](fe_write_buf_struct *block) { current.broadcast(*block->fe_write_buf); };
    entity_filter::hooks.fill = [](auto, auto, fe_read_buf *request, fe_write_buf_struct *block) {
        return current.filter(request, block->fe_write_buf);
    };
    ipmi_access::hooks = {.sensor_data = sensor_data,
                          .sensor_reading = sensor_reading,
                          .attach = [](sel_text_rec *) { return 0; },
                          .event_text = event_text,
                          .detach = [] { return 0; },
                          .sel_size = sel_size,
                          .decode = decode,
                          .extended_text = [](auto...) { return -1; },
                          .date_text = [](auto...) { return -1; }};
    return true;
}();

} // namespace
