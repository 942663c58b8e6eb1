// Present sensor states, as words of which the engine's stale pass tests bits by the sensor's event/reading type:
//
//   0x01        bits 0 to 5: lower non-critical, critical, non-recoverable, upper ones; none set: recovered
//   0x02..0x0C  bit 8 + offset: a state of the sensor. Recovered with offset 1 of 02, 03, 08, 09 and 0A (0A: or 2), with
//               offset 0 of 04, 05, 06, 07 and 0B
//   0x6F        of power supplies, bit offset: recovered with no more than one state; of other sensors never
//   0x70        bit 8 + offset: recovered unless offsets 1 to 7 are all set
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/ipmi_access/capture_file.h"
#include "platform/ipmi_access/sdr_dump.h"

namespace ipmi_access {

using Readings = std::map<uint8_t, uint32_t>;

// One a line: sensor number and state word, as in "0x2e 0x0008"; "#" starts a comment. `path` is for the messages of
// CaptureError. A sensor may stand there once.
Readings parse_readings(std::string_view text, const std::string &path);

// What "ipmitool sensor" or "ipmi-sensors --output-event-bitmask" prints, translated; sensors are found by their labels. A
// sensor whose state is not told has no reading. Text without columns is taken as parse_readings() does. Throws CaptureError
// when it is neither.
Readings parse_sensor_list(const std::string &text, const std::string &path, const Sensors &sensors,
                           Warnings &warnings);

// The name by which such a line may call a sensor: without blanks at its ends, and without the bars between columns.
std::string listed_name(const Sensor &sensor);

// A sensor's states, however they were learned: a bit for each event offset, or for each threshold that is crossed.
using States = uint16_t;

// Out of the two bytes in which a BMC tells them, the lower offsets first; the topmost bit is reserved.
constexpr States states_of(unsigned first, unsigned second) {
    return static_cast<States>(first | (second & 0x7F) << 8);
}

// The word of a sensor that has these states.
uint32_t state_word(const Sensor &sensor, States states);

} // namespace ipmi_access
