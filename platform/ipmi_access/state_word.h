// The word of state bits that the engine is given for a sensor.
#pragma once

#include <cstdint>

namespace ipmi_access {

// `states` has event offset n in bit n. Threshold and sensor-specific states stand in the word as they are; those of
// other events with the byte of offsets 0 to 7 in front: offset n in bit 8 + n.
constexpr uint32_t state_word(uint8_t event_type, uint16_t states) {
    constexpr uint8_t threshold = 0x01, sensor_specific = 0x6F;
    if (event_type == threshold || event_type == sensor_specific)
        return states;
    return (states & 0xFFU) << 8 | states >> 8;
}

} // namespace ipmi_access
