// Records that became no fault: a line each, as they came, or in groups, the serious ones first.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tools/story.h"

class RefusedList {
public:
    // A line each, or grouped by what they say and why: that takes no more room however many come.
    explicit RefusedList(bool each) : each_(each) {}

    void add(const story::Refused &refused);

    // Nothing when there are none.
    void print(size_t line_width) const;

private:
    // What stands in a line, in the order of lines.
    struct Key {
        bool serious;
        story::Reason reason;
        uint8_t sensor_number;
        uint16_t generator_id;
        std::string sensor;
        std::string event;

        bool operator<(const Key &other) const;
    };
    struct Group {
        size_t times = 0;
        std::vector<uint16_t> first_ids;
        uint16_t last_id = 0;
    };

    static Key key_of(const story::Refused &refused);
    static std::vector<std::string> cells_of(const std::string &first, const Key &key);
    static std::string ids_text(const Group &group);
    void print_each(size_t line_width) const;
    void print_groups(size_t line_width) const;

    bool each_;
    std::vector<story::Refused> refused_; // of these two, the one that is printed
    std::map<Key, Group> groups_;
};
