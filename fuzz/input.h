// The bytes of one fuzz input, taken piece by piece; behind their end there are zeros.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

class Input {
public:
    Input(const uint8_t *data, size_t size) : rest_(data, size) {}

    bool at_end() const { return rest_.empty(); }

    std::string bytes(size_t count) {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    template <class Number = uint8_t>
    Number number() {
        Number value{};
        const std::string taken = bytes(sizeof value);
        memcpy(&value, taken.data(), taken.size());
        return value;
    }

    // Some bytes of text, then one and the same to the end of the field: often not NUL.
    std::string text(size_t size) {
        std::string field(size, static_cast<char>(number()));
        const std::string start = bytes(std::min<size_t>(number(), size));
        return field.replace(0, start.size(), start);
    }

    // Results of the neighbours: mostly success.
    int32_t result() { return number() == 0xFF ? -1 : 0; }

private:
    std::span<const uint8_t> rest_;
};

inline void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "not so: %s\n", what);
        abort();
    }
}
