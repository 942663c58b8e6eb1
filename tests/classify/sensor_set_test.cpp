#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "fault_engine/classify.h"

namespace {

TEST(SensorSet, HoldsEverySensor) {
    for (uint32_t number = 0; number < 512; number++)
        ASSERT_EQ(is_fault_sensor(number), 1) << number;
    EXPECT_EQ(sensor_indexing(), 0);
}

TEST(Search, KeepsToItsRange) {
    const uint8_t four[] = {3, 7, 9, 20}, one[] = {5};
    const int32_t found[][2] = {{9, 2}, {3, 0}, {20, 3}, {8, -1}, {2, -1}, {0xABCD07, 1}};
    for (auto [key, index] : found)
        EXPECT_EQ(search(four, static_cast<uint32_t>(key), 0, 3), index) << key;
    EXPECT_EQ(search(four, 2, 0, 1), -1);
    EXPECT_EQ(search(four, 3, 1, 3), -1);
    EXPECT_EQ(search(four, 20, 0, 2), -1);
    EXPECT_EQ(search(one, 5, 0, 0), 0);
    EXPECT_EQ(search(one, 6, 0, 0), -1);
    EXPECT_EQ(search(nullptr, 5, 0, -1), -1);
}

// Low, high, middle is the order among equals; without recursion: shrink the range until a probe has the key.
int32_t model(const uint8_t *array, uint8_t key, int32_t low, int32_t high) {
    while (low <= high) {
        const int32_t middle = (low + high) / 2;
        for (int32_t probe : {low, high, middle})
            if (array[probe] == key)
                return probe;
        (array[middle] > key ? high : low) = array[middle] > key ? middle - 1 : middle + 1;
    }
    return -1;
}

TEST(Search, TakesTheStatedOneOfEquals) {
    std::mt19937 random(1);
    for (int round = 0; round < 20000; round++) {
        std::vector<uint8_t> bytes(1 + random() % (round % 2 != 0 ? 12 : 256));
        const uint32_t spread = round % 3 != 0 ? 256 : 6;
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(256 - spread + random() % spread);
        std::sort(bytes.begin(), bytes.end());
        // The array may begin before the pointer: then indexes are negative, and halving truncates toward zero.
        const auto below = static_cast<int32_t>(random() % bytes.size());
        const auto at = static_cast<int32_t>(random() % bytes.size());
        const auto high = at - 1 + static_cast<int32_t>(random() % (bytes.size() - static_cast<size_t>(at) + 1));
        const auto key = static_cast<uint8_t>(round % 4 != 0 ? bytes[random() % bytes.size()] : random());
        const uint8_t *array = bytes.data() + below;
        ASSERT_EQ(search(array, 0x5500U | key, at - below, high - below), model(array, key, at - below, high - below))
            << "round " << round;
    }
}

} // namespace
