#include "bench/server.h"

#include <iterator>
#include <string>

#include "bench/neighbours.h"
#include "fault_engine/engine.h"

namespace {

struct Kind {
    uint8_t entity;
    uint8_t sensor_type;
    uint8_t event_type;
    uint8_t fault_offset;     // of the event that reports the fault
    uint8_t clearing_offset;  // of the one that clears it
    uint8_t clearing_dir_bit; // 0x80: by deassertion
    int32_t fault_code;       // some have related ones
    const char *text;         // %: the instance
};

constexpr Kind kinds[] = {
    {3, 0x01, 0x01, 0, 0, 0x80, 175, "P%_TEMP_SENS: Temperature Lower Non-critical going low"},
    {7, 0x02, 0x01, 2, 2, 0x80, 921, "P12V_RAIL%: Voltage Lower Critical going low"},
    {10, 0x08, 0x6F, 1, 1, 0x80, 369, "PSU% PSU%_STATUS: Power Supply Failure detected"},
    {29, 0x04, 0x01, 0, 0, 0x80, 391, "FAN%_RPM: Fan Lower Non-critical going low"},
    {32, 0x01, 0x01, 7, 7, 0x80, 187, "DDR4_P1_A%_TEMP: Temperature Upper Non-critical going high"},
    {23, 0x05, 0x03, 0, 1, 0x00, 2600, "CHASSIS%_INTR: Physical Security State asserted"},
    {4, 0x0D, 0x6F, 1, 1, 0x80, 2700, "HDD%_STATUS: Drive Slot Drive Fault"},
    {208, 0x08, 0x0B, 1, 0, 0x00, 2501, "RAID%_STATE: Redundancy Lost"},
};
static_assert(server::sensors % std::size(kinds) == 0);

const Kind &kind_of(unsigned sensor) {
    return kinds[sensor % std::size(kinds)];
}

std::string text_of(const Kind &kind, unsigned instance) {
    std::string text;
    for (const char *at = kind.text; *at != '\0'; ++at) {
        text += *at == '%' ? static_cast<char>('0' + instance) : *at;
    }
    return text;
}

sel_record event(unsigned sensor, uint8_t dir_bit, uint8_t offset) {
    const Kind &kind = kind_of(sensor);
    return {
        .record_id = {1, 0},
        .record_type = 0x02,
        .timestamp = {0x48, 0x2F, 0x22, 0x69},
        .generator_id = {0x20, 0x00},
        .format_revision = 0x04,
        .sensor_type = kind.sensor_type,
        .sensor_number = static_cast<uint8_t>(sensor),
        .event_dir_type = static_cast<uint8_t>(kind.event_type | dir_bit),
        .event_data = {offset, 0xFF, 0xFF},
    };
}

} // namespace

void server::describe() {
    for (unsigned sensor = 0; sensor < sensors; ++sensor) {
        const Kind &kind = kind_of(sensor);
        const auto instance = static_cast<uint8_t>(1 + sensor / std::size(kinds));
        neighbours::describe(static_cast<uint8_t>(sensor), kind.entity, instance, kind.sensor_type, kind.event_type,
                             kind.fault_code, text_of(kind, instance));
    }
    init_sdr_lookup();
}

sel_record server::fault_event(unsigned sensor) {
    return event(sensor, 0, kind_of(sensor).fault_offset);
}

sel_record server::clearing_event(unsigned sensor) {
    const Kind &kind = kind_of(sensor);
    return event(sensor, kind.clearing_dir_bit, kind.clearing_offset);
}
