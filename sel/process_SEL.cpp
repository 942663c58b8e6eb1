// One SEL record to one fault; the walk of the whole SEL at start-up; the look-up in an entity table.
#undef NDEBUG // the assertion below holds in every build
#include <cassert>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <syslog.h>

#include "base/ipmi.h"
#include "base/output_area.h"
#include "base/text_field.h"
#include "base/wire_bytes.h"
#include "engine/buffers.h"
#include "fault_engine/classify.h"
#include "fault_engine/fault_table.h"
#include "fault_engine/sel.h"
#include "fault_table/table.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "sel/sel_commit.h"
#include "sel/sensor_name.h"

namespace {

void log_record(const uint8_t *bytes) {
    fe_logger("decode_sel_entry: %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x \n", unsigned{bytes[0]},
              unsigned{bytes[1]}, unsigned{bytes[2]}, unsigned{bytes[3]}, unsigned{bytes[4]}, unsigned{bytes[5]},
              unsigned{bytes[6]}, unsigned{bytes[7]}, unsigned{bytes[8]}, unsigned{bytes[9]}, unsigned{bytes[10]},
              unsigned{bytes[11]}, unsigned{bytes[12]}, unsigned{bytes[13]}, unsigned{bytes[14]}, unsigned{bytes[15]});
}

sel_entry_fields take_apart(const sel_record &record) {
    return {
        .record_id = little_endian(record.record_id),
        .record_type = record.record_type,
        .timestamp = little_endian(record.timestamp),
        .generator_id = little_endian(record.generator_id),
        .format_revision = record.format_revision,
        .sensor_type = record.sensor_type,
        .sensor_number = record.sensor_number,
        .event_direction = uint32_t{record.event_dir_type} >> 7,
        .event_type = record.event_dir_type & 0x7FU,
        .event_data_1 = record.event_data[0],
        .event_data_2 = record.event_data[1],
        .event_data_3 = record.event_data[2],
    };
}

// Has the SEL library say the record in words. Returns 0, FE_SEL_NO_TEXT, or what a failing detach returned.
int32_t read_text(const uint8_t *sel_bytes, const sel_record &record, sel_text_rec &text) {
    if (IPMI_SELHVDBSELAttach(&text) != 0) {
        return FE_SEL_NO_TEXT;
    }
    log_record(sel_bytes);
    const sel_entry_fields fields = take_apart(record);
    if (IPMI_SELGetHVDBSELData(record.record_type, &fields, &text) != 0) {
        return FE_SEL_NO_TEXT;
    }
    const int32_t result = IPMI_SELHVDBSELDetach();
    terminate(text.event); // after the detach: until then the library may write into it
    return result;
}

// Instances count from 1: those of an entity that the sensor data records count from 0 are one higher here.
int32_t floored_instance(const sensor_data_record &sensor) {
    const bool from_zero = sensor.entity_id <= 255 && fe_sdr_instance_array[sensor.entity_id] != 1;
    return static_cast<int32_t>(sensor.entity_instance + (from_zero ? 1 : 0));
}

int32_t convert_sel_to_fe_read_buf(const uint8_t *sel_bytes, const sensor_data_record &sensor, fe_read_buf *request) {
    fill_request(request, sensor, floored_instance(sensor));
    fe_logger("\nEntered convert_sel_to_fe_read_buf\n");
    const int32_t result = fe_get_severity(request, &sensor, sel_bytes);
    if (result < 0) {
        fe_logger("\nconvert_sel_to_fe_read_buf returned err: %d\n", result);
    }
    return result;
}

// For memory modules and boards the fault number decides on the instance, for all others the sensor data record.
bool keeps_classified_instance(const sensor_data_record &sensor) {
    return sensor.entity_id == entity_id::memory_module || sensor.entity_id == entity_id::memory_board;
}

int32_t commit_sel_request(fe_read_buf *request, const sensor_data_record &sensor, const sel_text_rec &text) {
    static bool duplicate_pass_done; // guarded by fe_write_buf_mutex

    const auto use = enter_buffer<fe_write_buf_struct>();
    fe_write_buf_struct *wbuf = use.buffer;
    if (wbuf == nullptr) {
        return FE_SEL_NO_WRITE_BUFFER;
    }
    pthread_mutex_lock(&wbuf->fe_write_buf_mutex);
    if (!keeps_classified_instance(sensor)) {
        request->entity_instance = floored_instance(sensor);
    }
    log_event(text.event, *request);
    commit_request(sel_road::ordinary, request, wbuf, duplicate_pass_done);
    pthread_mutex_unlock(&wbuf->fe_write_buf_mutex);
    leave_write_buffer(use);
    return FE_SEL_OK;
}

} // namespace

int32_t process_sel_data(const uint8_t *sel_bytes) {
    if (sel_bytes == nullptr) {
        return FE_SEL_NO_RECORD;
    }
    const auto &record = *reinterpret_cast<const sel_record *>(sel_bytes);
    if (record.record_type >= sel_record_type::first_oem) {
        return FE_SEL_WRONG_RECORD;
    }
    if (is_fault_sensor(record.sensor_number) == 0 || record.sensor_type == sensor_type::event_logging_disabled) {
        return FE_SEL_OK;
    }
    sel_text_rec text{};
    if (const int32_t result = read_text(sel_bytes, record, text); result != FE_SEL_OK) {
        return result;
    }

    fe_read_buf request{};
    output_area<uint32_t> type{};
    sensor_data_record sensor{};
    if (IPMI_SensorGetSensorData(record.sensor_number, &type.value, &sensor) != 0) {
        return FE_SEL_NO_SENSOR;
    }
    if (sensor.sensor_type != record.sensor_type) {
        return FE_SEL_WRONG_RECORD;
    }
    event_words words = cut_words(text.event);
    take_sensor_name(words, request.sensor_name);
    if (const int32_t result = convert_sel_to_fe_read_buf(sel_bytes, sensor, &request); result < 0) {
        return result;
    }
    clear_stale_after_self_test(words.first.text, request); // its colon is off, unless the second word is the name
    return commit_sel_request(&request, sensor, text);
}

namespace {

// What chunk number `chunk`, from 0, of a SEL of `total` entries has to ask for.
uint16_t chunk_length(uint32_t chunk, uint16_t total) {
    return static_cast<uint16_t>(std::min<uint32_t>(total - chunk * SEL_CHUNK_ENTRIES, SEL_CHUNK_ENTRIES));
}

// Decodes the whole SEL of `total` entries into `list`, chunk by chunk, packed. Returns false when a chunk fails.
bool decode_all(sel_decode_area &area, sel_list_entry *list, uint16_t total) {
    uint16_t next_record_id = 1;
    uint32_t decoded = 0;
    bool ok = true;
    for (uint32_t chunk = 0; ok && chunk * SEL_CHUNK_ENTRIES < total && next_record_id != SEL_END_OF_LOG; ++chunk) {
        output_area<sel_chunk_request> request{}; // afresh for each chunk: the decoder may use it for itself
        request.value = {.first_record_id = next_record_id, .entries = chunk_length(chunk, total)};
        area.request = SEL_DECODE_AREA_REQUEST;
        ok = DecodeSel(&area, SEL_DECODE_AREA_SIZE, &request.value, &area.decoded_last) == 0;
        const uint32_t count = ok ? std::min({area.decoded_last, uint32_t{SEL_CHUNK_ENTRIES}, total - decoded}) : 0;
        memcpy(list + decoded, area.entries, count * sizeof *list);
        decoded += count;
        next_record_id = area.next_record_id;
    }
    area.decoded_total = decoded;
    return ok;
}

int32_t process_all(const sel_list_entry *list, uint32_t count) {
    int32_t result = 0;
    for (uint32_t i = 0; i < count; ++i) {
        result = process_sel_data(reinterpret_cast<const uint8_t *>(&list[i].record));
        fe_logger("populate_all_sel_events:Sensor num: %d\n", static_cast<int>(little_endian(list[i].sensor_number)));
    }
    return result;
}

} // namespace

int32_t populate_all_sel_events(void) {
    sel_decode_area area{};
    output_area<uint16_t> unused{};
    output_area<uint16_t> reported{};
    if (SELTotalSEL(&area.total_first, 0, &unused.value, &reported.value) != 0) {
        return FE_SEL_NO_SIZE;
    }
    const uint16_t total = reported.value;
    if (total == 0) {
        return FE_SEL_OK;
    }
    auto *list = static_cast<sel_list_entry *>(malloc(total * sizeof(sel_list_entry)));
    if (list == nullptr) {
        return FE_SEL_OK;
    }
    const int32_t result = decode_all(area, list, total) ? process_all(list, area.decoded_total) : FE_SEL_NO_CHUNK;
    free(list);
    return result;
}

int32_t init_event_thread(void) {
    const int32_t result = populate_all_sel_events();
    cleanup_deasserted_events();
    FEthreadSleep(5, 0);
    cleanup_deasserted_events();
    cleanup_duplicate_events();
    fe_set_flag(&sel_init_complete, 1);
    syslog(LOG_DEBUG, "SEL INIT DONE\n");
    lock_table();
    write_to_fe_file(fe_table_head_ptr);
    unlock_table();
    return result;
}

uint32_t translate_user_entity_instance(const uint32_t (*entity_tbl)[33], uint32_t row, uint32_t instance) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast" // the text of the assertion is what people search for
    assert(((void *)0) != entity_tbl);
#pragma GCC diagnostic pop
    if (row < 1 || row > 15) {
        return 0;
    }
    const uint32_t *pairs = entity_tbl[row] + 1;
    for (const uint32_t *pair = pairs; pair < pairs + 32 && pair[0] != 0; pair += 2) {
        if (pair[1] == instance) {
            return pair[0];
        }
    }
    return 0;
}
