// IPMI's numbers, those that the library, the stand-ins or the tool tell apart.
#pragma once

#include <cstdint>

inline constexpr uint8_t bmc_owner = 0x20; // slave address of the BMC: owner of its sensors, generator of its events

namespace sel_record_type { // IPMI v2.0, table 32-1
inline constexpr uint8_t system_event = 0x02;
inline constexpr uint8_t first_oem = 0xC0;              // 0xC0..0xFF: the maker's own, about no sensor
inline constexpr uint8_t first_oem_without_time = 0xE0; // 0xE0..0xFF: without a time stamp, too

constexpr bool is_known(uint8_t type) {
    return type == system_event || type >= first_oem;
}
} // namespace sel_record_type

namespace event_type { // IPMI v2.0, tables 42-1 and 42-2
inline constexpr uint8_t threshold = 0x01;
inline constexpr uint8_t dmi_usage = 0x02;
inline constexpr uint8_t digital = 0x03;
inline constexpr uint8_t predictive_failure = 0x04;
inline constexpr uint8_t limit = 0x05;
inline constexpr uint8_t performance = 0x06;
inline constexpr uint8_t severity = 0x07;
inline constexpr uint8_t device_presence = 0x08;
inline constexpr uint8_t device_enabled = 0x09;
inline constexpr uint8_t availability = 0x0A;
inline constexpr uint8_t redundancy = 0x0B;
inline constexpr uint8_t acpi_power = 0x0C;
inline constexpr uint8_t sensor_specific = 0x6F;
inline constexpr uint8_t oem_70 = 0x70;
inline constexpr uint8_t oem_7f = 0x7F;
} // namespace event_type

namespace sensor_type { // IPMI v2.0, table 42-3
inline constexpr uint8_t temperature = 0x01;
inline constexpr uint8_t voltage = 0x02;
inline constexpr uint8_t current = 0x03;
inline constexpr uint8_t fan = 0x04;
inline constexpr uint8_t physical_security = 0x05;
inline constexpr uint8_t processor = 0x07;
inline constexpr uint8_t power_supply = 0x08;
inline constexpr uint8_t power_unit = 0x09;
inline constexpr uint8_t memory = 0x0C;
inline constexpr uint8_t drive_slot = 0x0D;
inline constexpr uint8_t system_firmware = 0x0F;
inline constexpr uint8_t event_logging_disabled = 0x10;
inline constexpr uint8_t system_event = 0x12;
inline constexpr uint8_t critical_interrupt = 0x13;
inline constexpr uint8_t add_in_card = 0x17;
inline constexpr uint8_t slot_connector = 0x21;
inline constexpr uint8_t watchdog = 0x23;
inline constexpr uint8_t entity_presence = 0x25;
inline constexpr uint8_t management_subsystem = 0x28;
inline constexpr uint8_t battery = 0x29;
} // namespace sensor_type

namespace entity_id { // IPMI v2.0, table 43-13
inline constexpr uint8_t processor = 3;
inline constexpr uint8_t disk = 4; // disk or disk bay
inline constexpr uint8_t system_board = 7;
inline constexpr uint8_t memory_module = 8;
inline constexpr uint8_t power_supply = 10;
inline constexpr uint8_t add_in_card = 11;
inline constexpr uint8_t front_panel_board = 12;
inline constexpr uint8_t power_system_board = 14;
inline constexpr uint8_t drive_backplane = 15;
inline constexpr uint8_t expansion_board = 16;  // system internal expansion board
inline constexpr uint8_t power_module = 20;     // DC-to-DC converter
inline constexpr uint8_t power_management = 21; // power management or distribution board
inline constexpr uint8_t system_chassis = 23;
inline constexpr uint8_t memory_board = 25; // "other chassis board" in IPMI; a memory board here
inline constexpr uint8_t fan = 29;
inline constexpr uint8_t memory_device = 32;
inline constexpr uint8_t system_firmware = 34;
inline constexpr uint8_t controller_firmware = 46; // management controller firmware
inline constexpr uint8_t pci_express_bus = 49;
// OEM, named after the entity filter's handlers. All of 208 to 215 count as storage in the fault table.
inline constexpr uint8_t storage_0 = 208;
inline constexpr uint8_t storage_1 = 209;
inline constexpr uint8_t storage_2 = 210;
inline constexpr uint8_t storage_3 = 211;
inline constexpr uint8_t plax_0 = 212;
inline constexpr uint8_t plax_1 = 213;
inline constexpr uint8_t plax_2 = 214;
inline constexpr uint8_t plax_3 = 215;
inline constexpr uint8_t cmc = 216;
} // namespace entity_id
