#include <gtest/gtest.h>

#include "support/neighbours.h"

TEST(InstanceFloor, SmallestInstanceOfEachEntityAtMostOne) {
    reset_world();
    const struct {
        int32_t number;
        uint32_t entity, instance;
    } sensors[] = {{0, 3, 1},           {1, 3, 0},     {2, 7, 2},           {254, 7, 1},         {4, 8, 5},
                   {5, 0, 0},           {255, 255, 0}, {7, 10, UINT32_MAX}, {8, 10, 0},          {9, 11, 0x80000000},
                   {10, 12, INT32_MAX}, {11, 256, 0},  {12, 0x103, 0},      {13, UINT32_MAX, 0}, {14, 0x80000000, 0}};
    std::vector<std::string> log;
    for (const auto &[number, entity, instance] : sensors) {
        world().sensors[number] = sensor(static_cast<uint32_t>(number), entity, instance, 1, 1);
    }
    for (int number = 0; number < 256; ++number) {
        const std::string line = "IPMI_SensorGetSensorData failed for sensor_num: " + std::to_string(number) + "\n";
        log.insert(log.end(), 1 - world().sensors.count(number), line);
    }
    const std::map<int, int32_t> below_one = {{3, 0}, {0, 0}, {255, 0}, {10, -1}, {11, INT32_MIN}};
    for (int run = 0; run < 2; ++run) { // the second rebuilds it from scratch
        std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), -5 * run);
        world().log.clear();
        world().calls.clear();
        EXPECT_EQ(init_sdr_lookup(), 0);
        for (int entity = 0; entity < 256; ++entity) {
            const auto found = below_one.find(entity);
            EXPECT_EQ(fe_sdr_instance_array[entity], found == below_one.end() ? 1 : found->second) << entity;
        }
        EXPECT_EQ(world().log, log);
        EXPECT_EQ(world().calls, std::vector<std::string>(256, "IPMI_SensorGetSensorData"));
    }
}
