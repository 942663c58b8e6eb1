// Whether a sensor's present state still reports a fault.
#pragma once

#include <cstdint>

// `state` is the current state word of a sensor of that event/reading type code and sensor type.
bool is_stale(uint32_t type_code, uint32_t type_of_sensor, uint32_t state);
