#include "platform/entity_filter/fault_codes.h"

#include <algorithm>
#include <span>

#include "base/ipmi.h"
#include "fault_engine/fault_request.h"
#include "platform/entity_filter/entity_filter_host.h"

namespace entity_filter {
namespace {

using namespace sensor_type;

// Probable causes.
enum Cause : int32_t {
    fsm_failed = 3,
    inoperable = 214,
    thermal = 215,
    voltage_problem = 216,
    degraded = 218,
    missing = 238,
    log_capacity = 338,
    power_problem = 344,
    disabled = 388
};

// The six thresholds. Levels count from non-critical to non-recoverable in both directions.
enum Threshold : uint8_t { lower_nc, lower_cr, lower_nr, upper_nc, upper_cr, upper_nr };
constexpr const char *level_names[] = {"non-critical", "critical", "non-recoverable"};

// Fault numbers of threshold events. Numbers that stand for both directions are listed as the upper one.
struct ThresholdNumbers {
    Threshold threshold;
    std::array<int32_t, 12> numbers; // 0 ends them
};
constexpr ThresholdNumbers threshold_numbers[] = {
    {lower_nc, {3, 114}},
    {lower_cr, {4, 96, 115}},
    {lower_nr, {5, 97, 116}},
    {upper_nc, {6, 48, 52, 56, 66, 75, 105, 108, 117}},
    {upper_cr, {7, 45, 49, 53, 57, 67, 71, 76, 99, 106, 109, 118}},
    {upper_nr, {8, 46, 50, 54, 58, 68, 72, 77, 100, 107, 110, 119}},
};

// Codes of a measurement by threshold, lower ones first.
struct Measurement {
    EntityClass entity;
    uint8_t sensor_type;
    std::array<int32_t, 6> codes;
};
constexpr Measurement measurements[] = {
    {EntityClass::processor, temperature, {175, 176, 177, 175, 176, 177}},
    {EntityClass::processor, voltage, {178, 179, 180, 178, 179, 180}},
    {EntityClass::memory, temperature, {186, 187, 188, 186, 187, 188}},
    {EntityClass::memory, memory, {189, 190, 191, 189, 190, 191}},
    {EntityClass::power, temperature, {380, 382, 384, 380, 382, 384}},
    {EntityClass::power, voltage, {381, 383, 385, 381, 383, 385}},
    {EntityClass::power, current, {387, 389, 391, 387, 389, 391}},
    {EntityClass::power, fan, {392, 393, 394, 392, 393, 394}},
    {EntityClass::power, power_supply, {395, 396, 397, 395, 396, 397}},
    {EntityClass::fan, fan, {392, 393, 394, 392, 393, 394}},
    {EntityClass::front_panel, temperature, {410, 409, 411, 410, 409, 411}},
    {EntityClass::board, current, {535, 536, 537, 535, 536, 537}},
    {EntityClass::board, temperature, {538, 539, 540, 538, 539, 540}},
    {EntityClass::board, voltage, {921, 921, 919, 920, 920, 918}},
    {EntityClass::add_in, temperature, {729, 730, 731, 729, 730, 731}},
    {EntityClass::pci, temperature, {729, 730, 731, 729, 730, 731}},
};

// Codes of our own, for what the lists here don't know.
constexpr int32_t own_code_of_number = 3000;      // + fault number
constexpr int32_t own_code_of_sensor_type = 4000; // + sensor type

// Events without levels, by fault number.
constexpr int any_sensor_type = -1;
struct DiscreteFault {
    EntityClass entity;
    int32_t number;
    int sensor_type;
    int32_t code;
    int32_t related;
    int32_t probable_cause;
    const char *detail;
};
constexpr DiscreteFault discrete_faults[] = {
    {EntityClass::processor, 120, processor, 174, 0, inoperable, "state"},
    {EntityClass::processor, 120, entity_presence, 842, 0, disabled, "missing"},
    {EntityClass::power, 30, any_sensor_type, own_code_of_number + 30, 0, missing, "missing"},
    {EntityClass::power, 32, any_sensor_type, own_code_of_number + 32, 0, power_problem, "input lost"},
    {EntityClass::power, 33, any_sensor_type, own_code_of_number + 33, 0, power_problem, "input lost or out of range"},
    {EntityClass::power, 34, any_sensor_type, own_code_of_number + 34, 0, power_problem, "input out of range"},
    {EntityClass::power, 60, any_sensor_type, 371, 373, degraded, "redundancy"},
    {EntityClass::power, 61, any_sensor_type, 371, 373, degraded, "redundancy"},
    {EntityClass::power, 62, any_sensor_type, 373, 371, degraded, "redundancy"},
    {EntityClass::power, 883, any_sensor_type, 369, 0, power_problem, "failure"},
    {EntityClass::firmware, 103, any_sensor_type, 517, 0, fsm_failed, "failure"},
};

constexpr int32_t no_fault_number = 0;
constexpr int32_t logical_entity_event = 120; // any event of such an entity but thresholds: says nothing about it

struct SensorKind {
    uint8_t sensor_type;
    int32_t probable_cause; // 0: by severity
    const char *name;
};
constexpr SensorKind sensor_types[] = {
    {temperature, thermal, "Temperature"},
    {voltage, voltage_problem, "Voltage"},
    {current, power_problem, "Current"},
    {fan, 0, "Fan"},
    {physical_security, 0, "Physical security"},
    {processor, 0, "Processor"},
    {power_supply, power_problem, "Power supply"},
    {power_unit, power_problem, "Power unit"},
    {memory, 0, "Memory"},
    {drive_slot, 0, "Drive slot"},
    {system_firmware, fsm_failed, "System firmware"},
    {event_logging_disabled, log_capacity, "Event log"},
    {system_event, 0, "System event"},
    {critical_interrupt, 0, "Critical interrupt"},
    {add_in_card, 0, "Add-in card"},
    {slot_connector, 0, "Slot or connector"},
    {watchdog, 0, "Watchdog"},
    {entity_presence, missing, "Entity presence"},
    {management_subsystem, 0, "Management subsystem"},
    {battery, power_problem, "Battery"},
};

struct EntityName {
    uint8_t entity_id;
    const char *name;
};
constexpr EntityName entity_names[] = {
    {entity_id::processor, "processor"},
    {entity_id::disk, "drive"},
    {entity_id::system_board, "system-board"},
    {entity_id::memory_module, "memory-module"},
    {entity_id::power_supply, "power-supply"},
    {entity_id::add_in_card, "add-in-card"},
    {entity_id::front_panel_board, "front-panel"},
    {entity_id::power_system_board, "power-system-board"},
    {entity_id::drive_backplane, "backplane"},
    {entity_id::expansion_board, "expansion-board"},
    {entity_id::power_module, "power-module"},
    {entity_id::power_management, "power-distribution"},
    {entity_id::system_chassis, "chassis"},
    {entity_id::memory_board, "chassis-board"},
    {entity_id::fan, "fan"},
    {entity_id::memory_device, "memory-device"},
    {entity_id::system_firmware, "firmware"},
    {entity_id::controller_firmware, "node-manager"},
    {entity_id::pci_express_bus, "pci-bus"},
    {entity_id::cmc, "chassis-controller"},
};

const SensorKind *find_sensor_type(uint8_t sensor_type) {
    const auto *found = std::ranges::find(sensor_types, sensor_type, &SensorKind::sensor_type);
    return found == std::end(sensor_types) ? nullptr : found;
}

// A fault number that says no threshold leaves the severity to tell the level.
Threshold threshold_of(const fe_read_buf &request) {
    if (request.fe_fault_num != no_fault_number) {
        for (const ThresholdNumbers &row : threshold_numbers) {
            if (std::ranges::find(row.numbers, request.fe_fault_num) != row.numbers.end()) {
                return row.threshold;
            }
        }
    }
    switch (request.vemoFaultSeverity) {
    case FE_SEVERITY_CRITICAL: return upper_nr;
    case FE_SEVERITY_MAJOR: return upper_cr;
    default: return upper_nc;
    }
}

std::array<int32_t, 6> codes_of(EntityClass entity, uint8_t sensor_type) {
    for (const Measurement &measurement : measurements) {
        if (measurement.entity == entity && measurement.sensor_type == sensor_type) {
            return measurement.codes;
        }
    }
    const int32_t first = own_threshold_codes + 3 * sensor_type;
    return {first, first + 1, first + 2, first, first + 1, first + 2};
}

// The other codes of the group, each once.
std::array<int32_t, 6> related_to(int32_t code, std::span<const int32_t> group) {
    std::array<int32_t, 6> related{};
    auto end = related.begin();
    for (const int32_t other : group) {
        if (other != code && std::find(related.begin(), end, other) == end) {
            *end++ = other;
        }
    }
    return related;
}

int32_t cause_of(const fe_read_buf &request) {
    if (request.eventType == event_type::predictive_failure || request.eventType == event_type::redundancy) {
        return degraded;
    }
    const SensorKind *type = find_sensor_type(request.entity_type);
    if (type != nullptr && type->probable_cause != 0) {
        return type->probable_cause;
    }
    return request.vemoFaultSeverity >= FE_SEVERITY_MAJOR ? inoperable : degraded;
}

FaultChoice choose_threshold_fault(EntityClass entity, const fe_read_buf &request) {
    const Threshold threshold = threshold_of(request);
    const std::array<int32_t, 6> codes = codes_of(entity, request.entity_type);
    return {codes[threshold], related_to(codes[threshold], codes), cause_of(request), level_names[threshold % 3]};
}

} // namespace

FaultChoice choose_fault(EntityClass entity, const fe_read_buf &request) {
    if (request.eventType == event_type::threshold) {
        return choose_threshold_fault(entity, request);
    }
    for (const DiscreteFault &fault : discrete_faults) {
        if (fault.entity == entity && fault.number == request.fe_fault_num &&
            (fault.sensor_type == any_sensor_type || fault.sensor_type == request.entity_type)) {
            return {fault.code, {fault.related}, fault.probable_cause, fault.detail};
        }
    }
    const bool known = request.fe_fault_num != no_fault_number && request.fe_fault_num != logical_entity_event;
    return {known ? own_code_of_number + request.fe_fault_num : own_code_of_sensor_type + request.entity_type,
            {},
            cause_of(request),
            "fault"};
}

const char *sensor_type_name(uint8_t sensor_type) {
    const SensorKind *found = find_sensor_type(sensor_type);
    return found == nullptr ? nullptr : found->name;
}

const char *entity_name(uint8_t entity_id) {
    const auto *found = std::ranges::find(entity_names, entity_id, &EntityName::entity_id);
    return found == std::end(entity_names) ? nullptr : found->name;
}

} // namespace entity_filter
