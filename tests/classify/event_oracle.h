// What an event should come to, worked out from text tables that share no code with the library.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "fault_engine/classify.h"

struct Event {
    int type, direction, offset, sensor_type;
    uint8_t entity_id;    // of the request
    uint32_t entity_word; // of the sensor data record
    int32_t instance;
    uint8_t data3;
};

using Classify = int32_t (*)(fe_read_buf *, const sensor_data_record *, const uint8_t *);

struct Family {
    const char *name;
    Classify function;
    std::vector<uint8_t> entities;
};
extern const std::vector<Family> families;

// The three arguments of an event. What the event does not say is junk, so that a read of the wrong field or a stray
// write shows; the SEL record lies at an odd address.
struct Arguments {
    explicit Arguments(const Event &event);
    int32_t call(Classify function) { return function(&request, &sensor, sel + 1); }
    fe_read_buf request;
    sensor_data_record sensor;
    alignas(4) uint8_t sel[17];
};

// Each calls the function; true if the result and all 52 bytes of the request are as expected, else a test failure.
bool family_agrees(size_t family, const Event &event);
bool fault_num_agrees(const Event &event);
bool severity_agrees(const Event &event);

// Every sensor type that a table names, every event type that one names, and one more of each that none does.
inline constexpr int sensor_types[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x08, 0x0C, 0x0D, 0x12, 0x21, 0x25, 0xC0};
inline const std::vector<int> named_types = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0x6F, 0x70, 0x7F};
inline constexpr int32_t instances[] = {0, 7, 8, 40, 43, 5, -1, -8};
std::vector<int> all_types();

// Runs `check` over the event types with both directions, all offsets and all sensor types until it fails. Entity,
// instance and event data 3 go round independently of these.
template <class Check>
void for_events(const std::vector<int> &types, Check check) {
    unsigned turn = 0;
    for (int type : types)
        for (int direction = 0; direction < 2; direction++, turn++)
            for (int offset = 0; offset < 16; offset++)
                for (int sensor_type : sensor_types) {
                    turn++;
                    if (!check(Event{type, direction, offset, sensor_type, static_cast<uint8_t>(turn), turn % 256,
                                     instances[turn % 8], static_cast<uint8_t>(turn * 37)}))
                        return;
                }
}

// The same with every `stride`th entity id, beginning where the turn has come to.
template <class Check>
void for_entities(const std::vector<int> &types, unsigned stride, Check check) {
    for_events(types, [&](Event event) {
        for (unsigned entity = event.entity_id % stride; entity < 256; entity += stride) {
            event.entity_id = static_cast<uint8_t>(entity);
            event.entity_word = entity;
            if (!check(event))
                return false;
        }
        return true;
    });
}
