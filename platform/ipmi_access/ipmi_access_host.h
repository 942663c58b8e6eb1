// What the host program tells the SEL and sensor access library's stand-in: who answers, and which captured pair of files
// to serve. All of it comes before the engine starts; from then on everything is only read, by any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "fault_engine/sel.h"
#include "platform/ipmi_access/readings.h"
#include "platform/ipmi_access/sdr_dump.h"

#include "platform/ipmi_access/ipmi_access.h"

namespace ipmi_access {

// What answers the library's functions, each in its place: the captures loaded below, until somebody says otherwise.
struct Hooks {
    decltype(&IPMI_SensorGetSensorData) sensor_data;
    decltype(&IPMI_SensorGetSensorReading) sensor_reading;
    decltype(&IPMI_SELHVDBSELAttach) attach;
    decltype(&IPMI_SELGetHVDBSELData) event_text;
    decltype(&IPMI_SELHVDBSELDetach) detach;
    decltype(&SELTotalSEL) sel_size;
    decltype(&DecodeSel) decode;
    decltype(&HVLGSELEntryToStr) extended_text;
    decltype(&HVLGSELUnixToCTime) date_text;
};
extern Hooks hooks;

// What is wrong with a file, in one line: "<file>: offset <n>: <what>", or "<file>: line <n>: <what>".
struct CaptureError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What is known of one server.
struct Capture {
    Sensors sensors{};
    std::vector<sel_record> records; // the SEL, in order
    Readings readings;               // present states of sensors; one without cannot be read
};

// From now on the engine meets this server.
void serve(Capture capture);
const Capture &served();

const Sensor *find_sensor(uint32_t number); // null when no record describes it

// The first `records` records alone are visible to SELTotalSEL and DecodeSel, at most max_walk_records, which is what
// the start-up walk can count.
constexpr size_t max_walk_records = 65535;
void limit_walk(size_t records);

// How many lower-numbered sensors are of the same kind and on the same entity instance: threshold sensors of one sensor
// type are a kind, and all sensors without thresholds are.
uint32_t sensor_rank(uint32_t sensor_number);

} // namespace ipmi_access
