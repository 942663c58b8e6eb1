// Whether a sensor's present state still reports a fault.
#include <bit>

#include "base/ipmi.h"
#include "fault_table/update.h"

namespace {

enum class stale_when {
    none_set,          // no bit of the mask is set
    any_set,           // a bit of the mask is set
    any_set_or_just_0, // a bit of the mask is set, or bit 0 is the only one of all
    at_most_one_set,   // of the mask
    not_all_set,       // of the mask
};

struct stale_rule {
    uint8_t type_code;
    stale_when when;
    uint32_t mask;
};

constexpr stale_rule rules[] = {
    {event_type::threshold, stale_when::none_set, 0x3F}, // no threshold crossed
    {event_type::dmi_usage, stale_when::any_set, 0x200},
    {event_type::digital, stale_when::any_set, 0x200},
    {event_type::device_presence, stale_when::any_set, 0x200},
    {event_type::device_enabled, stale_when::any_set, 0x200},
    {event_type::predictive_failure, stale_when::any_set_or_just_0, 0x100},
    {event_type::limit, stale_when::any_set_or_just_0, 0x100},
    {event_type::performance, stale_when::any_set, 0x100},
    {event_type::severity, stale_when::any_set, 0x100},
    {event_type::redundancy, stale_when::any_set, 0x100},
    {event_type::availability, stale_when::any_set, 0x200 | 0x400},
    {event_type::sensor_specific, stale_when::at_most_one_set, 0x1FF},
    {event_type::oem_70, stale_when::not_all_set, 0xFE00},
};

bool is_met(const stale_rule &rule, uint32_t state) {
    const uint32_t set = state & rule.mask;
    switch (rule.when) {
    case stale_when::none_set: return set == 0;
    case stale_when::any_set: return set != 0;
    case stale_when::any_set_or_just_0: return set != 0 || state == 1;
    case stale_when::at_most_one_set: return std::popcount(set) <= 1;
    case stale_when::not_all_set: return set != rule.mask;
    }
    return false;
}

} // namespace

bool is_stale(uint32_t event_type_code, uint32_t sensor_type_code, uint32_t state) {
    if (event_type_code == event_type::sensor_specific && sensor_type_code != sensor_type::power_supply) {
        return false; // of sensor-specific states only those of power supplies are known here
    }
    for (const stale_rule &rule : rules) {
        if (rule.type_code == event_type_code) {
            return is_met(rule, state);
        }
    }
    return false;
}
