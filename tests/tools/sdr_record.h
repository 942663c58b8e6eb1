// Records of an SDR dump.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

struct SdrSensor {
    uint8_t type, number, entity_id, instance, sensor_type, event_type;
    std::string name;            // the type/length byte and what follows it
    uint8_t sharing[2] = {0, 0}; // for types 2 and 3
};

inline std::string sdr_other_record(uint8_t type, const std::string &body) {
    return std::string{1, 0, 0x51, static_cast<char>(type), static_cast<char>(body.size())} + body;
}

inline std::string sdr_record(const SdrSensor &sensor) {
    std::vector<uint8_t> body(sensor.type == 1 ? 42 : sensor.type == 2 ? 26 : 11);
    const size_t sensor_type_at = sensor.type == 3 ? 5 : 7;
    body[0] = 0x20;
    body[2] = sensor.number;
    body[3] = sensor.entity_id;
    body[4] = sensor.instance;
    body[sensor_type_at] = sensor.sensor_type;
    body[sensor_type_at + 1] = sensor.event_type;
    if (sensor.type != 1) {
        std::ranges::copy(sensor.sharing, body.begin() + (sensor.type == 2 ? 18 : 7));
    }
    return sdr_other_record(sensor.type, std::string(body.begin(), body.end()) + sensor.name);
}

inline std::string name_8_bit(const std::string &text) {
    return static_cast<char>(0xC0 | text.size()) + text;
}
