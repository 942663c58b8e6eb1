// What the request of a record says: sensor name, instances, and on either road whose event it is.
#include "sel_road.h"

#include <climits>

namespace {

std::string run(size_t length, char c) {
    return std::string(length, c);
}

enum Pauses { nowhere, ordinary, extended, both };

// The chosen one of the first two words loses its last character, a colon mostly.
const struct {
    std::string text, name;
    Pauses pauses = nowhere; // the roads that take it for the end of the power-on self test
} names[] = {
    // clang-format off
    {"FAN3: Lower Critical", "FAN3"}, {"FRU_X ABC: x", "ABC"}, {"FRU ABC: x", "FR"}, {"XFRU_X ABC: x", "XFRU_"},
    {"fru_x ABC: x", "fru_"}, {"PSU1 STAT: x", "STAT"}, {"MAIN_PSU2: VOLT: x", "VOLT"}, {"psu1: ABC: x", "psu1"},
    {"LED_PSU1: ABC: x", "LED_PSU1"}, {"LED_X PSU1: x", "LED_"}, {"XLED_PSU ABC: x", "ABC"}, {"LED_XPSU ABC:", "ABC"},
    {"FRU_X LED_PSU: x", "LED_PSU"},
    // white space
    {" \t FAN3:\nx", "FAN3"}, {"FRU_X\n\tABC:\rx", "ABC"}, {"FAN3:\vx", "FAN3"}, {"FAN3:\fx", "FAN3"},
    // short words, and too few of them
    {"A B", ""}, {"FRU_X Y", ""}, {"AB C", "A"}, {"FRU_X YZ", "Y"}, {"", ""}, {" \t ", ""}, {"F", ""}, {"FRU_X \t", ""},
    // the ordinary road goes by the first word, trimmed if it was chosen, the extended one by the name
    {"BIOS_POST_CMPLT: x", "BIOS_POST_CMPLT", both}, {"BIOS_POST_CMPLT x", "BIOS_POST_CMPL"},
    {"BIOS_POST_CMPLT2: x", "BIOS_POST_CMPLT2"}, {"bios_post_cmplt: x", "bios_post_cmplt"},
    {"FRU_X BIOS_POST_CMPLT: x", "BIOS_POST_CMPLT", extended}, {"BIOS_POST_CMPLT:", "", ordinary},
    {"BIOS_POST_CMPLT", ""},
    // a name has 19 characters, a word 39, which do not reach into the next; a text may have no NUL
    {"abcdefghijklmnopqrs: x", "abcdefghijklmnopqrs"}, {"abcdefghijklmnopqrst: x", "abcdefghijklmnopqrs"},
    {run(255, 'F'), ""}, {run(256, 'F'), ""}, {run(256, ' '), ""}, {run(250, ' ') + "AB C D", "A"},
    {"FRU_X " + run(250, 'y'), run(19, 'y')}, {run(200, 'F') + " " + run(55, 'z'), run(19, 'F')},
    {"FRU_" + run(200, 'x') + " YZ: w", "YZ"}, {run(36, 'x') + "PSUPSU YZ: w", "YZ"},
    {run(37, 'x') + "PSU YZ: w", run(19, 'x')},
    // clang-format on
};

TEST_F(SelRoad, TextGivesTheNameAndTheEndOfTheSelfTest) {
    for (const auto &[text, name, pauses] : names)
        for (const Pauses road : {ordinary, extended}) {
            SCOPED_TRACE(text);
            arrange();
            world().event_text = text;
            sel_init_complete = 1;
            filter([&](const fe_read_buf &request, auto &) {
                EXPECT_EQ(std::string(request.sensor_name, FE_SENSOR_NAME_SIZE),
                          name + run(FE_SENSOR_NAME_SIZE - name.size(), '\0'));
                return 1;
            });
            EXPECT_EQ(road == ordinary ? process(event()) : process_extended(event()), 0);
            EXPECT_NE(log_text().find("\n\nSEL Event: " + text.substr(0, 255) + "\nSensor Name: " + name + "\n"),
                      std::string::npos);
            EXPECT_EQ(world().sleeps.size(), pauses == both || pauses == road ? 1U : 0U);
        }
}

// An extended record goes its own way by number and type; otherwise it is one of an ordinary sensor.
TEST_F(SelRoad, ExtendedRecordDescribesASensorAbove255) {
    using Identity = std::array<int64_t, 4>;
    for (const int32_t number : {INT_MIN, -1, 0, 255, 256, 300, 0x10001, INT_MAX})
        for (uint32_t type = 0; type < 256; ++type) {
            arrange();
            std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), 0); // counts for the others
            world().sensors = {{number & 0xFF, sensor(77, 3, 5, type, 1)}};
            Identity seen{};
            filter([&](const fe_read_buf &request, auto &) {
                seen = {request.entity_id, request.entity_type, request.entity_instance, request.sens_num};
                return 1;
            });
            EXPECT_EQ(process_extended(event(static_cast<uint8_t>(type)), number), 0);
            const int own_entity = type == 1 ? 32 : type == 12 ? 8 : type == 18 ? 7 : 0;
            Identity expected = {3, type, 6, 77};
            if (number > 255 && own_entity != 0)
                expected = {own_entity, type, int64_t{number} - 255, number};
            else if (type == 0x10) // is ignored
                expected = {};
            EXPECT_EQ(seen, expected) << number << " " << type;
        }
}

} // namespace
