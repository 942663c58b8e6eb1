// The core library's logger: each program is linked with one of the two. A switch at run time would cost the silent one
// a good part of what the road around it costs.
#pragma once

#include <cstdint>

namespace logger {

extern const bool formats; // each line into a buffer, and drops it; else the logger does nothing

uint64_t lines(); // formatted by this thread

} // namespace logger
