// What the readers make of sensor data records, and the words of events. What they refuse is in transcripts/errors.txt.
#include <vector>

#include <gtest/gtest.h>

#include "platform/ipmi_access/event_text.h"
#include "platform/ipmi_access/sdr_dump.h"
#include "sdr_record.h"

using namespace ipmi_access;
using namespace std::string_literals;

namespace {

// For each: record type, number, entity, sensor type, event type, name.
std::string sensors_of(const std::string &dump) {
    std::string text;
    Warnings warnings;
    for (const auto &sensor : parse_sdr_dump(std::vector<uint8_t>(dump.begin(), dump.end()), "dump", warnings)) {
        if (!sensor) {
            continue;
        }
        char numbers[64];
        snprintf(numbers, sizeof numbers, "%d:%d at %d.%d, %d, %d: ", sensor->record_type, sensor->number,
                 sensor->entity_id, sensor->entity_instance, sensor->sensor_type, sensor->event_type);
        text += (text.empty() ? "" : "; ") + (numbers + sensor->name);
    }
    return text;
}

TEST(SdrDump, Names) {
    const struct {
        std::string in_record, read;
    } rows[] = {
        {name_8_bit("System Temp "), "System_Temp"},
        {name_8_bit("A\t\344B\0\0"s), "A__B"},
        {"\x83\x29\xDC\xA6", "IPMI"}, // the packing example of the IPMI specification
        {"\x82\x29\xDC", "IP"},       // four bits left over
        {"\x9E"s + std::string(30, '\xFF'), std::string(40, '_')},
        {"\x44\x12\xA3\xBC\xDF", "12_3-.:_"},
        {"\xC0", "#0x09"},
        {name_8_bit(" \0"s), "#0x09"},
        {"\xC9"s + "CUT", "CUT"}, // its record ends first
    };
    for (const auto &[in_record, read] : rows) {
        EXPECT_EQ(sensors_of(sdr_record({1, 9, 7, 1, 2, 3, in_record})), "1:9 at 7.1, 2, 3: " + read);
    }
}

TEST(SdrDump, Sensors) {
    const std::string name = name_8_bit("C");
    const struct {
        std::string dump;
        const char *sensors;
    } rows[] = {
        {sdr_record({1, 5, 11, 0x83, 12, 111, name}), "1:5 at 11.3, 12, 111: C"},
        {sdr_record({2, 5, 11, 0x83, 12, 111, name}), "2:5 at 11.3, 12, 111: C"},
        {sdr_record({2, 5, 11, 1, 12, 3, name, {0x01, 0x85}}), "2:5 at 11.1, 12, 3: C"},
        {sdr_record({2, 5, 11, 1, 12, 3, name, {0x02, 0x85}}), "2:5 at 11.1, 12, 3: C5; 2:6 at 11.2, 12, 3: C6"},
        {sdr_record({3, 5, 11, 1, 12, 3, name, {0x02, 0x00}}), "3:5 at 11.1, 12, 3: C0; 3:6 at 11.1, 12, 3: C1"},
        {sdr_record({3, 5, 11, 1, 12, 3, name, {0x12, 0x19}}), "3:5 at 11.1, 12, 3: CZ; 3:6 at 11.1, 12, 3: CAA"},
        {sdr_record({2, 254, 11, 0x7F, 12, 3, name, {0x0F, 0x80}}),
         "2:254 at 11.127, 12, 3: C0; 2:255 at 11.0, 12, 3: C1"},
        {sdr_record({2, 5, 11, 1, 12, 3, "\xC0", {0x02, 0x00}}),
         "2:5 at 11.1, 12, 3: #0x05; 2:6 at 11.1, 12, 3: #0x06"},
        {sdr_record({1, 6, 7, 1, 1, 1, name_8_bit("FIRST")}) + sdr_record({2, 5, 11, 1, 12, 3, name, {0x02, 0x01}}),
         "2:5 at 11.1, 12, 3: C1; 1:6 at 7.1, 1, 1: FIRST"},
    };
    for (const auto &[dump, sensors] : rows) {
        EXPECT_EQ(sensors_of(dump), sensors);
    }
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

} // namespace
