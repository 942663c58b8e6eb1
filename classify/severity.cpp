// The severity of an IPMI event, by tables: one for each event/reading type.
#include <array>
#include <cstdint>
#include <span>

#include "classify/event.h"
#include "fault_engine/classify.h"
#include "platform/fe_core/fe_core.h"

namespace {

using severity_code = int8_t;

constexpr severity_code refused = -1;   // the event raises no fault
constexpr severity_code unwritten = -2; // the event goes on with the severity that the request came with
constexpr severity_code cleared = FE_SEVERITY_CLEARED;
constexpr severity_code info = FE_SEVERITY_INFO;
constexpr severity_code warning = FE_SEVERITY_WARNING;
constexpr severity_code minor = FE_SEVERITY_MINOR;
constexpr severity_code major = FE_SEVERITY_MAJOR;
constexpr severity_code critical = FE_SEVERITY_CRITICAL;

enum direction_mask : uint8_t { asserted = 1, deasserted = 2, either = 3 }; // bit n: events of direction n

// Up to three codes of entities or sensor types; none means any. Code 0 stands in no rule.
using codes = std::array<uint8_t, 3>;
constexpr codes any = {};
constexpr codes any_memory = {entity_id::memory_module, entity_id::memory_board, entity_id::memory_device};

struct rule {
    uint8_t offset;
    direction_mask directions;
    codes entities;
    codes sensor_types;
    severity_code severity;
};

// Of the rules of one table, the first that holds decides.

constexpr rule threshold_rules[] = {
    {0, asserted, any, any, minor},
    {0, deasserted, any, any, cleared},

    {2, asserted, any, any, major},
    {2, deasserted, {entity_id::system_board}, any, cleared},
    {2, deasserted, any, {sensor_type::voltage}, cleared},
    {2, deasserted, any, any, minor},

    {4, asserted, any, any, critical},
    {4, deasserted, {entity_id::power_supply}, {sensor_type::temperature}, cleared},
    {4, deasserted, any, any, major},

    {7, asserted, {entity_id::system_board}, {sensor_type::system_event}, info},
    {7, asserted, any_memory, {sensor_type::temperature}, info},
    {7, asserted, any, any, minor},
    {7, deasserted, any, any, cleared},

    {9, asserted, {entity_id::system_board}, {sensor_type::system_event}, info},
    {9, asserted, {entity_id::memory_module}, {sensor_type::memory}, minor},
    {9, asserted, {entity_id::memory_device}, {sensor_type::temperature}, minor},
    {9, asserted, any, any, major},
    {9, deasserted, {entity_id::system_board}, {sensor_type::system_event}, info},
    {9, deasserted, any_memory, {sensor_type::temperature}, info},
    {9, deasserted, {entity_id::processor}, {sensor_type::temperature, sensor_type::current}, cleared},
    {9, deasserted, any, {sensor_type::voltage}, cleared},
    {9, deasserted, {entity_id::system_board}, {sensor_type::current, sensor_type::power_supply}, cleared},
    {9, deasserted, any, any, minor},

    {11, asserted, {entity_id::system_board}, {sensor_type::system_event}, info},
    {11, asserted, any, {sensor_type::memory}, major},
    {11, asserted, any, any, critical},
    {11, deasserted, {entity_id::system_board}, {sensor_type::system_event}, info},
    {11, deasserted, any, {sensor_type::memory}, cleared},
    {11, deasserted, any, any, major},
};

constexpr rule digital_rules[] = {
    {0, either, {entity_id::power_supply}, {sensor_type::power_supply}, critical},
    {0, either, {entity_id::system_chassis}, {sensor_type::physical_security}, warning},
    {0, either, any, any, info},
    {1, either, any, any, cleared},
};

constexpr rule predictive_failure_rules[] = {
    {0, either, any, any, cleared},
    {1, either, {entity_id::processor, entity_id::system_board}, any, critical},
    {1, either, {entity_id::power_supply}, {sensor_type::power_supply}, critical},
    {1, either, any, any, warning},
};

constexpr rule limit_rules[] = {
    {0, either, any, any, cleared},
    {1, either, {entity_id::processor, entity_id::system_board, entity_id::add_in_card}, any, major},
    {1, either, any, any, warning},
};

constexpr rule performance_rules[] = {
    {0, either, any, any, cleared},
    {1, either, {entity_id::processor, entity_id::system_board}, any, critical},
    {1, either, any, any, warning},
};

constexpr rule device_presence_rules[] = {
    {0, either, {entity_id::system_board, entity_id::system_firmware}, any, critical},
    {0, either, {entity_id::processor}, {sensor_type::entity_presence}, info},
    {0, either, any, any, warning},
    {1, either, any, any, cleared},
};

// By the offset alone; offsets past the end are refused.
constexpr severity_code dmi_usage[] = {info, cleared, info};
// clang-format off
constexpr severity_code severity_transitions[] = {cleared, minor, major, critical, minor, major, critical, warning, info};
// clang-format on
constexpr severity_code device_enabled[] = {critical, cleared};
constexpr severity_code availability[] = {cleared, info, critical, cleared, major, minor, minor, warning, info};
constexpr severity_code redundancy[] = {cleared, major, major, major, major, major, major, major};
constexpr severity_code acpi_power[] = {info, info, info, info};

// By offset and direction.
struct both_directions {
    severity_code assertion;
    severity_code deassertion;
};

// clang-format off

// Sensor-specific events. A row is an offset.
struct sensor_specific_row {
    both_directions power_supply;
    both_directions drive_slot;
    both_directions slot_connector;
};
constexpr sensor_specific_row sensor_specific_events[] = {
    {{cleared, warning},  {cleared, warning}, {critical, cleared}},
    {{critical, cleared}, {warning, cleared}, {info, cleared}},
    {{critical, cleared}, {warning, cleared}, {cleared, critical}},
    {{major, cleared},    {info, cleared},    {info, cleared}},
    {{warning, cleared},  {info, cleared},    {info, cleared}},
    {{warning, cleared},  {warning, cleared}, {info, cleared}},
    {{critical, cleared}, {major, cleared},   {info, cleared}},
    {{refused, refused},  {info, cleared},    {info, cleared}},
    {{refused, refused},  {warning, cleared}, {info, cleared}},
    {{refused, refused},  {refused, refused}, {info, cleared}},
};

// OEM type 0x70. A row is an offset.
constexpr both_directions oem_70_events[] = {
    {refused, refused},
    {cleared, warning},
    {cleared, warning},
    {cleared, warning},
    {cleared, warning},
    {cleared, warning},
    {cleared, warning},
    {cleared, warning},
};

// clang-format on

// OEM type 0x7F. A row is an offset from oem_7f_first_offset on; no other offset has one.
struct oem_7f_row {
    severity_code drive_slot;
    severity_code slot_connector;
};
constexpr oem_7f_row oem_7f_events[] = {
    {cleared, cleared},
    {warning, warning},
    {refused, warning},
    {refused, cleared},
};
constexpr oem_7f_row oem_7f_other_offsets = {refused, unwritten};

constexpr bool holds(const codes &set, uint32_t code) {
    return set[0] == 0 || (code != 0 && (set[0] == code || set[1] == code || set[2] == code));
}

constexpr severity_code first_match(std::span<const rule> rules, const ipmi_event &event, uint32_t entity) {
    for (const rule &r : rules) {
        if (r.offset == event.offset && (r.directions & (1U << event.direction)) != 0 && holds(r.entities, entity) &&
            holds(r.sensor_types, event.sensor_type)) {
            return r.severity;
        }
    }
    return refused;
}

constexpr severity_code at_offset(std::span<const severity_code> severities, uint8_t offset) {
    return offset < severities.size() ? severities[offset] : refused;
}

constexpr severity_code in_direction(const both_directions &both, uint8_t direction) {
    return direction == 0 ? both.assertion : both.deassertion;
}

constexpr severity_code sensor_specific_severity(const ipmi_event &event) {
    if (event.offset >= std::size(sensor_specific_events)) {
        return refused;
    }
    const sensor_specific_row &row = sensor_specific_events[event.offset];
    switch (event.sensor_type) {
    case sensor_type::power_supply: return in_direction(row.power_supply, event.direction);
    case sensor_type::drive_slot: return in_direction(row.drive_slot, event.direction);
    case sensor_type::slot_connector: return in_direction(row.slot_connector, event.direction);
    default: return refused;
    }
}

constexpr severity_code oem_70_severity(const ipmi_event &event) {
    return event.offset < std::size(oem_70_events) ? in_direction(oem_70_events[event.offset], event.direction)
                                                   : refused;
}

constexpr severity_code oem_7f_severity(const ipmi_event &event) {
    const int row = event.offset - oem_7f_first_offset;
    const bool has_row = row >= 0 && row < static_cast<int>(std::size(oem_7f_events));
    const oem_7f_row &severities = has_row ? oem_7f_events[row] : oem_7f_other_offsets;
    switch (event.sensor_type) {
    case sensor_type::drive_slot: return severities.drive_slot;
    case sensor_type::slot_connector: return severities.slot_connector;
    default: return refused;
    }
}

constexpr severity_code severity_of(const ipmi_event &event, uint32_t entity) {
    switch (event.type) {
    case event_type::threshold: return first_match(threshold_rules, event, entity);
    case event_type::dmi_usage: return at_offset(dmi_usage, event.offset);
    case event_type::digital: return first_match(digital_rules, event, entity);
    case event_type::predictive_failure: return first_match(predictive_failure_rules, event, entity);
    case event_type::limit: return first_match(limit_rules, event, entity);
    case event_type::performance: return first_match(performance_rules, event, entity);
    case event_type::severity: return at_offset(severity_transitions, event.offset);
    case event_type::device_presence: return first_match(device_presence_rules, event, entity);
    case event_type::device_enabled: return at_offset(device_enabled, event.offset);
    case event_type::availability: return at_offset(availability, event.offset);
    case event_type::redundancy: return at_offset(redundancy, event.offset);
    case event_type::acpi_power: return at_offset(acpi_power, event.offset);
    case event_type::sensor_specific: return sensor_specific_severity(event);
    case event_type::oem_70: return oem_70_severity(event);
    case event_type::oem_7f: return oem_7f_severity(event);
    default: return refused;
    }
}

} // namespace

int32_t fe_get_severity(fe_read_buf *request, const sensor_data_record *sensor, const uint8_t *sel_bytes) {
    const uint32_t entity = sensor->entity_id;
    const ipmi_event event = event_of(sel_bytes);
    if (entity == entity_id::system_board && event.type == event_type::oem_7f) {
        return -1;
    }
    fe_logger("entity_id = %x eventType = %x, eventDir = %d, offset1 = %x sens_num=%d sens_type= %x\n", entity,
              unsigned{event.type}, int{event.direction}, unsigned{event.offset}, static_cast<int>(request->sens_num),
              unsigned{event.sensor_type});
    request->eventType = event.type;

    int32_t result = -1;
    const severity_code severity = severity_of(event, entity);
    if (severity != refused) {
        if (severity != unwritten) {
            request->vemoFaultSeverity = severity;
        }
        result = get_fault_num(request, sensor, sel_bytes);
    }
    fe_logger("Out of fe_get_severity switch case severity = %d fault_code = %u err: %d\n", request->vemoFaultSeverity,
              static_cast<unsigned>(request->fe_fault_num), result);
    return result;
}
