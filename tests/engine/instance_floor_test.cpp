#include <climits>

#include <gtest/gtest.h>

#include "support/calls.h"
#include "support/world.h"

TEST(InstanceFloor, SmallestInstanceOfEachEntityAtMostOne) {
    reset_world();
    const std::pair<uint32_t, uint32_t> sensors[] = {
        {3, 1},  {3, 0},         {7, 2},        {7, 1},   {8, 5},     {0, 0},        {255, 0},     {10, UINT_MAX},
        {10, 0}, {11, 1U << 31}, {12, INT_MAX}, {256, 0}, {0x103, 0}, {UINT_MAX, 0}, {1U << 31, 0}};
    int32_t number = 255; // the sensors have the last numbers, and the first have none
    for (const auto &[entity, instance] : sensors) {
        world().sensors[number] = sensor(static_cast<uint32_t>(number), entity, instance, 1, 1);
        --number;
    }
    std::vector<std::string> log;
    for (int32_t missing = 0; missing <= number; ++missing) {
        log.push_back("IPMI_SensorGetSensorData failed for sensor_num: " + std::to_string(missing) + "\n");
    }
    std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), -5); // is rebuilt from scratch
    const int failed = failed_calls();
    {
        const FailCall no_memory(Call::allocate, 1, Way::with_all_behind_it);
        EXPECT_EQ(init_sdr_lookup(), 0);
    }
    EXPECT_EQ(failed_calls(), failed) << "the heap is left alone before the first thread starts";
    const std::map<int, int32_t> below_one = {{3, 0}, {0, 0}, {255, 0}, {10, -1}, {11, INT_MIN}};
    for (int entity = 0; entity < 256; ++entity) {
        const auto found = below_one.find(entity);
        EXPECT_EQ(fe_sdr_instance_array[entity], found == below_one.end() ? 1 : found->second) << entity;
    }
    EXPECT_EQ(world().log, log);
}
