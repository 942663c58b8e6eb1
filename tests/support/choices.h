// What a generator of events chooses: at random from a seed, or by the bytes of a fuzz input, behind whose end there are
// zeros.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <random>
#include <span>
#include <string>

class Choices {
public:
    explicit Choices(uint32_t seed) : random_(seed) {}
    explicit Choices(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    bool at_end() const { return !random_ && bytes_.empty(); }

    uint8_t byte() {
        if (random_) {
            return static_cast<uint8_t>((*random_)());
        }
        const uint8_t first = bytes_.empty() ? uint8_t{0} : bytes_.front();
        bytes_ = bytes_.subspan(std::min<size_t>(1, bytes_.size()));
        return first;
    }
    uint32_t below(uint32_t limit) {
        const uint32_t low = byte();
        return (limit <= 256 ? low : low | uint32_t{byte()} << 8) % limit;
    }
    bool one_in(uint32_t count) { return below(count) == 0; }

    template <typename T>
    T of(std::initializer_list<T> values) {
        return values.begin()[below(static_cast<uint32_t>(values.size()))];
    }

    std::string bytes(size_t count) { // fewer at the end of an input
        std::string taken;
        while (taken.size() < count && !at_end()) {
            taken += static_cast<char>(byte());
        }
        return taken;
    }

    // Junk that costs an input one byte.
    void fill(void *object, size_t size) {
        std::minstd_rand junk(1U + byte());
        std::generate_n(static_cast<uint8_t *>(object), size, [&] { return static_cast<uint8_t>(junk()); });
    }

private:
    std::optional<std::mt19937> random_;
    std::span<const uint8_t> bytes_;
};
