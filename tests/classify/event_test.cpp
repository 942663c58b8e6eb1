// What an event comes to, against text tables that share no code with the library.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <sstream>

#include "fault_engine/classify.h"
#include "support/neighbours.h"

namespace {

// Event types, entities, sensor types ("*": all), and from offset 0 on what becomes of the event: a value, "-" accepted
// without one, "." refused, "_" as said before. Exceptions follow their rule; what nothing is said of is refused.

// Event types have the direction bit, each digit is a value.
const char *const severities = R"(
01    *    *  4.5.6..4.5.6   01 * 0C ___________5
01    7    12 _______1_1_1
01    8,25,32 01 _______1    01 8 0C _________4   01 32 01 _________4
81    *    *  0.4.5..0.4.5   81 * 0C ___________0   81 * 02 __0______0   81 7 * __0   81 10 01 ____0
81    7    12 _________1_1   81 7 03,08 _________0
81    8,25,32 01 _________1  81 3 01,03 _________0
02,82 *    *  101            07,87 * * 045645631   0A,8A * * 016054431
03,83 *    *  10             03,83 10 08 6         03,83 23 05 3
04,84 *    *  03             04,84 3,7 * _6        04,84 10 08 _6
05,85 *    *  03             05,85 3,7,11 * _5
06,86 *    *  03             06,86 3,7 * _6
08,88 *    *  30             08,88 7,34 * 6        08,88 3 25 1
09,89 *    *  60             0B,8B * * 05555555    0C,8C * * 1111
6F    *    08 0665336        6F * 0D 033113513     6F * 21 6101111111
EF    *    08 3000000        EF * 0D 300000000     EF * 21 0060000000
70    *    *  .0000000       F0 * * .3333333
7F,FF *    0D ........03     7F,FF * 21 --------0330----
)";

// Event types have no direction bit. A value between colons stands for two offsets. Entity 256 is a memory entity whose
// sensor says that it is none.
const char *const numbers = R"(
*     46,208,209,210,211,212,213,214 * -:-:-:-:-:-:-:-
*     3,4,7,15,16,215,216 * 120:120:120:120:120:120:120:120
01    3,4,7,15,16,215,216 * 114:115:116:117:118:119:.:.
01    8,25,32,256 *  .:-:-:-:-:-         01 8,32 01 _:_:_:66:67:68        01 25 01 _:_:_:75:76:77
01    8,25,32,256 02 _:96:97:_:99:100    01 8,25,32,256 0C _:_:_:_:71:72
05,08 8,25,32,256 *  64,64               09 8,25,32,256 * 85,85           70 8,25,32,256 * 64:64:64:64
6F    8,25,32,256 21 79,79,80,81,83,82,83,84,85,86
7F    8,25,32,256 *  .:.:.:.:74:64       7F 25 * _:_:_:_:_:90
01    10,14,20,21 *  -:-:-:-:-:-         01 10,14,20,21 01 _:_:58:56:57:58
01    10,14,20,21 02 _:_:_:_:45:46       01 10,14,20,21 03 _:_:_:48:49:50
01    10,14,20,21 04 3:4:5               01 10,14,20,21 08 _:_:_:52:53:54
03,04 10,14,20,21 *  883,883             08 10,14,20,21 * 30,30           08 10,14,20,21 25 112,112
0B    10,14,20,21 *  60,61,62,61,61,61,61,62
6F    10,14,20,21 08 30,883,883,32,33,34,35
01    11          *  108:109:110:108:109:110   05 11 * 111,111   08 11 * 63,63
01    12          *  .:.:.:105:106:107
03    23          *  104,104
01    29          *  3:4:5:6:7:8         04 29 * 10,10   08 29 * 2,2
08    34          *  103,103
01    49          *  .:.:-:-:-:-         01 49 01 _:_:110:108:109:110
08    49          *  63,63               70 49 * .,63,63,63,63,63,63,63
)";

constexpr int refused = -1, none = -2, as_before = -3, all = -4;

std::vector<int> parse_list(const std::string &text, int base) {
    static const std::map<std::string, int> signs = {{".", refused}, {"-", none}, {"_", as_before}, {"*", all}};
    const bool twice = text.find(':') != std::string::npos;
    std::vector<int> list;
    std::istringstream items(text);
    for (std::string item; std::getline(items, item, twice ? ':' : ',');)
        list.insert(list.end(), twice ? 2 : 1, signs.contains(item) ? signs.at(item) : std::stoi(item, nullptr, base));
    return list;
}

bool holds(const std::vector<int> &list, int code) {
    return list[0] == all || std::find(list.begin(), list.end(), code) != list.end();
}

struct Line {
    std::vector<int> entities, sensor_types, cells;
};
using Table = std::vector<std::vector<Line>>; // by event type

Table parse(const char *text) {
    Table table(256);
    std::istringstream words(text);
    for (std::string types, entities, sensors, cells; words >> types >> entities >> sensors >> cells;) {
        const bool are_digits = cells.find_first_of(",:") == std::string::npos;
        for (size_t at = 1; are_digits && at < cells.size(); at += 2)
            cells.insert(at, ",");
        for (unsigned type = 0; type < 256; type++)
            if (holds(parse_list(types, 16), static_cast<int>(type)))
                table[type].insert(table[type].begin(),
                                   {parse_list(entities, 10), parse_list(sensors, 16), parse_list(cells, 10)});
    }
    return table;
}
const Table severity_table = parse(severities), number_table = parse(numbers);

int look_up(const std::vector<Line> &lines, int entity, int sensor_type, int offset) {
    const auto at = static_cast<size_t>(offset);
    for (const auto &[entities, sensor_types, cells] : lines)
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

// Both take the request as the caller left it, write what is to be written and return the result.
int expect_fault_num(const Event &event, fe_read_buf &request) {
    static const std::vector<int> memory = {8, 25, 32};
    const bool is_mem = holds(memory, event.entity_id), sensor_is_mem = holds(memory, event.entity_word & 0xFF);
    const int entity = !is_mem ? event.entity_id : sensor_is_mem ? event.entity_word & 0xFF : 256;
    int number = look_up(number_table[event.type()], entity, event.sensor_type, event.offset);
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
    const int severity = look_up(severity_table[event.dir_type], event.entity_word, event.sensor_type, event.offset);
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
                    const bool has_severity = !severity_table[dir_type].empty();
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
