// Room for what a call of a closed library writes. Some calls write a word or two where less is agreed, so no such area is
// smaller than 8 bytes, and all are aligned to 4.
#pragma once

#include <cstdint>

template <class T>
struct output_area {
    alignas(4) T value;
    uint8_t spare[8 - sizeof(T)];
};
