// Readers of SDR dumps, SEL dumps and readings, and what the SEL access stand-in serves of them.
#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "fault_engine/sel.h"
#include "platform/ipmi_access/event_text.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "platform/ipmi_access/readings.h"
#include "platform/ipmi_access/sdr_dump.h"
#include "platform/ipmi_access/sel_dump.h"
#include "run_fectl.h"

using namespace ipmi_access;

namespace {

template <class Call>
std::string error_of(Call &&call) {
    try {
        call();
    } catch (const CaptureError &error) {
        return error.what();
    }
    return "no error";
}

std::string name_of(const Bytes &name) {
    return parse_sdr_dump(sdr_record({2, 9, 7, 1, 1, 1, name}), "f")[9]->name;
}

TEST(SdrDump, Names) {
    EXPECT_EQ(name_of(name_8_bit("P0_TEMP")), "P0_TEMP");
    EXPECT_EQ(name_of(name_8_bit("System Temp ")), "System_Temp");
    EXPECT_EQ(name_of({0xC6, 'A', '\t', 0xE4, 'B', 0, 0}), "A__B");
    EXPECT_EQ(name_of({0x83, 0x29, 0xDC, 0xA6}), "IPMI"); // the packing example of the IPMI specification
    EXPECT_EQ(name_of(name_6_bit("FAN 1_(A)")), "FAN_1_(A)");
    EXPECT_EQ(name_of({0x82, 0x29, 0xDC}), "IP"); // four bits left over
    EXPECT_EQ(name_of({0x44, 0x12, 0xA3, 0xBC, 0xDF}), "12_3-.:_");
    EXPECT_EQ(name_of({0xC0}), "#0x09");
    EXPECT_EQ(name_of({0xC2, ' ', 0}), "#0x09");
    EXPECT_EQ(name_of({0xC9, 'C', 'U', 'T'}), "CUT"); // its record ends first
    EXPECT_EQ(name_of(name_6_bit(std::string(40, 'X'))), std::string(40, 'X'));
}

TEST(SdrDump, FieldsOfEachRecordType) {
    for (const uint8_t type : Bytes{1, 2, 3}) {
        const Bytes dump = sdr_other_record(0x12, Bytes(18, 0x11)) + sdr_other_record(0xC0, {}) +
                           sdr_record({type, 0x2E, 32, 0x83, 0x0C, 0x6F, name_8_bit("N")});
        const Sensors sensors = parse_sdr_dump(dump, "f");
        ASSERT_TRUE(sensors[0x2E]) << int{type};
        const Sensor &sensor = *sensors[0x2E];
        EXPECT_EQ(std::ranges::count_if(sensors, [](const auto &found) { return found.has_value(); }), 1);
        EXPECT_EQ(sensor.record_type, type);
        EXPECT_EQ(sensor.number, 0x2E);
        EXPECT_EQ(sensor.entity_id, 32);
        EXPECT_EQ(sensor.entity_instance, 3);
        EXPECT_EQ(sensor.sensor_type, 0x0C);
        EXPECT_EQ(sensor.event_type, 0x6F);
    }
}

std::string unfolded(const SdrSensor &shared) {
    std::string text;
    for (const auto &sensor : parse_sdr_dump(sdr_record(shared), "f"))
        if (sensor)
            text += std::to_string(sensor->number) + ":" + std::to_string(sensor->entity_instance) + ":" +
                    sensor->name + " ";
    return text;
}

TEST(SdrDump, SharedRecords) {
    for (const uint8_t type : Bytes{2, 3}) {
        const auto shared = [type](uint8_t number, uint8_t instance, uint8_t first, uint8_t second) {
            return unfolded({type, number, 11, instance, 0x17, 0x6F, name_8_bit("C"), {first, second}});
        };
        EXPECT_EQ(shared(5, 1, 0x01, 0x85), "5:1:C ");
        EXPECT_EQ(shared(5, 1, 0x03, 0x85), "5:1:C5 6:2:C6 7:3:C7 ");
        EXPECT_EQ(shared(5, 1, 0x03, 0x00), "5:1:C0 6:1:C1 7:1:C2 ");
        EXPECT_EQ(shared(5, 1, 0x13, 0x99), "5:1:CZ 6:2:CAA 7:3:CAB ");
        EXPECT_EQ(shared(254, 0x7F, 0x0F, 0x80), "254:127:C0 255:0:C1 ");
    }
    EXPECT_EQ(unfolded({2, 5, 11, 1, 0x17, 0x6F, {0xC0}, {0x02, 0x00}}), "5:1:#0x05 6:1:#0x06 ");
}

TEST(SdrDump, FirstOfASensorNumberWins) {
    const Sensors sensors = parse_sdr_dump(sdr_record({1, 6, 3, 1, 1, 1, name_8_bit("FIRST")}) +
                                               sdr_record({2, 5, 7, 1, 2, 3, name_8_bit("LATER"), {0x03, 0x81}}),
                                           "f");
    EXPECT_EQ(sensors[5]->name + sensors[6]->name + sensors[7]->name, "LATER1FIRSTLATER3");
}

TEST(SdrDump, CutOffAtEachByte) {
    const Bytes first = sdr_record({1, 1, 3, 1, 1, 1, name_8_bit("A")});
    const Bytes last = sdr_record({2, 2, 3, 1, 1, 1, name_8_bit("B")});
    const std::string place = "dir/x.sdr: offset " + std::to_string(first.size()) + ": ";
    for (size_t kept = 1; kept < last.size(); kept++) {
        const Bytes dump = first + Bytes(last.begin(), last.begin() + static_cast<std::ptrdiff_t>(kept));
        EXPECT_TRUE(error_of([&] { parse_sdr_dump(dump, "dir/x.sdr"); }).starts_with(place + "the record is cut short"))
            << kept;
    }
    EXPECT_TRUE(error_of([&] { parse_sdr_dump(first + Bytes(16), "dir/x.sdr"); }).starts_with(place + "version 0x00"));
    EXPECT_TRUE(error_of([&] {
                    parse_sdr_dump(first + sdr_other_record(3, Bytes(11)), "dir/x.sdr");
                }).starts_with(place + "a sensor's record of type 3 is longer"));
}

TEST(SelDump, TornRecords) {
    const Bytes record = sel_event(1, 1, 1, 0x57);
    const Bytes torn(record.begin(), record.begin() + 9);
    EXPECT_EQ(parse_sel_dump(record + record, "f").size(), 2U);
    const auto offset_of = [](const Bytes &dump) { return error_of([&] { parse_sel_dump(dump, "f"); }); };
    EXPECT_TRUE(offset_of(torn).starts_with("f: offset 0: the record is cut short"));
    EXPECT_TRUE(offset_of(record + record + torn).starts_with("f: offset 32: the record is cut short"));
    EXPECT_TRUE(offset_of(record + torn + record + record).starts_with("f: offset 16: the record is cut short"));
    EXPECT_TRUE(offset_of(Bytes(160, 0x20)).starts_with("f: offset 0: this is no SEL record"));
}

TEST(Readings, Lines) {
    EXPECT_EQ(parse_readings("# states\n\n0x2e 0x0008 # present\n 7\t512\r\n", "f"), (Readings{{0x2E, 8}, {7, 512}}));
    for (const char *line : {"0x100 1", "x 1", "-1 1", "1", "1 2 3", "1 0x100000000", "1 on", "9 9"})
        EXPECT_TRUE(error_of([&] { parse_readings(std::string("9 1\n") + line, "f"); }).starts_with("f: line 2: "))
            << line;
}

TEST(EventText, Words) {
    EXPECT_EQ(event_text("P0", {0x01, 0x01, 9, false}), "P0: Upper Critical going high");
    EXPECT_EQ(event_text("P0", {0x08, 0x6F, 3, true}), "P0: Power Supply AC lost - Deasserted");
    EXPECT_EQ(event_text("P0", {0xDD, 0x6F, 3, false}), "P0: Event Offset 0x3");
    EXPECT_EQ(event_text("P0", {0x01, 0x03, 15, false}), "P0: Event Offset 0xf");
    // The engine takes the second word of these for the name.
    EXPECT_EQ(event_text("PSU1", {0x08, 0x03, 1, false}), "PSU1 PSU1: State Asserted");
    EXPECT_EQ(event_text("FRU_X", {0x08, 0x03, 1, false}), "FRU_X FRU_X: State Asserted");
    EXPECT_EQ(event_text("LED_PSU", {0x08, 0x03, 1, false}), "LED_PSU: State Asserted");
}

// Positions, not ids: those of this log are all the same.
TEST(DecodeSel, ServesEveryRecordOnceInOrder) {
    constexpr uint16_t count = 1300, visible = 1290;
    Bytes log;
    for (uint16_t i = 0; i < count; i++)
        log = log + sel_event(1, 1, 1, 0x57, i);
    const Folder folder;
    load_sel(folder.write("x.sel", log));
    limit_walk(visible);

    uint32_t ignored;
    uint16_t unused, total;
    ASSERT_EQ(SELTotalSEL(&ignored, 0, &unused, &total), 0);
    ASSERT_EQ(total, visible);
    std::vector<uint8_t> area(180242 + 512 * sizeof(sel_list_entry));
    uint16_t request[2] = {1, 512};
    uint32_t decoded = 0, seen = 0;
    while (request[0] != 0xFFFF) {
        ASSERT_EQ(DecodeSel(area.data(), 190470, request, &decoded), 0);
        for (uint32_t i = 0; i < decoded; i++, seen++)
            ASSERT_EQ(memcmp(&area[180242 + i * sizeof(sel_list_entry)], &log[size_t{seen} * 16], 16), 0) << seen;
        memcpy(&request[0], &area[16], 2);
    }
    EXPECT_EQ(seen, visible);
    request[0] = visible + 1;
    EXPECT_NE(DecodeSel(area.data(), 190470, request, &decoded), 0);
}

} // namespace
