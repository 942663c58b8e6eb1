// Sensor data records, as `ipmitool sdr dump` writes them: for each record a 5-byte header (id, version 0x51, type,
// length) and `length` bytes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/ipmi_access/capture_file.h"

namespace ipmi_access {

struct Sensor {
    uint8_t record_type; // 1 full, 2 compact, 3 event-only
    uint8_t owner;       // as in a SEL record's generator id: 0x20 is the BMC, odd ones are system software
    uint8_t lun;         // at which the owner has it
    uint8_t number;
    uint8_t entity_id;
    uint8_t entity_instance; // without the flag for logical entities
    uint8_t sensor_type;
    uint8_t event_type;
    std::string name;  // one word for the engine: without blanks; "#0x2e" where the record has no name
    std::string label; // for people: as the record has it, in UTF-8; else as `name`
};

// By sensor number. A number that comes again under another owner or lun is the first record's.
using Sensors = std::array<std::optional<Sensor>, 256>;

// One sensor for each that a record stands for; records of other types describe none. A name that runs past its record is
// cut there. A record that is too short for its type, or of another version, is passed over with a warning. `path` is for
// these and for the messages of CaptureError, which is thrown for a dump that is cut off, or in which wrong
// records outnumber right ones by two on the way or by one at the end.
Sensors parse_sdr_dump(std::span<const uint8_t> dump, const std::string &path, Warnings &warnings);

// "#0x2e": name of a sensor without one.
std::string unnamed_sensor(uint32_t sensor_number);

} // namespace ipmi_access
