#include "tools/refused_list.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <tuple>

#include "tools/story_words.h"
#include "tools/text_table.h"
#include "tools/text_time.h"

namespace {

constexpr size_t ids_shown = 6;

std::string id_text(uint16_t id) {
    char text[8];
    snprintf(text, sizeof text, "%x", id);
    return text;
}

std::string ids_text(const std::vector<uint16_t> &ids) {
    std::string text;
    for (size_t i = 0; i < std::min(ids.size(), ids_shown); ++i) {
        text += (i == 0 ? "" : " ") + id_text(ids[i]);
    }
    return ids.size() > ids_shown ? text + " ... " + id_text(ids.back()) : text;
}

// What stands in a line, in the order of lines.
struct Key {
    bool serious;
    story::Reason reason;
    uint8_t sensor_number;
    uint16_t generator_id;
    std::string sensor;
    std::string event;

    bool operator<(const Key &other) const {
        return std::tie(other.serious, reason, sensor_number, generator_id, sensor, event) <
               std::tie(serious, other.reason, other.sensor_number, other.generator_id, other.sensor, other.event);
    }
};

Key key_of(const story::Refused &refused) {
    const story::Record &record = refused.record;
    if (!story::is_system_event(record)) {
        return {refused.serious, refused.reason, 0, 0, "-", story::event_words(record)};
    }
    return {refused.serious,
            refused.reason,
            record.sensor_number,
            record.generator_id,
            story::sensor_label(record),
            story::event_words(record)};
}

Cells cells_of(const std::string &first, const Key &key) {
    char generator[8] = "-";
    if (key.generator_id != 0) {
        snprintf(generator, sizeof generator, "0x%02x", key.generator_id);
    }
    return {first, key.serious ? "serious" : "", key.sensor, generator, key.event, story::reason_words(key.reason)};
}

void print_lines(TextTable &table, const std::vector<Cells> &lines) {
    for (const Cells &line : lines) {
        table.fit(line);
    }
    printf("\nnot taken as faults:\n");
    table.print_head(stdout);
    for (const Cells &line : lines) {
        table.print(stdout, line, 1, line[1].empty() ? "" : severity_colour(FE_SEVERITY_MAJOR));
    }
}

void print_groups(const std::vector<story::Refused> &refused, size_t line_width) {
    std::map<Key, std::vector<uint16_t>> groups;
    for (const story::Refused &one : refused) {
        groups[key_of(one)].push_back(one.record.id);
    }
    std::vector<Cells> lines;
    for (const auto &[key, ids] : groups) {
        lines.push_back(cells_of(std::to_string(ids.size()), key));
        lines.back().push_back(ids_text(ids));
    }
    TextTable table({{"TIMES", 5, true},
                     {"", 7},
                     {"SENSOR", 6},
                     {"FROM", 4, false, 1},
                     {"EVENT", 5},
                     {"WHY NO FAULT", 12},
                     {"RECORDS", 7}},
                    line_width);
    print_lines(table, lines);
}

void print_each(const std::vector<story::Refused> &refused, size_t line_width) {
    std::vector<Cells> lines;
    for (const story::Refused &one : refused) {
        lines.push_back(cells_of(time_words(one.record.time), key_of(one)));
        lines.back().insert(lines.back().begin(), id_text(one.record.id));
        std::swap(lines.back()[1], lines.back()[2]);
    }
    TextTable table({{"RECORD", 6, true},
                     {"", 7},
                     {"TIME", 19},
                     {"SENSOR", 6},
                     {"FROM", 4, false, 1},
                     {"EVENT", 5},
                     {"WHY NO FAULT", 12}},
                    line_width);
    print_lines(table, lines);
}

} // namespace

void RefusedList::print(bool each, size_t line_width) const {
    if (refused_.empty()) {
        return;
    }
    if (each) {
        print_each(refused_, line_width);
    } else {
        print_groups(refused_, line_width);
    }
}
