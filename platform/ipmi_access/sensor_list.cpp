// Present states of sensors, as other programs print them.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>

#include "base/ipmi.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "platform/ipmi_access/readings.h"

namespace ipmi_access {
namespace {

// The stale rules find a discrete sensor's offset 0 in bit 8; a power supply's own states from bit 0 on.
constexpr unsigned first_state_bit = 8;
// The stale rules take a power supply with no more than one state for recovered. Only presence alone is well, so all else
// is told as two states.
constexpr uint32_t present = 0x01, present_and_failed = 0x03;
constexpr States crossed = 0x3F; // a threshold, whichever

std::string without_blanks(const std::string &text) {
    const size_t first = text.find_first_not_of(" \t\r");
    const size_t last = text.find_last_not_of(" \t\r");
    return first == text.npos ? "" : text.substr(first, last - first + 1);
}

std::vector<std::string> columns_of(const std::string &line) {
    std::vector<std::string> columns;
    std::istringstream rest(line);
    for (std::string column; std::getline(rest, column, '|');) {
        columns.push_back(without_blanks(column));
    }
    return columns;
}

std::optional<uint16_t> hexadecimal(const std::string &text) {
    char *end = nullptr;
    const unsigned long value = strtoul(text.c_str(), &end, 16);
    if (text.empty() || end == text.c_str() || (*end != '\0' && *end != 'h') || value > UINT16_MAX) {
        return std::nullopt;
    }
    return static_cast<uint16_t>(value);
}

// A line's name and the states that it says.
struct Line {
    std::string name;
    std::optional<States> states;
};

// "CPU Temp | 45.000 | degrees C | ok | ...", "PS1 Status | 0x1 | discrete | 0x0180 | ...": there the first byte holds
// states 0 to 7, the second states 8 to 14.
Line ipmitool_line(const std::vector<std::string> &columns) {
    constexpr std::string_view crossings[] = {"nc", "cr", "nr", "lnc", "lcr", "lnr", "unc", "ucr", "unr"};
    const std::string &status = columns[3];
    if (columns[2] == "discrete") {
        const auto word = status.starts_with("0x") ? hexadecimal(status) : std::nullopt;
        if (!word) {
            return {columns[0], std::nullopt};
        }
        return {columns[0], states_of(*word >> 8, *word & 0xFFU)};
    }
    if (status == "ok") {
        return {columns[0], States{0}};
    }
    const bool is_crossing = std::ranges::find(crossings, status) != std::end(crossings);
    return {columns[0], is_crossing ? std::optional(crossed) : std::nullopt};
}

// "12 | CPU Temp | Temperature | 45.00 | C | 0000h": the event bit mask stands last.
Line freeipmi_line(const std::vector<std::string> &columns) {
    return {columns[1], columns.back().ends_with('h') ? hexadecimal(columns.back()) : std::nullopt};
}

bool is_freeipmi(const std::vector<std::string> &columns) {
    return columns.size() >= 4 && !columns[0].empty() &&
           std::ranges::all_of(columns[0], [](char c) { return c >= '0' && c <= '9'; }) &&
           (columns.back().ends_with('h') || columns.back() == "N/A");
}

// Empty for a line that says nothing of a sensor: a heading, a blank one.
std::optional<Line> read_line(const std::string &text) {
    const std::vector<std::string> columns = columns_of(text);
    if (is_freeipmi(columns)) {
        return freeipmi_line(columns);
    }
    if (columns.size() >= 4 && columns[0] != "ID") {
        return ipmitool_line(columns);
    }
    return std::nullopt;
}

// The sensors of a name in order, each taken once: names may repeat.
class SensorsByName {
public:
    explicit SensorsByName(const Sensors &sensors) {
        for (const auto &sensor : sensors) {
            if (sensor) {
                names_[listed_name(*sensor)].push_back(&*sensor);
            }
        }
    }

    const Sensor *take(const std::string &name) {
        auto found = names_.find(name);
        if (found == names_.end() || found->second.empty()) {
            return nullptr;
        }
        const Sensor *sensor = found->second.front();
        found->second.erase(found->second.begin());
        return sensor;
    }

private:
    std::map<std::string, std::vector<const Sensor *>> names_;
};

} // namespace

std::string listed_name(const Sensor &sensor) {
    std::string name = without_blanks(sensor.label);
    std::ranges::replace(name, '|', '/');
    return name;
}

uint32_t state_word(const Sensor &sensor, States states) {
    const uint8_t type = sensor.event_type;
    if (type == event_type::threshold) {
        return states & crossed;
    }
    if ((type > event_type::threshold && type <= event_type::acpi_power) || type == event_type::oem_70) {
        return uint32_t{states} << first_state_bit;
    }
    if (type == event_type::sensor_specific && sensor.sensor_type == sensor_type::power_supply) {
        return states == present ? present : present_and_failed;
    }
    return states;
}

Readings parse_sensor_list(const std::string &text, const std::string &path, const Sensors &sensors,
                           Warnings &warnings) {
    if (text.find('|') == text.npos) {
        return parse_readings(text, path);
    }
    Readings readings;
    SensorsByName by_name(sensors);
    size_t strange = 0, lines = 0;
    std::istringstream rest(text);
    for (std::string row; std::getline(rest, row);) {
        const std::optional<Line> line = read_line(row);
        if (!line) {
            continue;
        }
        ++lines;
        const Sensor *sensor = by_name.take(line->name);
        strange += sensor == nullptr;
        if (sensor != nullptr && line->states) {
            readings[sensor->number] = state_word(*sensor, *line->states);
        }
    }
    if (lines == 0) {
        throw CaptureError(path + ": neither what \"ipmitool sensor\" nor what \"ipmi-sensors --output-event-bitmask\" "
                                  "prints");
    }
    if (strange != 0) {
        warnings.push_back(path + ": " + std::to_string(strange) + " of " + std::to_string(lines) +
                           " lines name no sensor of the sensor data records");
    }
    return readings;
}

} // namespace ipmi_access
