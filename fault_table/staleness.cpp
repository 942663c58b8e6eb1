#include "fault_table/staleness.h"

#include <bit>

namespace {

enum class stale_when {
    none_set,          // no bit of the mask is set
    any_set,           // a bit of the mask is set
    any_set_or_just_0, // a bit of the mask is set, or bit 0 is the only one of all
    at_most_one_set,   // of the mask
    not_all_set,       // of the mask
};

struct stale_rule {
    uint8_t type_code; // IPMI v2.0, table 42-1
    stale_when when;
    uint32_t mask;
};

constexpr uint8_t sensor_specific = 111;
constexpr uint32_t power_supply = 8; // the only sensor type whose sensor-specific states are known here

constexpr stale_rule rules[] = {
    {1, stale_when::none_set, 0x3F}, // no threshold crossed
    {2, stale_when::any_set, 0x200},
    {3, stale_when::any_set, 0x200},
    {8, stale_when::any_set, 0x200},
    {9, stale_when::any_set, 0x200},
    {4, stale_when::any_set_or_just_0, 0x100},
    {5, stale_when::any_set_or_just_0, 0x100},
    {6, stale_when::any_set, 0x100},
    {7, stale_when::any_set, 0x100},
    {11, stale_when::any_set, 0x100},
    {10, stale_when::any_set, 0x200 | 0x400},
    {sensor_specific, stale_when::at_most_one_set, 0x1FF},
    {112, stale_when::not_all_set, 0xFE00},
};

bool holds(const stale_rule &rule, uint32_t state) {
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

bool is_stale(uint32_t type_code, uint32_t sensor_type, uint32_t state) {
    if (type_code == sensor_specific && sensor_type != power_supply) {
        return false;
    }
    for (const stale_rule &rule : rules) {
        if (rule.type_code == type_code) {
            return holds(rule, state);
        }
    }
    return false;
}
