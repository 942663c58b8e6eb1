// Multi-byte fields of wire records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

template <size_t Size>
void copy_bytes(uint8_t (&to)[Size], const uint8_t (&from)[Size]) {
    memcpy(to, from, Size);
}

inline uint32_t little_endian(const uint8_t (&bytes)[2]) {
    return static_cast<uint32_t>(bytes[0] | bytes[1] << 8);
}

inline uint32_t little_endian(const uint8_t (&bytes)[4]) {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}
