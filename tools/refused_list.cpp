#include "tools/refused_list.h"

#include <algorithm>
#include <cstdio>

#include "tools/story_words.h"
#include "tools/text_table.h"

namespace {

constexpr size_t ids_shown = 6;

std::string id_text(uint16_t id) {
    char text[8];
    snprintf(text, sizeof text, "%x", id);
    return text;
}

std::string ids_text(const std::vector<uint16_t> &ids) {
    std::string text;
    for (size_t i = 0; i < std::min(ids.size(), ids_shown); i++)
        text += (i == 0 ? "" : " ") + id_text(ids[i]);
    return ids.size() > ids_shown ? text + " ... " + id_text(ids.back()) : text;
}

std::string generator_text(uint16_t id) {
    char text[8] = "-";
    if (id != 0)
        snprintf(text, sizeof text, "0x%02x", id);
    return text;
}

} // namespace

void RefusedList::add(const story::Refused &refused) {
    const story::Record &record = refused.record;
    Key key{refused.serious, refused.reason, 0, 0, "-", story::event_words(record)};
    if (story::is_system_event(record)) {
        key.generator_id = record.generator_id;
        key.sensor_number = record.sensor_number;
        key.sensor = story::sensor_label(record);
    }
    groups_[key].push_back(record.id);
}

void RefusedList::print(size_t line_width) const {
    if (groups_.empty())
        return;
    TextTable table({{"TIMES", 5, true},
                     {"", 7},
                     {"SENSOR", 6},
                     {"FROM", 4, false, 2},
                     {"EVENT", 5},
                     {"WHY NO FAULT", 12},
                     {"RECORDS", 7}},
                    line_width);
    std::vector<Cells> lines;
    for (const auto &[key, ids] : groups_) {
        lines.push_back({std::to_string(ids.size()), key.serious ? "serious" : "", key.sensor,
                         generator_text(key.generator_id), key.event, story::reason_words(key.reason), ids_text(ids)});
        table.fit(lines.back());
    }
    printf("\nnot taken as faults:\n");
    table.print_head(stdout);
    for (const Cells &line : lines)
        table.print(stdout, line, 1, line[1].empty() ? "" : severity_colour(FE_SEVERITY_MAJOR));
}
