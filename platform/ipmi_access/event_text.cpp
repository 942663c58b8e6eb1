#include "platform/ipmi_access/event_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>

namespace ipmi_access {
namespace {

// Words by event offset; null where an offset has none.
struct EventWords {
    uint8_t type;
    std::array<const char *, 13> words;
};

// By event/reading type (IPMI v2.0, table 42-2).
constexpr EventWords generic_events[] = {
    {0x01,
     {"Lower Non-critical going low", "Lower Non-critical going high", "Lower Critical going low",
      "Lower Critical going high", "Lower Non-recoverable going low", "Lower Non-recoverable going high",
      "Upper Non-critical going low", "Upper Non-critical going high", "Upper Critical going low",
      "Upper Critical going high", "Upper Non-recoverable going low", "Upper Non-recoverable going high"}},
    {0x02, {"Transition to Idle", "Transition to Active", "Transition to Busy"}},
    {0x03, {"State Deasserted", "State Asserted"}},
    {0x04, {"Predictive Failure Deasserted", "Predictive Failure Asserted"}},
    {0x05, {"Limit Not Exceeded", "Limit Exceeded"}},
    {0x06, {"Performance Met", "Performance Lags"}},
    {0x07,
     {"Transition to OK", "Transition to Non-critical from OK", "Transition to Critical from less severe",
      "Transition to Non-recoverable from less severe", "Transition to Non-critical from more severe",
      "Transition to Critical from Non-recoverable", "Transition to Non-recoverable", "Monitor", "Informational"}},
    {0x08, {"Device Absent", "Device Present"}},
    {0x09, {"Device Disabled", "Device Enabled"}},
    {0x0A,
     {"Transition to Running", "Transition to In Test", "Transition to Power Off", "Transition to On Line",
      "Transition to Off Line", "Transition to Off Duty", "Transition to Degraded", "Transition to Power Save",
      "Install Error"}},
    {0x0B,
     {"Fully Redundant", "Redundancy Lost", "Redundancy Degraded", "Non-Redundant: Sufficient from Redundant",
      "Non-Redundant: Sufficient from Insufficient", "Non-Redundant: Insufficient Resources",
      "Redundancy Degraded from Fully Redundant", "Redundancy Degraded from Non-Redundant"}},
    {0x0C, {"D0 Power State", "D1 Power State", "D2 Power State", "D3 Power State"}},
};

// By sensor type, for event/reading type 0x6F (IPMI v2.0, table 42-3).
constexpr EventWords sensor_specific_events[] = {
    {0x05,
     {"General Chassis intrusion", "Drive Bay intrusion", "I/O Card area intrusion", "Processor area intrusion",
      "System unplugged from LAN", "Unauthorized dock", "FAN area intrusion"}},
    {0x07,
     {"IERR", "Thermal Trip", "FRB1/BIST failure", "FRB2/Hang in POST failure", "FRB3/Processor startup/init failure",
      "Configuration Error", "SM BIOS Uncorrectable CPU-complex Error", "Presence detected", "Disabled",
      "Terminator presence detected", "Throttled", "Uncorrectable machine check exception",
      "Correctable machine check error"}},
    {0x08,
     {"Presence detected", "Failure detected", "Predictive failure", "Power Supply AC lost", "AC lost or out-of-range",
      "AC out-of-range, but present", "Config Error", "Power Supply Inactive"}},
    {0x09,
     {"Power off/down", "Power cycle", "240VA power down", "Interlock power down", "AC lost",
      "Soft-power control failure", "Failure detected", "Predictive failure"}},
    {0x0C,
     {"Correctable ECC", "Uncorrectable ECC", "Parity", "Memory Scrub Failed", "Memory Device Disabled",
      "Correctable ECC logging limit reached", "Presence Detected", "Configuration Error", "Spare",
      "Memory Automatically Throttled", "Critical Overtemperature"}},
    {0x0D,
     {"Drive Present", "Drive Fault", "Predictive Failure", "Hot Spare", "Parity Check In Progress",
      "In Critical Array", "In Failed Array", "Rebuild In Progress", "Rebuild Aborted"}},
    {0x0F, {"System Firmware Error", "System Firmware Hang", "System Firmware Progress"}},
    {0x10,
     {"Correctable memory error logging disabled", "Event logging disabled", "Log area reset/cleared",
      "All event logging disabled", "Log full", "Log almost full"}},
    {0x12,
     {"System Reconfigured", "OEM System boot event", "Undetermined system hardware failure",
      "Entry added to auxiliary log", "PEF Action", "Timestamp Clock Sync"}},
    {0x13,
     {"NMI/Diag Interrupt", "Bus Timeout", "I/O Channel check NMI", "Software NMI", "PCI PERR", "PCI SERR",
      "EISA failsafe timeout", "Bus Correctable error", "Bus Uncorrectable error", "Fatal NMI", "Bus Fatal Error",
      "Bus Degraded"}},
    {0x21,
     {"Fault Status", "Identify Status", "Device Installed", "Ready for Device Installation",
      "Ready for Device Removal", "Slot Power is Off", "Device Removal Request", "Interlock", "Slot is Disabled",
      "Spare Device"}},
    {0x25, {"Present", "Absent", "Disabled"}},
    {0x29, {"Low", "Failed", "Presence Detected"}},
};

constexpr uint8_t sensor_specific = 0x6F;

const char *find_words(std::span<const EventWords> table, uint8_t type, uint8_t offset) {
    const auto found = std::ranges::find(table, type, &EventWords::type);
    return found == table.end() || offset >= found->words.size() ? nullptr : found->words[offset];
}

std::string event_words(const Event &event) {
    const char *words = event.event_type == sensor_specific
                            ? find_words(sensor_specific_events, event.sensor_type, event.offset)
                            : find_words(generic_events, event.event_type, event.offset);
    if (words != nullptr)
        return words;
    char unknown[24];
    snprintf(unknown, sizeof unknown, "Event Offset 0x%x", event.offset);
    return unknown;
}

bool name_is_second_word(const std::string &name) {
    return name.starts_with("FRU_") || (name.find("PSU") != std::string::npos && !name.starts_with("LED_PSU"));
}

} // namespace

std::string event_text(const std::string &sensor_name, const Event &event) {
    const std::string first = name_is_second_word(sensor_name) ? sensor_name + ' ' : "";
    return first + sensor_name + ": " + event_words(event) + (event.deasserted ? " - Deasserted" : "");
}

} // namespace ipmi_access
