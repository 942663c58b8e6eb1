// What an event comes to, against severities.txt and fault_numbers.txt, which share nothing with the library.
#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>

#include "fault_engine/classify.h"
#include "support/expected_text.h"
#include "support/world.h"

namespace {

// An empty list holds all codes.
bool holds(const std::vector<int> &list, int code) {
    return list.empty() || std::find(list.begin(), list.end(), code) != list.end();
}

std::vector<int> codes(const std::string &text, int base) {
    std::vector<int> list;
    std::istringstream items(text);
    for (std::string item; std::getline(items, item, ',') && item != "*";) {
        list.push_back(std::stoi(item, nullptr, base));
    }
    return list;
}

struct Line {
    std::vector<int> entities, sensor_types, cells;
};
using Table = std::vector<std::vector<Line>>; // by event type, what counts first

constexpr int refused = -1, none = -2, as_before = -3;

Table read_table(const std::string &file) {
    static const std::map<std::string, int> signs = {{".", refused}, {"-", none}, {"_", as_before}};
    Table table(256);
    std::istringstream lines(expected_text(file));
    for (std::string text, types, entities, sensor_types; std::getline(lines, text);) {
        std::istringstream words(text);
        if (text.starts_with("#") || !(words >> types >> entities >> sensor_types)) {
            continue;
        }
        Line line = {codes(entities, 10), codes(sensor_types, 16), {}};
        for (std::string cell; words >> cell;) {
            line.cells.push_back(signs.contains(cell) ? signs.at(cell) : std::stoi(cell));
        }
        for (size_t type = 0; type < table.size(); ++type) {
            if (holds(codes(types, 16), static_cast<int>(type))) {
                table[type].insert(table[type].begin(), line);
            }
        }
    }
    return table;
}

int look_up(const Table &table, int type, int entity, int sensor_type, int offset) {
    const auto at = static_cast<size_t>(offset);
    for (const auto &[entities, sensor_types, cells] : table[static_cast<size_t>(type)]) {
        if (at < cells.size() && cells[at] != as_before && holds(entities, entity) &&
            holds(sensor_types, sensor_type)) {
            return cells[at];
        }
    }
    return refused;
}

// What is expected of the two functions: they write what is to be written and return the result.
int expect_fault_num(fe_read_buf *request, const sensor_data_record *sensor, const uint8_t *sel) {
    static const Table table = read_table("classify/fault_numbers.txt");
    static const std::vector<int> memory = {8, 25, 32};
    const int id = request->entity_id, instance = request->entity_instance, offset = sel[13] & 0x0F;
    const int type = sel[12] & 0x7F, mem_type = holds(memory, id) ? type : 0,
              low_byte = static_cast<uint8_t>(sensor->entity_id);
    const int entity = mem_type == 0 ? id : holds(memory, low_byte) ? low_byte : 256;
    int number = look_up(table, type, entity, sel[10], offset);
    if ((mem_type == 0x6F || mem_type == 0x7F) && number != refused) {
        request->vemoFaultSeverity = mem_type == 0x6F ? 1 : offset == 9 || offset == 10 ? 3 : 0;
    }
    if (mem_type == 0x70) {
        request->fe_fault_num = 64; // even if the offset is refused
        request->entity_group_instance = instance;
        request->entity_instance = number == refused ? instance : offset + 1;
    }
    if (mem_type == 0x7F && entity == 8) {
        request->entity_group_instance = static_cast<int>(static_cast<uint32_t>(instance) / 8);
        request->entity_instance = instance % 8 == 0 ? 8 : instance & 7;
    }
    if (number == 35) { // a power supply's configuration error
        number += std::min(sel[15] & 0x0F, 5);
    }
    if (id == 49 && number == 63) {
        request->entity_instance = type == 0x08 ? 0 : offset;
    }
    if (number >= 0) {
        request->fe_fault_num = number;
    }
    return number == refused ? -1 : 0;
}

int expect_severity(fe_read_buf *request, const sensor_data_record *sensor, const uint8_t *sel) {
    static const Table table = read_table("classify/severities.txt");
    const auto entity = static_cast<int>(sensor->entity_id);
    if ((sel[12] & 0x7F) == 0x7F && entity == 7) {
        return -1;
    }
    request->eventType = sel[12] & 0x7F;
    const int severity = look_up(table, sel[12], entity, sel[10], sel[13] & 0x0F);
    if (severity >= 0) {
        request->vemoFaultSeverity = severity;
    }
    return severity == refused ? -1 : expect_fault_num(request, sensor, sel);
}

void check(auto classify, auto expect, fe_read_buf request, const sensor_data_record &sensor, const uint8_t *sel) {
    fe_read_buf expected = request;
    const int result = classify(&request, &sensor, sel), expected_result = expect(&expected, &sensor, sel);
    ASSERT_TRUE(result == expected_result && std::memcmp(&request, &expected, sizeof request) == 0)
        << "type " << int{sel[12]} << " offset " << (sel[13] & 0x0F) << " sensor type " << int{sel[10]} << " data 3 "
        << int{sel[15]} << " entity " << int{request.entity_id} << " and " << sensor.entity_id;
}

// Every event with every entity, and some with three entities that differ: severity goes by the sensor's whole entity
// word, the choice of the family by the entity id of the request, the memory family by the low byte of the word. All
// else is junk, so that a read of the wrong field or a stray write shows. The SEL record lies at an odd address.
TEST(Classification, FollowsTheTables) {
    reset_world();
    world().keeps = World::nothing;
    fe_read_buf request;
    std::memset(&request, 0xA5, sizeof request);
    sensor_data_record sensor;
    std::memset(&sensor, 0xE7, sizeof sensor);
    alignas(4) uint8_t bytes[17];
    std::memset(bytes, 0x93, sizeof bytes);
    uint8_t *const sel = bytes + 1;
    std::vector<std::pair<int, int>> entities;
    entities.reserve(300);
    for (int entity = 0; entity < 256; ++entity) {
        entities.emplace_back(entity, entity);
    }
    for (int id : {8, 25, 10, 11, 46}) {
        for (int word : {0, 3, 7, 8, 10, 11, 23, 25, 32, 34, 0x103, 0x107, 0x108, 0x10A, 0x119, 0x120, -0xF8}) {
            entities.emplace_back(id, word);
        }
    }
    unsigned turn = 0;
    for (unsigned dir_type = 0; dir_type < 256; ++dir_type) {
        for (unsigned offset = 0; offset < 16; ++offset) {
            for (int sensor_type : {1, 2, 3, 4, 5, 8, 0xC, 0xD, 0x12, 0x21, 0x25, 0xC0}) { // all named ones, another
                for (const auto &[id, word] : entities) {
                    constexpr int instances[] = {0, 7, 8, 40, 43, 5, -1, -8};
                    request.entity_instance = instances[++turn % 8];
                    request.entity_id = static_cast<uint8_t>(id);
                    sensor.entity_id = static_cast<uint32_t>(word);
                    sel[10] = static_cast<uint8_t>(sensor_type);
                    sel[12] = static_cast<uint8_t>(dir_type);
                    sel[13] = static_cast<uint8_t>(0xB0 | offset);
                    sel[15] = static_cast<uint8_t>(turn * 37);
                    // Types without a severity are refused before anybody looks at the entity, and have their fault
                    // number in either direction: there a part of the events does.
                    const unsigned type = dir_type & 0x7F;
                    const bool has_severity =
                        (type >= 1 && type <= 0x0C) || type == 0x6F || type == 0x70 || type == 0x7F;
                    if (has_severity || id % 2 == (dir_type < 128 ? 0 : 1)) {
                        check(get_fault_num, expect_fault_num, request, sensor, sel);
                    }
                    if (has_severity || turn % 32 == 0) {
                        check(fe_get_severity, expect_severity, request, sensor, sel);
                    }
                }
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

} // namespace
