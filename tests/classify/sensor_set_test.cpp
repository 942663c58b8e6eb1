#include <gtest/gtest.h>

#include "fault_engine/classify.h"

namespace {

TEST(SensorSet, HoldsEverySensor) {
    for (uint32_t number = 0; number < 512; ++number) {
        ASSERT_EQ(is_fault_sensor(number), 1) << number;
    }
    EXPECT_EQ(sensor_indexing(), 0);
}

// On each level the low end comes first, then the high one, then the middle, which is rounded toward zero.
TEST(Search, TakesTheStatedOneOfEquals) {
    const uint8_t bytes[] = {3, 7, 7, 7, 7, 9, 0x80, 0x80, 0xFE, 0xFF}; // at -4 to 5
    const uint32_t keys[] = {2, 3, 7, 8, 9, 0x80, 0xC0, 0xFE, 0xFF};
    const struct {
        int32_t low, high, found[9];
    } rows[] = {
        {-4, 5, {-1, -4, 0, -1, 1, 3, -1, 4, 5}},     {-4, 3, {-1, -4, 0, -1, 1, 3, -1, -1, -1}},
        {-3, 5, {-1, -1, -3, -1, 1, 2, -1, 4, 5}},    {1, 4, {-1, -1, -1, -1, 1, 2, -1, 4, -1}},
        {2, 3, {-1, -1, -1, -1, -1, 2, -1, -1, -1}},  {4, 4, {-1, -1, -1, -1, -1, -1, -1, 4, -1}},
        {3, 2, {-1, -1, -1, -1, -1, -1, -1, -1, -1}},
    };
    for (const auto &row : rows) {
        for (size_t i = 0; i < std::size(keys); ++i) {
            EXPECT_EQ(search(bytes + 4, 0x5500 | keys[i], row.low, row.high), row.found[i]) << row.low << ' ' << i;
        }
    }
    EXPECT_EQ(search(nullptr, 5, 0, -1), -1); // an empty range is not read
}

} // namespace
