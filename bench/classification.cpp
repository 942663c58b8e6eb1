// Severity and fault number of one event, over all that the tables know, against the two log lines and one look into a
// table.
#include <array>
#include <random>

#include "bench/compare.h"
#include "fault_engine/classify.h"
#include "platform/fe_core/fe_core.h"

namespace {

struct Event {
    sensor_data_record sensor{};
    sel_record record{};
};

constexpr uint8_t entities[] = {3, 4, 7, 8, 10, 11, 12, 23, 25, 29, 32, 34, 49, 208};
constexpr uint8_t sensor_types[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x08, 0x0C, 0x0D, 0x12, 0x21, 0x25};
constexpr uint8_t event_types[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,
                                   0x09, 0x0A, 0x0B, 0x0C, 0x6F, 0x70, 0x7F};
constexpr size_t events_a_call = 1024;

const uint8_t *bytes_of(const sel_record &record) {
    return reinterpret_cast<const uint8_t *>(&record);
}

// Kept if the event becomes a fault.
void add_if_known(std::vector<Event> &events, uint8_t entity, uint8_t sensor_type, uint8_t dir_type, uint8_t offset) {
    Event event;
    event.sensor.entity_id = entity;
    event.sensor.sensor_type = sensor_type;
    event.record.sensor_type = sensor_type;
    event.record.event_dir_type = dir_type;
    event.record.event_data[0] = offset;
    fe_read_buf request{};
    request.entity_id = entity;
    request.entity_instance = 1;
    if (fe_get_severity(&request, &event.sensor, bytes_of(event.record)) == 0) {
        events.push_back(event);
    }
}

std::vector<Event> known_events() {
    std::vector<Event> events;
    for (const uint8_t entity : entities) {
        for (const uint8_t sensor_type : sensor_types) {
            for (const uint8_t event_type : event_types) {
                for (unsigned i = 0; i < 32; ++i) {
                    const auto dir_type = static_cast<uint8_t>(event_type | (i & 1) << 7);
                    add_if_known(events, entity, sensor_type, dir_type, static_cast<uint8_t>(i >> 1));
                }
            }
        }
    }
    std::shuffle(events.begin(), events.end(), std::minstd_rand(4));
    events.resize(events_a_call);
    return events;
}

void classify(benchmark::State &state) {
    const std::vector<Event> events = known_events();
    std::array<int32_t, 4096> answers{}; // by event type, direction and offset
    fe_read_buf request{};
    request.entity_instance = 1;
    const auto classify_all = [&] {
        for (const Event &event : events) {
            request.entity_id = static_cast<uint8_t>(event.sensor.entity_id);
            benchmark::DoNotOptimize(fe_get_severity(&request, &event.sensor, bytes_of(event.record)));
        }
    };
    const auto look_up_all = [&] {
        for (const Event &event : events) {
            const unsigned type = event.record.event_dir_type & 0x7FU;
            const unsigned direction = event.record.event_dir_type >> 7;
            const unsigned offset = event.record.event_data[0] & 0x0FU;
            fe_logger("entity_id = %x eventType = %x, eventDir = %d, offset1 = %x sens_num=%d sens_type= %x\n",
                      event.sensor.entity_id, type, static_cast<int>(direction), offset,
                      static_cast<int>(request.sens_num), unsigned{event.record.sensor_type});
            request.vemoFaultSeverity = answers[type << 5 | direction << 4 | offset];
            fe_logger("Out of fe_get_severity switch case severity = %d fault_code = %u err: %d\n",
                      request.vemoFaultSeverity, static_cast<unsigned>(request.fe_fault_num), 0);
        }
    };
    compare(state, events_a_call, classify_all, look_up_all);
}

} // namespace

void add_classification() {
    add_comparison("severity and fault number of one event", 2001, classify);
}
