#include "tools/refused_list.h"

#include <algorithm>
#include <cstdio>
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

} // namespace

bool RefusedList::Key::operator<(const Key &other) const {
    return std::tie(other.serious, reason, sensor_number, generator_id, sensor, event) <
           std::tie(serious, other.reason, other.sensor_number, other.generator_id, other.sensor, other.event);
}

RefusedList::Key RefusedList::key_of(const story::Refused &refused) {
    const story::Record &record = refused.record;
    if (!story::has_sensor(record)) {
        return {refused.serious, refused.reason, 0, 0, "-", story::event_words(record)};
    }
    return {refused.serious,
            refused.reason,
            record.sensor_number,
            record.generator_id,
            story::sensor_label(record),
            story::event_words(record)};
}

Cells RefusedList::cells_of(const std::string &first, const Key &key) {
    char generator[8] = "-";
    if (key.generator_id != 0) {
        snprintf(generator, sizeof generator, "0x%02x", key.generator_id);
    }
    return {first, key.serious ? "serious" : "", key.sensor, generator, key.event, story::reason_words(key.reason)};
}

std::string RefusedList::ids_text(const Group &group) {
    std::string text;
    for (const uint16_t id : group.first_ids) {
        text += (text.empty() ? "" : " ") + id_text(id);
    }
    return group.times > group.first_ids.size() ? text + " ... " + id_text(group.last_id) : text;
}

void RefusedList::add(const story::Refused &refused) {
    if (each_) {
        refused_.push_back(refused);
        return;
    }
    Group &group = groups_[key_of(refused)];
    ++group.times;
    group.last_id = refused.record.id;
    if (group.first_ids.size() < ids_shown) {
        group.first_ids.push_back(group.last_id);
    }
}

void RefusedList::print_groups(size_t line_width) const {
    std::vector<Cells> lines;
    for (const auto &[key, group] : groups_) {
        lines.push_back(cells_of(std::to_string(group.times), key));
        lines.back().push_back(ids_text(group));
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

void RefusedList::print_each(size_t line_width) const {
    std::vector<Cells> lines;
    for (const story::Refused &one : refused_) {
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

void RefusedList::print(size_t line_width) const {
    if (!refused_.empty()) {
        print_each(line_width);
    } else if (!groups_.empty()) {
        print_groups(line_width);
    }
}
