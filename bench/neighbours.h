// The three neighbour libraries of the bench programs. Every answer comes out of an array that was filled before: no
// call allocates, searches or formats, so what the programs measure is the engine.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "fault_engine/fault_request.h"
#include "fault_engine/fault_table.h"
#include "fault_engine/sel.h"

namespace neighbours {

struct Sensor {
    bool described = false; // else nothing is known of the sensor
    sensor_data_record data{};
    uint32_t state = 0;        // what it reads at present
    char event_text[128] = {}; // of each of its events
    fe_write_buf fault{};      // what the entity filter makes of them, less what it takes from the request
};

std::array<Sensor, 256> &sensors();

// A sensor whose state reports any fault it may have, and whose events become faults of that code.
void describe(uint8_t number, uint8_t entity, uint8_t instance, uint8_t sensor_type, uint8_t event_type,
              int32_t fault_code, const std::string &event_text);

// What the start-up walk finds in the SEL.
void serve_sel(std::span<const sel_record> records);

// What only some programs need; set before the engine starts.
struct Behaviour {
    int32_t (*filter)(fe_read_buf *request, fe_write_buf *record); // all fifteen handlers of the entity filter
    void (*broadcast)(const fe_write_buf &record);
    void (*run_interface)(fe_read_buf_struct *read_buffer);
    void (*run_broadcaster)();
};
Behaviour &behaviour();

} // namespace neighbours
