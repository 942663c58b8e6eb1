// The stand-in's producer of fault requests, with the test as its consumer.
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include <gtest/gtest.h>

#include "fault_engine/fault_request.h"
#include "platform/fe_core/fe_core.h"
#include "platform/fe_core/fe_core_host.h"

namespace {

// Two requests were sent, and the first is in the read buffer. When the listener is told to stop it is still to be taken;
// when the engine has stopped of itself it is given up. The second stays in the socket.
TEST(RequestInterface, EndsWithARequestInHand) {
    for (const bool engine_takes : {true, false}) {
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
        fe_read_buf request{};
        fe_read_buf_struct buffer{};
        buffer.fe_read_buf = &request;
        pthread_mutex_init(&buffer.fe_read_buf_mutex, nullptr);
        pthread_cond_init(&buffer.fe_read_buf_cond, nullptr);
        pthread_mutex_init(&buffer.fe_read_wait_mutex, nullptr);
        pthread_cond_init(&buffer.fe_read_wait_cond, nullptr);
        const auto before = fe_core::request_counts();
        fe_core::take_requests_from(ends[0]);
        std::jthread producer(fe_init_interface, &buffer);
        for (const int32_t number : {1, 2}) {
            fe_read_buf sent{};
            sent.fe_fault_num = number;
            EXPECT_EQ(send(ends[1], &sent, sizeof sent, 0), 52);
        }
        pthread_mutex_lock(&buffer.fe_read_buf_mutex);
        while (fe_flag(&fe_read_complete) == 0) {
            pthread_cond_wait(&buffer.fe_read_buf_cond, &buffer.fe_read_buf_mutex);
        }
        pthread_mutex_unlock(&buffer.fe_read_buf_mutex);

        if (engine_takes) {
            fe_core::stop();
            for (int i = 0; i < 10000; ++i) { // for a producer that would not wait
                std::this_thread::yield();
            }
        }
        EXPECT_EQ(request.fe_fault_num, 1);
        pthread_mutex_lock(&buffer.fe_read_wait_mutex);
        if (engine_takes) {
            fe_set_flag(&fe_read_complete, 0);
        } else {
            fe_set_flag(&fe_not_running, 1);
        }
        pthread_cond_broadcast(&buffer.fe_read_wait_cond);
        pthread_mutex_unlock(&buffer.fe_read_wait_mutex);
        producer.join();

        EXPECT_EQ(fe_core::request_counts().taken - before.taken, engine_takes ? 1U : 0U);
        EXPECT_EQ(fe_core::request_counts().not_taken - before.not_taken, engine_takes ? 0U : 1U);
        EXPECT_EQ(recv(ends[0], nullptr, 0, MSG_DONTWAIT), 0);
        EXPECT_EQ(recv(ends[0], nullptr, 0, MSG_DONTWAIT), -1);
        fe_set_flag(&fe_read_complete, 0);
        fe_set_flag(&fe_not_running, 0);
        close(ends[0]);
        close(ends[1]);
    }
}

} // namespace
