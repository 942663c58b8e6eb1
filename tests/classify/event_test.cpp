// What an event comes to, against severities.txt and fault_numbers.txt, which share nothing with the library.
#include <algorithm>
#include <cstring>
#include <map>
#include <ranges>
#include <sstream>

#include "expected_text.h"
#include "fault_engine/classify.h"
#include "support/neighbours.h"

namespace {

// An empty list holds all codes.
bool holds(const std::vector<int> &list, int code) {
    return list.empty() || std::find(list.begin(), list.end(), code) != list.end();
}

std::vector<int> codes(const std::string &text, int base) {
    std::vector<int> list;
    std::istringstream items(text);
    for (std::string item; std::getline(items, item, ',') && item != "*";)
        list.push_back(std::stoi(item, nullptr, base));
    return list;
}

struct Line {
    std::vector<int> entities, sensor_types, cells;
};
using Table = std::vector<std::vector<Line>>; // by event type

constexpr int refused = -1, none = -2, as_before = -3;

Table read_table(const std::string &file) {
    static const std::map<std::string, int> signs = {{".", refused}, {"-", none}, {"_", as_before}};
    Table table(256);
    std::istringstream lines(expected_text(file));
    for (std::string text, types, entities, sensor_types; std::getline(lines, text);) {
        std::istringstream words(text);
        if (text.starts_with("#") || !(words >> types >> entities >> sensor_types))
            continue;
        Line line = {codes(entities, 10), codes(sensor_types, 16), {}};
        for (std::string cell; words >> cell;)
            line.cells.push_back(signs.contains(cell) ? signs.at(cell) : std::stoi(cell));
        for (size_t type = 0; type < table.size(); ++type)
            if (holds(codes(types, 16), static_cast<int>(type)))
                table[type].push_back(line);
    }
    return table;
}

int look_up(const std::vector<Line> &lines, int entity, int sensor_type, int offset) {
    const auto at = static_cast<size_t>(offset);
    for (const auto &[entities, sensor_types, cells] : std::views::reverse(lines))
        if (at < cells.size() && cells[at] != as_before && holds(entities, entity) && holds(sensor_types, sensor_type))
            return cells[at];
    return refused;
}

struct Event {
    unsigned dir_type;
    int offset, sensor_type, data3;
    int entity_id, entity_word; // of the request, of the sensor data record
    int instance;
    unsigned type() const { return dir_type & 0x7F; }
};

const Table &severity_table() {
    static const Table table = read_table("classify/severities.txt");
    return table;
}

// Both take the request as the caller left it, write what is to be written and return the result.
int expect_fault_num(const Event &event, fe_read_buf &request) {
    static const std::vector<int> memory = {8, 25, 32};
    const bool is_mem = holds(memory, event.entity_id), sensor_is_mem = holds(memory, event.entity_word & 0xFF);
    const int entity = !is_mem ? event.entity_id : sensor_is_mem ? event.entity_word & 0xFF : 256;
    static const Table table = read_table("classify/fault_numbers.txt");
    int number = look_up(table[event.type()], entity, event.sensor_type, event.offset);
    const unsigned mem_type = is_mem ? event.type() : 0;
    if ((mem_type == 0x6F || mem_type == 0x7F) && number != refused)
        request.vemoFaultSeverity = mem_type == 0x6F ? 1 : event.offset == 9 || event.offset == 10 ? 3 : 0;
    if (mem_type == 0x70) {
        request.fe_fault_num = 64; // even if the offset is refused
        request.entity_group_instance = event.instance;
        request.entity_instance = number == refused ? event.instance : event.offset + 1;
    }
    if (mem_type == 0x7F && entity == 8) {
        const auto instance = static_cast<uint32_t>(event.instance);
        request.entity_group_instance = static_cast<int>(instance / 8);
        request.entity_instance = instance % 8 == 0 ? 8 : static_cast<int>(instance % 8);
    }
    if (number == 35) // a power supply's configuration error
        number += std::min(event.data3 & 0x0F, 5);
    if (event.entity_id == 49 && number == 63)
        request.entity_instance = event.type() == 0x08 ? 0 : event.offset;
    if (number >= 0)
        request.fe_fault_num = number;
    return number == refused ? -1 : 0;
}

int expect_severity(const Event &event, fe_read_buf &request) {
    if (event.type() == 0x7F && event.entity_word == 7)
        return -1;
    request.eventType = static_cast<uint8_t>(event.type());
    const int severity = look_up(severity_table()[event.dir_type], event.entity_word, event.sensor_type, event.offset);
    if (severity >= 0)
        request.vemoFaultSeverity = severity;
    return severity == refused ? -1 : expect_fault_num(event, request);
}

// What the event does not say is junk, so that a read of the wrong field or a stray write shows. The SEL record lies at
// an odd address.
void check(const Event &event, int32_t classify(fe_read_buf *, const sensor_data_record *, const uint8_t *),
           int expect(const Event &, fe_read_buf &)) {
    fe_read_buf request;
    std::memset(&request, 0xA5, sizeof request);
    request.entity_id = static_cast<uint8_t>(event.entity_id);
    request.entity_instance = event.instance;
    fe_read_buf expected = request;
    sensor_data_record sensor;
    std::memset(&sensor, 0xE7, sizeof sensor);
    sensor.entity_id = static_cast<uint32_t>(event.entity_word);
    alignas(4) uint8_t sel[17];
    std::memset(sel, 0x93, sizeof sel);
    sel[11] = static_cast<uint8_t>(event.sensor_type);
    sel[13] = static_cast<uint8_t>(event.dir_type);
    sel[14] = static_cast<uint8_t>(0xB0 | event.offset);
    sel[16] = static_cast<uint8_t>(event.data3);
    const int result = classify(&request, &sensor, sel + 1), expected_result = expect(event, expected);
    ASSERT_TRUE(result == expected_result && std::memcmp(&request, &expected, sizeof request) == 0)
        << testing::PrintToString(std::tuple(event.dir_type, event.offset, event.sensor_type, event.entity_id,
                                             event.entity_word, event.instance, event.data3));
}

// Every event with every entity, and some with three entities that differ: severity goes by the sensor's whole entity
// word, the choice of the family by the entity id of the request, the memory family by the low byte of the word.
TEST(Classification, FollowsTheTables) {
    reset_world();
    world().keep_log = false;
    std::vector<std::pair<int, int>> entities;
    for (int entity = 0; entity < 256; entity++)
        entities.emplace_back(entity, entity);
    for (int id : {8, 25, 10, 11, 46})
        for (int word : {0, 3, 7, 8, 10, 11, 23, 25, 32, 34, 0x103, 0x107, 0x108, 0x10A, 0x119, 0x120, -0xF8})
            entities.emplace_back(id, word);
    unsigned turn = 0;
    for (unsigned dir_type = 0; dir_type < 256; dir_type++)
        for (int offset = 0; offset < 16; offset++)
            // all that are named, and one
            for (int sensor_type : {1, 2, 3, 4, 5, 8, 0xC, 0xD, 0x12, 0x21, 0x25, 0xC0}) {
                for (const auto &[id, word] : entities) {
                    const int instances[] = {0, 7, 8, 40, 43, 5, -1, -8}, data3 = static_cast<int>(++turn * 37 % 256);
                    const Event event = {dir_type, offset, sensor_type, data3, id, word, instances[turn % 8]};
                    // Types without a severity are refused before anybody looks at the entity, and have their fault
                    // number in either direction: there a part of the events does.
                    const bool has_severity = !severity_table()[dir_type].empty();
                    if (has_severity || id % 2 == (dir_type < 128 ? 0 : 1))
                        check(event, get_fault_num, expect_fault_num);
                    if (has_severity || turn % 32 == 0)
                        check(event, fe_get_severity, expect_severity);
                }
                if (HasFatalFailure())
                    return;
            }
}

} // namespace
