#include <gtest/gtest.h>

#include "fault_engine/sel.h"

namespace {

// Sixteen rows, and one behind them that would match 5 if a search ran on.
uint32_t table[17][33] = {
    {0, 50, 5},
    {77, 11, 1, 12, 2, 13, 1, 14, 0, 0, 3, 15, 4}, // the first word is in no pair; a pair (0, 3) ends the row
    {5, 0, 5, 21, 6},
};

struct Lookup {
    uint32_t row, instance, translated;
};

const Lookup lookups[] = {{0, 5, 0},      {16, 5, 0},     {17, 5, 0}, {UINT32_MAX, 5, 0}, {0x80000001, 1, 0},
                          {1, 1, 11},     {1, 2, 12},     {1, 0, 14}, {1, 3, 0},          {1, 4, 0},
                          {1, 77, 0},     {1, 11, 0},     {2, 5, 0},  {2, 6, 0},          {3, 0, 0},
                          {15, 200, 100}, {15, 215, 115}, {15, 5, 0}, {15, 100, 0},       {1, 0x10001, 0}};

TEST(EntityTable, TranslatesTheFirstMatchOfARow) {
    for (uint32_t pair = 0; pair < 16; ++pair) {
        table[15][1 + 2 * pair] = 100 + pair;
        table[15][2 + 2 * pair] = 200 + pair;
    }
    for (uint32_t &word : table[16])
        word = 5;
    for (const auto &[row, instance, translated] : lookups)
        EXPECT_EQ(translate_user_entity_instance(table, row, instance), translated) << row << ", " << instance;
}

TEST(EntityTableDeathTest, NullTableStopsTheProcess) {
    EXPECT_DEATH(translate_user_entity_instance(nullptr, 0, 0), "\\(\\(void \\*\\)0\\) != entity_tbl");
}

} // namespace
