// A server for the SEL road: 64 sensors of eight kinds, one fault each.
#pragma once

#include <cstdint>

#include "fault_engine/sel.h"

namespace server {

constexpr unsigned sensors = 64;

void describe(); // to the neighbours

// The event by which the sensor reports its fault, and the one by which it clears it.
sel_record fault_event(unsigned sensor);
sel_record clearing_event(unsigned sensor);

} // namespace server
