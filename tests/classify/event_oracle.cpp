#include "classify/event_oracle.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <numeric>
#include <sstream>

const std::vector<Family> families = {{"logicalentity", get_fault_num_logicalentity, {3, 4, 7, 15, 16, 215, 216}},
                                      {"mem", get_fault_num_mem, {8, 25, 32}},
                                      {"ps", get_fault_num_ps, {10, 14, 20, 21}},
                                      {"add_in", get_fault_num_add_in, {11}},
                                      {"front_panel", get_fault_num_front_panel, {12}},
                                      {"chassis", get_fault_num_chassis, {23}},
                                      {"fan", get_fault_num_fan, {29}},
                                      {"fw_bios", get_fault_num_fw_bios, {34}},
                                      {"pci", get_fault_num_pci, {49}}};

namespace {

// Each line: a table, then clauses "event type[/sensor type] offset:alternatives first-last:alternatives ...;". The
// first alternative that holds counts, "e7s12=1" being 1 for entity 7 with sensor type 0x12. "-" accepts the event
// without a value; what matches no alternative is refused.
const char *const text = R"(
assert 01 0:4 2:5 4:6 7:e7s12=1|e8s01=1|e25s01=1|e32s01=1|4 9:e7s12=1|e8s0C=4|e32s01=4|5 11:e7s12=1|s0C=5|6
assert 6F/08 0:0 1:6 2:6 3:5 4:3 5:3 6:6; 6F/0D 0:0 1:3 2:3 3:1 4:1 5:3 6:5 7:1 8:3; 6F/21 0:6 1:1 2:0 3-9:1; 70 1-7:0
deassert 01 0:0 2:e7=0|s02=0|4 4:e10s01=0|5 7:0 11:e7s12=1|s0C=0|5
deassert 01 9:e7s12=1|e8s01=1|e25s01=1|e32s01=1|e3s01=0|e3s03=0|s02=0|e7s03=0|e7s08=0|4
deassert 6F/08 0:3 1-6:0; 6F/0D 0:3 1-8:0; 6F/21 0:0 1:0 2:6 3-9:0; 70 1-7:3
both 02 0:1 1:0 2:1; 03 0:e10s08=6|e23s05=3|1 1:0; 04 0:0 1:e3=6|e7=6|e10s08=6|3; 05 0:0 1:e3=5|e7=5|e11=5|3
both 06 0:0 1:e3=6|e7=6|3; 07 0:0 1:4 2:5 3:6 4:4 5:5 6:6 7:3 8:1; 08 0:e7=6|e34=6|e3s25=1|3 1:0; 09 0:6 1:0
both 0A 0:0 1:1 2:6 3:0 4:5 5:4 6:4 7:3 8:1; 0B 0:0 1-7:5; 0C 0-3:1
both 7F/0D 8:0 9:3; 7F/21 8:0 9:3 10:3 11:0 0-15:-

mem 01/01 6-7:e8=66|e32=66|e25=75 8-9:e8=67|e32=67|e25=76 10-11:e8=68|e32=68|e25=77
mem 01/02 2-3:96 4-5:97 8-9:99 10-11:100; 01/0C 8-9:71 10-11:72; 01 2-11:-; 05 0-1:64; 08 0-1:64; 09 0-1:85
mem 6F/21 0-1:79 2:80 3:81 4:83 5:82 6:83 7:84 8:85 9:86; 70 0-7:64; 7F 8-9:74 10-11:e25=90|64
ps 01/01 4-5:58 6-7:56 8-9:57 10-11:58; 01/02 8-9:45 10-11:46; 01/03 6-7:48 8-9:49 10-11:50
ps 01/04 0-1:3 2-3:4 4-5:5; 01/08 6-7:52 8-9:53 10-11:54; 01 0-11:-; 03 0-1:883; 04 0-1:883; 08 0-1:s25=112|30
ps 0B 0:60 1:61 3-6:61 2:62 7:62; 6F/08 0:30 1-2:883 3:32 4:33 5:34 6:35
logicalentity 01 0-1:114 2-3:115 4-5:116 6-7:117 8-9:118 10-11:119
fan 01 0-1:3 2-3:4 4-5:5 6-7:6 8-9:7 10-11:8; 04 0-1:10; 08 0-1:2
add_in 01 0-1:108 6-7:108 2-3:109 8-9:109 4-5:110 10-11:110; 05 0-1:111; 08 0-1:63
pci 01/01 4-5:110 10-11:110 6-7:108 8-9:109; 01 4-11:-; 08 0-1:63; 70 1-7:63
front_panel 01 6-7:105 8-9:106 10-11:107
chassis 03 0-1:104
fw_bios 08 0-1:103
)";

constexpr int refused = -1, unwritten = -2, any = -1;
enum : size_t { BOTH = 9, ASSERT, DEASSERT, TABLES };

struct Rule {
    int entity, sensor_type, value;
};
struct Table {
    std::vector<Rule> rules[128][16];
};

size_t table_of(const std::string &name) {
    auto family = std::find_if(families.begin(), families.end(), [&](const Family &each) { return each.name == name; });
    if (family != families.end())
        return static_cast<size_t>(family - families.begin());
    return name == "both" ? BOTH : name == "assert" ? ASSERT : DEASSERT;
}

Rule parse_rule(const std::string &alternative, int sensor_type) {
    int entity = any, value = unwritten;
    auto sensor = static_cast<unsigned>(sensor_type);
    const char *from = alternative.c_str();
    const bool readable = std::sscanf(from, "e%ds%x=%d", &entity, &sensor, &value) == 3 ||
                          std::sscanf(from, "e%d=%d", &entity, &value) == 2 ||
                          std::sscanf(from, "s%x=%d", &sensor, &value) == 2 || std::sscanf(from, "%d", &value) == 1;
    EXPECT_TRUE(readable || alternative == "-") << alternative;
    return {entity, static_cast<int>(sensor), value};
}

std::vector<Table> parse() {
    std::vector<Table> tables(TABLES);
    std::istringstream lines(text);
    for (std::string line, name, clause, cell, alternative; std::getline(lines, line);) {
        std::istringstream clauses(line);
        clauses >> name;
        while (std::getline(clauses, clause, ';')) {
            std::istringstream cells(clause);
            cells >> cell;
            size_t used = 0;
            const int type = std::stoi(cell, &used, 16);
            const int sensor_type = used < cell.size() ? std::stoi(cell.substr(used + 1), nullptr, 16) : any;
            while (cells >> cell) {
                int first = 0, last = 0;
                if (std::sscanf(cell.c_str(), "%d-%d:", &first, &last) == 1)
                    last = first;
                std::istringstream alternatives(cell.substr(cell.find(':') + 1));
                while (std::getline(alternatives, alternative, '|'))
                    for (int offset = first; offset <= last; offset++)
                        tables[table_of(name)].rules[type][offset].push_back(parse_rule(alternative, sensor_type));
            }
        }
    }
    return tables;
}

int look_up(size_t table, const Event &event, uint32_t entity) {
    static const std::vector<Table> tables = parse();
    for (const Rule &rule : tables[table].rules[event.type][event.offset])
        if ((rule.entity == any || static_cast<uint32_t>(rule.entity) == entity) &&
            (rule.sensor_type == any || rule.sensor_type == event.sensor_type))
            return rule.value;
    return refused;
}

// What the memory family does to the request beside the fault number.
void rewrite_mem(const Event &event, int number, fe_read_buf &request) {
    if (event.type == 0x6F && number != refused)
        request.vemoFaultSeverity = 1;
    if (event.type == 0x70) {
        request.fe_fault_num = 64;
        request.entity_group_instance = event.instance;
        request.entity_instance = number == refused ? event.instance : event.offset + 1;
    }
    if (event.type == 0x7F && number != refused)
        request.vemoFaultSeverity = event.offset == 9 || event.offset == 10 ? 3 : 0;
    if (event.type == 0x7F && event.entity_word % 256 == 8) {
        const int64_t instance = event.instance + (event.instance < 0 ? int64_t{1} << 32 : 0);
        request.entity_group_instance = static_cast<int32_t>(instance / 8);
        request.entity_instance = instance % 8 == 0 ? 8 : static_cast<int32_t>(instance % 8);
    }
}

// Each takes the request as the caller left it, makes the writes and returns the result.
int32_t expect_family(size_t family, const Event &event, fe_read_buf &request) {
    static const size_t logicalentity = table_of("logicalentity"), mem = table_of("mem"), ps = table_of("ps"),
                        pci = table_of("pci");
    int number = look_up(family, event, event.entity_word % 256);
    if (family == logicalentity && event.type != 0x01)
        number = 120;
    if (family == ps && event.type == 0x6F && event.offset == 6 && number != refused)
        number += std::min(event.data3 % 16, 5);
    if (family == mem)
        rewrite_mem(event, number, request);
    if (family == pci && number != refused && event.type != 0x01)
        request.entity_instance = event.type == 0x08 ? 0 : event.offset;
    if (number >= 0)
        request.fe_fault_num = number;
    return number == refused ? -1 : 0;
}

int32_t expect_fault_num(const Event &event, fe_read_buf &request) {
    static const std::vector<size_t> chosen = [] {
        std::vector<size_t> by_entity(256, TABLES);
        for (size_t family = 0; family < families.size(); family++)
            for (uint8_t entity : families[family].entities)
                by_entity[entity] = family;
        return by_entity;
    }();
    if (event.entity_id == 46 || (event.entity_id >= 208 && event.entity_id <= 214))
        return 0;
    const size_t family = chosen[event.entity_id];
    return family == TABLES ? -1 : expect_family(family, event, request);
}

int32_t expect_severity(const Event &event, fe_read_buf &request) {
    if (event.type == 0x7F && event.entity_word == 7)
        return -1;
    request.eventType = static_cast<uint8_t>(event.type);
    int severity = look_up(BOTH, event, event.entity_word);
    if (severity == refused)
        severity = look_up(event.direction == 0 ? ASSERT : DEASSERT, event, event.entity_word);
    if (severity >= 0)
        request.vemoFaultSeverity = severity;
    return severity == refused ? -1 : expect_fault_num(event, request);
}

using Words = std::array<int32_t, 13>; // of a request

template <class Expect>
bool agrees(const char *name, Classify function, const Event &event, Expect expect) {
    Arguments given(event);
    fe_read_buf expected = given.request;
    const int32_t result = expect(expected), got = given.call(function);
    const auto wanted_words = std::bit_cast<Words>(expected), words = std::bit_cast<Words>(given.request);
    if (got == result && words == wanted_words)
        return true;
    ADD_FAILURE() << name << ": event type " << event.type << " direction " << event.direction << " offset "
                  << event.offset << " sensor type " << event.sensor_type << " entity " << +event.entity_id << " word "
                  << event.entity_word << " instance " << event.instance << " data 3 " << +event.data3 << "\n     got "
                  << got << testing::PrintToString(words) << "\nexpected " << result
                  << testing::PrintToString(wanted_words);
    return false;
}

} // namespace

Arguments::Arguments(const Event &event) {
    std::memset(&request, 0xA5, sizeof request);
    request.entity_id = event.entity_id;
    request.entity_group_instance = 0x1111;
    request.entity_instance = event.instance;
    request.vemoFaultSeverity = 2;
    request.fe_fault_num = 0x7777;
    request.sens_num = 0xFFFFFFFE;
    std::memset(&sensor, 0xE7, sizeof sensor);
    sensor.entity_id = event.entity_word;
    std::memset(sel, 0x93, sizeof sel);
    sel[11] = static_cast<uint8_t>(event.sensor_type);
    sel[13] = static_cast<uint8_t>(event.direction << 7 | event.type);
    sel[14] = static_cast<uint8_t>((event.entity_id << 5 & 0xFF) | 0x10 | event.offset);
    sel[16] = event.data3;
}

bool family_agrees(size_t family, const Event &event) {
    return agrees(families[family].name, families[family].function, event,
                  [&](fe_read_buf &request) { return expect_family(family, event, request); });
}

bool fault_num_agrees(const Event &event) {
    return agrees("get_fault_num", get_fault_num, event,
                  [&](fe_read_buf &request) { return expect_fault_num(event, request); });
}

bool severity_agrees(const Event &event) {
    return agrees("fe_get_severity", fe_get_severity, event,
                  [&](fe_read_buf &request) { return expect_severity(event, request); });
}

std::vector<int> all_types() {
    std::vector<int> types(128);
    std::iota(types.begin(), types.end(), 0);
    return types;
}
