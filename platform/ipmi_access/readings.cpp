#include "platform/ipmi_access/readings.h"

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "platform/ipmi_access/ipmi_access_host.h"

namespace ipmi_access {
namespace {

std::optional<uint32_t> number_up_to(const std::string &word, uint32_t limit) {
    const int base = word.starts_with("0x") || word.starts_with("0X") ? 16 : 10;
    char *end = nullptr;
    errno = 0;
    const unsigned long value = strtoul(word.c_str(), &end, base);
    if (word.empty() || word[0] == '-' || *end != '\0' || errno != 0 || value > limit) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(value);
}

// Null when all is well.
const char *add_reading(Readings &readings, const std::string &line) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string number_word, state_word, surplus;
    if (!(words >> number_word)) {
        return nullptr;
    }
    words >> state_word >> surplus;
    const auto number = number_up_to(number_word, UINT8_MAX);
    const auto state = number_up_to(state_word, UINT32_MAX);
    if (!number) {
        return "the sensor number is not one of 0 to 255";
    }
    if (!state || !surplus.empty()) {
        return "a sensor number and its state bits belong here, as in \"0x2e 0x0008\"";
    }
    return readings.emplace(static_cast<uint8_t>(*number), *state).second ? nullptr
                                                                          : "the sensor has a reading already";
}

} // namespace

Readings parse_readings(std::string_view text, const std::string &path) {
    Readings readings;
    std::istringstream lines{std::string(text)};
    std::string line;
    for (unsigned number = 1; std::getline(lines, line); ++number) {
        if (const char *wrong = add_reading(readings, line)) {
            throw CaptureError(path + ": line " + std::to_string(number) + ": " + wrong);
        }
    }
    return readings;
}

} // namespace ipmi_access
