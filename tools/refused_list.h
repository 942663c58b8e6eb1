// Records that became no fault, grouped by what they say and why, the serious ones first.
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "tools/story.h"

class RefusedList {
public:
    void add(const story::Refused &refused);
    void print(size_t line_width) const; // nothing when there are none

private:
    struct Key {
        bool serious;
        story::Reason reason;
        uint16_t generator_id;
        uint8_t sensor_number;
        std::string sensor;
        std::string event;
        bool operator<(const Key &other) const {
            return std::tie(other.serious, reason, sensor_number, generator_id, sensor, event) <
                   std::tie(serious, other.reason, other.sensor_number, other.generator_id, other.sensor, other.event);
        }
    };
    std::map<Key, std::vector<uint16_t>> groups_; // their record ids
};
