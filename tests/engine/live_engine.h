// The engine's threads in a test that is itself the producer of fault requests, as inside fe_init_interface().
#pragma once

#include <algorithm>
#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <semaphore>
#include <thread>

#include <unistd.h>

#include "platform/fe_core/fe_core_host.h"
#include "support/interpose.h"
#include "support/neighbours.h"

using Request = fe_read_buf;
using Block = fe_write_buf_struct;

inline Request request_of(uint8_t entity, int32_t severity, int32_t fault_number = 1) {
    return {entity, 4, {}, 1, 1, severity, fault_number, 0, "FAN1_RPM", 1, {}, 0x155};
}

// Polls for what another thread does; what never comes ends in the fixture's alarm.
inline void await(const std::function<bool()> &happened) {
    while (!happened())
        std::this_thread::yield();
}

using fe_core::await_taken;

inline void place(fe_read_buf_struct &rbuf, const Request &request) {
    await_taken(rbuf);
    fe_core::place_request(rbuf, request);
}

// Sets the stop flag as the listener does.
inline void order_stop(fe_read_buf_struct &rbuf) {
    pthread_mutex_lock(&rbuf.fe_read_buf_mutex);
    fe_set_flag(&fe_not_running, 1);
    pthread_cond_broadcast(&rbuf.fe_read_buf_cond);
    pthread_mutex_unlock(&rbuf.fe_read_buf_mutex);
}

class LiveEngine : public testing::Test {
protected:
    LiveEngine() {
        alarm(300);
        reset_world();
        world().listen = [this](fe_read_buf_struct *) { closing.acquire(); };
    }
    ~LiveEngine() override {
        reset_world();
        alarm(0);
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
        EXPECT_EQ(fe_read_buf_struct_ptr, nullptr);
        EXPECT_EQ(fe_write_buf_struct_ptr, nullptr);
        EXPECT_EQ(fe_not_running, 1);
        EXPECT_EQ(broken_invariant(), "");
    }

    static bool has_logged(const std::string &part) {
        const std::lock_guard guard(world().lock);
        return std::ranges::any_of(world().log,
                                   [&](const std::string &line) { return line.find(part) != std::string::npos; });
    }

    SandboxPaths sandbox;
    std::binary_semaphore closing{0};
    fe_read_buf_struct *rbuf = nullptr;
};
