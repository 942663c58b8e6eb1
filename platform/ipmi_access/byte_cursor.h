// Reads bytes in order, never past their end: what is missing reads as 0, and ran_out() tells.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ipmi_access {

class ByteCursor {
public:
    explicit ByteCursor(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    size_t offset() const { return offset_; }
    bool at_end() const { return offset_ == bytes_.size(); }
    bool ran_out() const { return ran_out_; }

    std::span<const uint8_t> take(size_t count) {
        if (count > bytes_.size() - offset_) {
            ran_out_ = true;
            count = bytes_.size() - offset_;
        }
        offset_ += count;
        return bytes_.subspan(offset_ - count, count);
    }

    uint32_t little_endian(size_t width) {
        uint32_t value = 0;
        unsigned shift = 0;
        for (const uint8_t byte : take(width)) {
            value |= static_cast<uint32_t>(byte) << shift;
            shift += 8;
        }
        return value;
    }

    uint8_t u8() { return static_cast<uint8_t>(little_endian(1)); }
    uint16_t u16() { return static_cast<uint16_t>(little_endian(2)); }

private:
    std::span<const uint8_t> bytes_;
    size_t offset_ = 0;
    bool ran_out_ = false;
};

} // namespace ipmi_access
