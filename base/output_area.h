// What a call of a closed library writes into. Some of them write whole words, or two, where less is agreed: no such area
// is smaller than 8 bytes, and all are aligned to 4.
#pragma once

#include <cstdint>

template <class T>
struct output_area {
    alignas(4) T value;
    uint8_t spare[8 - sizeof(T)];
};
