// Extended SEL records: 24 bytes, with a 32-bit sensor number.
#include <cstring>

#include "base/ipmi.h"
#include "base/output_area.h"
#include "base/text_field.h"
#include "base/wire_bytes.h"
#include "engine/buffers.h"
#include "fault_engine/classify.h"
#include "fault_engine/sel.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "sel/sel_commit.h"
#include "sel/sensor_name.h"

namespace {

constexpr int32_t last_ordinary_sensor = 255;

void log_record(int32_t sensor_number, const uint8_t *bytes) {
    fe_logger("process_suport_sel_data: %d %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x\n",
              sensor_number, unsigned{bytes[0]}, unsigned{bytes[1]}, unsigned{bytes[2]}, unsigned{bytes[3]},
              unsigned{bytes[4]}, unsigned{bytes[5]}, unsigned{bytes[6]}, unsigned{bytes[7]}, unsigned{bytes[8]},
              unsigned{bytes[9]}, unsigned{bytes[10]}, unsigned{bytes[11]}, unsigned{bytes[12]}, unsigned{bytes[13]},
              unsigned{bytes[14]}, unsigned{bytes[15]}, unsigned{bytes[16]}, unsigned{bytes[17]}, unsigned{bytes[18]},
              unsigned{bytes[19]}, unsigned{bytes[20]}, unsigned{bytes[21]}, unsigned{bytes[22]}, unsigned{bytes[23]});
}

sel_record ordinary_record(const super_sel_rec &extended) {
    sel_record record{};
    copy_bytes(record.record_id, extended.record_id);
    record.record_type = extended.record_type;
    copy_bytes(record.timestamp, extended.timestamp);
    copy_bytes(record.generator_id, extended.generator_id);
    record.format_revision = extended.format_revision;
    record.sensor_type = extended.sensor_type;
    record.sensor_number = extended.sensor_number[0];
    record.event_dir_type = extended.event_dir_type;
    copy_bytes(record.event_data, extended.event_data);
    return record;
}

// The entity for which the severity tables know events of that sensor type.
struct extended_sensor {
    uint8_t sensor_type;
    uint8_t entity_id;
};
constexpr extended_sensor extended_sensors[] = {
    {sensor_type::temperature, entity_id::memory_device},
    {sensor_type::memory, entity_id::memory_module},
    {sensor_type::system_event, entity_id::system_board},
};

// 0 for the types that take the ordinary road.
constexpr uint8_t entity_of_type(uint8_t type) {
    for (const extended_sensor &known : extended_sensors) {
        if (known.sensor_type == type) {
            return known.entity_id;
        }
    }
    return 0;
}

// Nothing describes a sensor above 255, so its record does. Sensor 256 is instance 1 and so on, so that distinct
// sensors stay distinct faults.
sensor_data_record describe_sensor(int32_t sensor_number, uint8_t type) {
    sensor_data_record sensor{};
    sensor.sensor_number = static_cast<uint32_t>(sensor_number);
    sensor.entity_id = entity_of_type(type);
    sensor.entity_instance = static_cast<uint32_t>(sensor_number - last_ordinary_sensor);
    sensor.sensor_type = type;
    return sensor;
}

// What the SEL library's formatting writes. Its texts may lack their NUL.
struct formatted_record {
    alignas(4) char timestamp[32];
    alignas(4) char event[256];
    alignas(4) uint8_t work[68];
    output_area<uint16_t> timestamp_length;
    output_area<uint8_t> flag_1;
    output_area<uint8_t> flag_2;
};

bool format(const sel_record &record, int32_t sensor_number, formatted_record &formatted) {
    alignas(4) sel_record copy = record; // the library may write into it, and the severity is read from the record
    formatted.timestamp_length.value = sizeof formatted.timestamp;
    const int32_t result = HVLGSELEntryToStr(
        reinterpret_cast<const uint8_t *>(&copy), 0, formatted.timestamp, &formatted.timestamp_length.value,
        formatted.event, &formatted.flag_1.value, &formatted.flag_2.value, formatted.work, sensor_number);
    terminate(formatted.timestamp);
    terminate(formatted.event);
    return result == 0;
}

// Asks the library for the date, too, as it expects; the road has no use for it.
void format_date(formatted_record &formatted) {
    alignas(4) char date[32] = {};
    HVLGSELUnixToCTime(formatted.timestamp, date);
}

int32_t commit_extended_request(fe_read_buf *request, const char *event_text) {
    static bool duplicate_pass_done; // guarded by fe_write_buf_mutex

    const auto use = enter_buffer<fe_write_buf_struct>();
    fe_write_buf_struct *wbuf = use.buffer;
    if (wbuf == nullptr) {
        return FE_SEL_NO_WRITE_BUFFER;
    }
    log_event(event_text, *request);
    pthread_mutex_lock(&wbuf->fe_write_buf_mutex);
    commit_request(sel_road::extended, request, wbuf, duplicate_pass_done);
    pthread_mutex_unlock(&wbuf->fe_write_buf_mutex);
    leave_write_buffer(use);
    return FE_SEL_OK;
}

} // namespace

int32_t process_super_sel_data(const uint8_t *sel_bytes) {
    const auto &extended = *reinterpret_cast<const super_sel_rec *>(sel_bytes);
    const sel_record record = ordinary_record(extended);
    const auto sensor_number = static_cast<int32_t>(little_endian(extended.sensor_number));
    log_record(sensor_number, sel_bytes);
    if (record.record_type >= sel_record_type::first_oem) {
        return FE_SEL_WRONG_RECORD;
    }
    fe_logger("iSensorNumber: %d iSensorType: %d\n", sensor_number, int{record.sensor_type});
    const auto *record_bytes = reinterpret_cast<const uint8_t *>(&record);
    if (sensor_number <= last_ordinary_sensor || entity_of_type(record.sensor_type) == 0) {
        return process_sel_data(record_bytes);
    }

    const sensor_data_record sensor = describe_sensor(sensor_number, record.sensor_type);
    fe_read_buf request{};
    fill_request(&request, sensor, static_cast<int32_t>(sensor.entity_instance));
    formatted_record formatted{};
    if (!format(record, sensor_number, formatted)) {
        return FE_SEL_NO_EXTENDED_TEXT;
    }
    format_date(formatted);
    event_words words = cut_words(formatted.event);
    take_sensor_name(words, request.sensor_name);
    if (const int32_t result = fe_get_severity(&request, &sensor, record_bytes); result < 0) {
        return result;
    }
    clear_stale_after_self_test(request.sensor_name, request);
    return commit_extended_request(&request, formatted.event);
}
