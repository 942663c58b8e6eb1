// The fixtures of the tests. EngineTest has a folder for the engine's files and a fresh world, SelRoad also a write buffer
// and one event of the SEL, LiveEngine also the engine's threads.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <semaphore>
#include <thread>

#include <unistd.h>

#include "support/calls.h"
#include "support/faults.h"
#include "support/sandbox.h"

class EngineTest : public testing::Test {
protected:
    EngineTest() {
        alarm(300); // what hangs ends here
        reset_world();
    }
    ~EngineTest() override {
        reset_world();
        alarm(0);
    }

    Sandbox sandbox;
};

using Record = std::array<uint8_t, 16>;
constexpr uint8_t road_sensor = 0x30;

// All bytes but the sensor type and the event type differ from each other; the top bit of the time stamp is set.
inline Record event(uint8_t sensor_type = 0x01, uint8_t dir_type = 0x01, uint8_t data_1 = 0x57,
                    uint8_t sensor_number = road_sensor) {
    return {0xA1, 0xB2, 0x02,        0x11,          0x22,     0x33,   0xF4, 0x65,
            0x76, 0x04, sensor_type, sensor_number, dir_type, data_1, 0x9C, 0xDD};
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

// The event is a temperature going above its first threshold: that of a processor on the ordinary road (severity 4,
// fault number 117), of a memory device on the extended one (1, 66).
class SelRoad : public EngineTest {
public:
    static void arrange() {
        reset_world();
        world().keeps = World::all;
        world().sensors[road_sensor] = sensor(road_sensor, 3, 1, 0x01, 0x01);
        world().event_text = "P1_THERM: Upper Non-critical - going high";
    }

protected:
    SelRoad() { arrange(); }
    void TearDown() override { expect_idle(); }

    void expect_idle() {
        static const fe_write_buf zero{};
        EXPECT_TRUE(buffer.record == zero);
        if (!is_free(fe_table_mutex) || !is_free(buffer.block.fe_write_buf_mutex)) {
            ADD_FAILURE() << "a lock is held, so nothing can go on";
            abort();
        }
        EXPECT_EQ(broken_invariant(), "");
    }

    WriteBuffer buffer;
};

inline fe_read_buf request_of(uint8_t entity, int32_t severity, int32_t fault_number = 1) {
    return {entity, 4, {}, 1, 1, severity, fault_number, 0, "FAN1_RPM", 1, {}, 0x155};
}

// Polls for what another thread does; what never comes ends in the fixture's alarm.
inline void await(const std::function<bool()> &happened) {
    while (!happened()) {
        std::this_thread::yield();
    }
}

using fe_core::await_taken;

inline void place(fe_read_buf_struct &rbuf, const fe_read_buf &request) {
    await_taken(rbuf);
    fe_core::place_request(rbuf, request);
}

// The test is itself the producer of fault requests, as inside fe_init_interface().
class LiveEngine : public EngineTest {
protected:
    LiveEngine() {
        world().listen = [this](fe_read_buf_struct *) { closing.acquire(); };
    }

    void start() {
        ASSERT_EQ(init_listener(), 0);
        ASSERT_NE(rbuf = fe_read_buf_struct_ptr, nullptr);
        ASSERT_EQ(init_fault_processor(), 0);
        ASSERT_NE(fe_write_buf_struct_ptr, nullptr);
    }
    // Has the interface return.
    void close() { closing.release(); }
    static void join(pthread_t thread) { ASSERT_EQ(pthread_join(thread, nullptr), 0); }
    static void join_both() {
        join(fe_listener_thread_id);
        join(fe_fault_processor_thread_id);
        EXPECT_TRUE(fe_read_buf_struct_ptr == nullptr && fe_write_buf_struct_ptr == nullptr);
        EXPECT_EQ(fe_not_running, 1);
        EXPECT_EQ(broken_invariant(), "");
    }

    std::binary_semaphore closing{0};
    fe_read_buf_struct *rbuf = nullptr;
};
