// One event on the SEL roads, ready to go, and what every test of the roads looks at.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>

#include <unistd.h>

#include "support/interpose.h"
#include "support/neighbours.h"

using Record = std::array<uint8_t, 16>;
using Lines = std::vector<std::string>;

constexpr uint8_t road_sensor = 0x30;

// The 16 bytes differ from each other, and the top bit of the time stamp is set.
inline Record event(uint8_t sensor_type = 0x01, uint8_t dir_type = 0x01, uint8_t data_1 = 0x57) {
    return {0xA1, 0xB2, 0x02,        0x11,        0x22,     0x33,   0xF4, 0x65,
            0x76, 0x04, sensor_type, road_sensor, dir_type, data_1, 0x9C, 0xDD};
}

inline int32_t process(const Record &record) {
    return process_sel_data(record.data());
}

inline int32_t process_extended(const Record &r, int32_t number = 300) {
    uint8_t bytes[] = {0xE1, 0xE2, 0xE3, r[0],  r[1], r[2], r[3], r[4], r[5],  r[6],  0xE4,  0xE5,
                       r[7], r[8], r[9], r[10], 0,    0,    0,    0,    r[12], r[13], r[14], r[15]};
    std::memcpy(bytes + 16, &number, sizeof number);
    return process_super_sel_data(bytes);
}

inline void tell(const std::string &line) {
    world().log.push_back(line + "\n");
}

inline std::string log_text() {
    std::string text;
    for (const std::string &line : world().log)
        text += line;
    return text;
}

// What the entity filter makes of the request; its result is that of the dispatch.
inline void filter(std::function<int32_t(fe_read_buf &, fe_write_buf &)> fill) {
    world().dispatch = [fill](const std::string &, fe_read_buf &request, fe_write_buf_struct &wbuf) {
        return fill(request, *wbuf.fe_write_buf);
    };
}

// The event is a temperature going above its first threshold: that of a processor on the ordinary road (severity 4,
// fault number 117), of a memory device on the extended one (1, 66).
class SelRoad : public testing::Test {
protected:
    SelRoad() {
        alarm(100);
        arrange();
    }
    ~SelRoad() override { alarm(0); }
    void TearDown() override { expect_idle(); }

    static void arrange() {
        reset_world();
        world().sensors[road_sensor] = sensor(road_sensor, 3, 1, 0x01, 0x01);
        world().event_text = "P1_THERM: Upper Non-critical - going high";
    }

    void expect_idle() {
        static const fe_write_buf zero{};
        EXPECT_EQ(std::memcmp(&buffer.record, &zero, sizeof zero), 0);
        EXPECT_TRUE(is_free(buffer.block.fe_write_buf_mutex));
        EXPECT_EQ(broken_invariant(), "");
    }

    SandboxPaths sandbox;
    WriteBuffer buffer;
};
