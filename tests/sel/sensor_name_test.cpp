// The sensor name cut from event texts, friendly and hostile.
#include "sel_road.h"

#include <span>

namespace {

using Name = std::pair<std::string, std::string>; // event text, sensor name

// Which word it is: FRU_ at the start, PSU anywhere, LED_PSU at the start. The chosen word loses its last character.
const Name choices[] = {{"FAN3: Lower Critical", "FAN3"}, {"FRU_X ABC: x", "ABC"},        {"FRU ABC: x", "FR"},
                        {"XFRU_X ABC: x", "XFRU_"},       {"fru_x ABC: x", "fru_"},       {"PSU1 STAT: x", "STAT"},
                        {"MAIN_PSU2: VOLT: x", "VOLT"},   {"XPSU ABC:", "ABC"},           {"psu1: ABC: x", "psu1"},
                        {"LED_PSU1: ABC: x", "LED_PSU1"}, {"LED_PSU ABC: x", "LED_PS"},   {"XLED_PSU ABC: x", "ABC"},
                        {"LED_X PSU1: x", "LED_"},        {"FRU_X LED_PSU: x", "LED_PSU"}};

const Name white_space[] = {{" \t FAN3: \t x", "FAN3"}, {"FRU_X\n\tABC:\r\nx", "ABC"}, {"FAN3:\v\fx", "FAN3"}};
const Name short_words[] = {{"A B", ""}, {"FRU_X Y", ""}, {"AB C", "A"}, {"FRU_X YZ", "Y"}};
const Name too_few[] = {{"", ""}, {" \t\n ", ""}, {"F", ""}, {"FAN3:", ""}, {"FRU_X", ""}, {"  FRU_X  \t", ""}};

std::string run(size_t length, char c) {
    return std::string(length, c);
}

// Texts that fill their field or miss their NUL. A long first word counts with its first 39 characters, and does not
// reach into the second.
const Name hostile[] = {{run(300, 'F'), ""},
                        {run(256, 'F'), ""},
                        {run(256, ' '), ""},
                        {run(250, ' ') + "AB C D", "A"},
                        {"FRU_X " + run(250, 'y'), run(19, 'y')},
                        {run(200, 'F') + " " + run(55, 'z'), run(19, 'F')},
                        {"FRU_" + run(200, 'x') + " YZ: " + run(47, 'w'), "YZ"},
                        {run(36, 'x') + "PSU YZ: w", "YZ"},
                        {run(36, 'x') + "PSUPSU YZ: w", "YZ"},
                        {run(37, 'x') + "PSU YZ: w", run(19, 'x')}};

std::string name_of(const std::string &text) {
    std::string field;
    world().event_text = text;
    world().log.clear();
    filter([&field](fe_read_buf &request, fe_write_buf &) {
        field.assign(request.sensor_name, sizeof request.sensor_name);
        return 1;
    });
    EXPECT_EQ(process_sel_data(event().data()), 0);
    const std::string name = field.c_str();
    EXPECT_EQ(field, name + run(FE_SENSOR_NAME_SIZE - name.size(), '\0'));
    EXPECT_EQ(log_lines("Sensor Name"), Lines{"Sensor Name: " + name + "\n"});
    EXPECT_EQ(log_lines("\n\nSEL Event: " + text.substr(0, 255)).size(), 1U);
    return name;
}

TEST_F(SelRoad, SensorNameIsCutFromTheText) {
    for (const auto table :
         std::initializer_list<std::span<const Name>>{choices, white_space, short_words, too_few, hostile})
        for (const auto &[text, name] : table)
            EXPECT_EQ(name_of(text), name) << '"' << text << '"';
}

TEST_F(SelRoad, SensorNameHoldsNineteenCharacters) {
    for (const size_t length : {18U, 19U, 20U, 21U, 38U, 39U, 40U, 41U, 79U, 80U, 81U}) {
        const std::string word = ("abcdefghijklmnopqrstuvwxyz" + run(64, '-')).substr(0, length);
        const std::string name = word.substr(0, std::min<size_t>(length - 1, 19));
        EXPECT_EQ(name_of(word + " x"), name) << length;
        EXPECT_EQ(name_of("FRU_" + run(length, 'x') + ' ' + word), name) << length;
    }
}

} // namespace
