// What the loaded captures answer to the engine.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/ipmi.h"
#include "base/wire_bytes.h"
#include "fault_engine/sel.h"
#include "platform/ipmi_access/event_text.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "platform/time_text.h"

namespace ipmi_access {
namespace {

constexpr int32_t failed = -1;

// Written while captures are loaded, before the engine starts; only read afterwards.
Capture server;
std::array<uint8_t, 256> ranks;
size_t walk_records = 0;

bool of_one_kind(const Sensor &a, const Sensor &b) {
    const bool thresholds = a.event_type == event_type::threshold;
    return thresholds == (b.event_type == event_type::threshold) && (!thresholds || a.sensor_type == b.sensor_type);
}

uint8_t rank_among(const Sensors &all, const Sensor &sensor) {
    return static_cast<uint8_t>(std::count_if(all.begin(), all.begin() + sensor.number, [&sensor](const auto &other) {
        return other && other->entity_id == sensor.entity_id && other->entity_instance == sensor.entity_instance &&
               of_one_kind(*other, sensor);
    }));
}

std::string sensor_name(uint32_t number) {
    const Sensor *sensor = find_sensor(number);
    return sensor != nullptr ? sensor->name : unnamed_sensor(number);
}

// Copies the text and its NUL, cut to the field; returns the length.
template <size_t size>
uint32_t write_text(char (&field)[size], const std::string &text) {
    const size_t length = text.copy(field, size - 1);
    field[length] = '\0';
    return static_cast<uint32_t>(length);
}

sel_list_entry list_entry(const sel_record &record) {
    return {record, {record.sensor_number, 0, 0, 0}};
}

int32_t sensor_data(int32_t sensor_number, uint32_t *record_type, sensor_data_record *sensor) {
    const Sensor *found = find_sensor(static_cast<uint32_t>(sensor_number));
    if (found == nullptr) {
        return failed;
    }
    *record_type = found->record_type;
    *sensor = {};
    sensor->sensor_number = found->number;
    sensor->entity_id = found->entity_id;
    sensor->entity_instance = found->entity_instance;
    sensor->sensor_type = found->sensor_type;
    sensor->event_type = found->event_type;
    return 0;
}

int32_t sensor_reading(int32_t sensor_number, uint32_t *reading, uint32_t *status, uint32_t *state) {
    const Readings &readings = server.readings;
    const bool is_number = sensor_number >= 0 && sensor_number < 256;
    const auto found = is_number ? readings.find(static_cast<uint8_t>(sensor_number)) : readings.end();
    if (found == readings.end()) {
        return failed;
    }
    *reading = 0;
    *status = 0;
    *state = found->second;
    return 0;
}

int32_t attach(sel_text_rec *text) {
    *text = {};
    return 0;
}

int32_t put_event_text(uint32_t, const sel_entry_fields *fields, sel_text_rec *text) {
    const Event event{static_cast<uint8_t>(fields->sensor_type), static_cast<uint8_t>(fields->event_type),
                      static_cast<uint8_t>(fields->event_data_1 & 0x0F), fields->event_direction != 0};
    text->event_length = write_text(text->event, event_text(sensor_name(fields->sensor_number), event));
    text->timestamp_length = write_text(text->timestamp, std::to_string(fields->timestamp));
    write_time_text(text->date, fields->timestamp);
    return 0;
}

int32_t put_sel_size(uint32_t *first, int32_t, uint16_t *second, uint16_t *total) {
    *first = 0;
    *second = 0;
    *total = static_cast<uint16_t>(walk_records);
    return 0;
}

// Record ids of real logs wrap and repeat, so the ids asked for and given here are positions, from 1.
int32_t decode(sel_decode_area *area, uint32_t, sel_chunk_request *request, uint32_t *decoded) {
    const size_t first = request->first_record_id;
    if (first == 0 || first > walk_records) {
        return failed;
    }
    const size_t asked = std::min<size_t>(request->entries, SEL_CHUNK_ENTRIES);
    const size_t count = std::min(asked, walk_records - (first - 1));
    std::transform(&server.records[first - 1], &server.records[first - 1] + count, area->entries, list_entry);
    const size_t next = first + count;
    area->next_record_id = next > walk_records ? uint16_t{SEL_END_OF_LOG} : static_cast<uint16_t>(next);
    *decoded = static_cast<uint32_t>(count);
    return 0;
}

int32_t put_extended_text(const uint8_t *bytes, int32_t, char *timestamp, uint16_t *timestamp_length, char *event,
                          uint8_t *flag_1, uint8_t *flag_2, uint8_t *, int32_t sensor_number) {
    sel_record record;
    memcpy(&record, bytes, sizeof record);
    const uint32_t seconds = little_endian(record.timestamp);
    const size_t room = *timestamp_length;
    *timestamp_length = static_cast<uint16_t>(snprintf(timestamp, room, "%u", seconds) + 1);
    snprintf(event, sizeof(sel_text_rec::event), "%s",
             event_text(sensor_name(static_cast<uint32_t>(sensor_number)), event_of(record)).c_str());
    *flag_1 = 0;
    *flag_2 = 0;
    return 0;
}

int32_t put_date_text(const char *timestamp, char *date) {
    char text[sizeof(sel_text_rec::date)];
    write_time_text(text, static_cast<uint32_t>(strtoul(timestamp, nullptr, 10)));
    memcpy(date, text, sizeof text);
    return 0;
}

} // namespace

Hooks hooks = {
    .sensor_data = sensor_data,
    .sensor_reading = sensor_reading,
    .attach = attach,
    .event_text = put_event_text,
    .detach = [] { return 0; },
    .sel_size = put_sel_size,
    .decode = decode,
    .extended_text = put_extended_text,
    .date_text = put_date_text,
};

void serve(Capture capture) {
    server = std::move(capture);
    ranks = {};
    for (const auto &sensor : server.sensors) {
        if (sensor) {
            ranks[sensor->number] = rank_among(server.sensors, *sensor);
        }
    }
    limit_walk(server.records.size());
}

const Capture &served() {
    return server;
}

const Sensor *find_sensor(uint32_t number) {
    const bool known = number < server.sensors.size() && server.sensors[number];
    return known ? &*server.sensors[number] : nullptr;
}

void limit_walk(size_t records) {
    walk_records = std::min({records, server.records.size(), max_walk_records});
}

uint32_t sensor_rank(uint32_t sensor_number) {
    return sensor_number < ranks.size() ? ranks[sensor_number] : 0;
}

} // namespace ipmi_access
