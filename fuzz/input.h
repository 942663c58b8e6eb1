// The bytes of one fuzz input, taken piece by piece; behind their end there are zeros.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

class Input {
public:
    Input(const uint8_t *data, size_t size) : rest_(data, size) {}

    bool at_end() const { return rest_.empty(); }

    std::span<const uint8_t> take(size_t count) {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }

    template <class Number = uint8_t>
    Number number() {
        Number value{};
        const auto bytes = take(sizeof value);
        std::copy(bytes.begin(), bytes.end(), reinterpret_cast<uint8_t *>(&value));
        return value;
    }

    // Some bytes of text, then one and the same to the end of the field: often not NUL.
    template <size_t Size>
    void fill(char *field) {
        memset(field, number(), Size);
        const auto text = take(std::min<size_t>(number(), Size));
        std::copy(text.begin(), text.end(), field);
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
