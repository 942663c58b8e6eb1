// The stand-in's producer of fault requests, with the test as its consumer.
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include <gtest/gtest.h>

#include "fault_engine/fault_request.h"
#include "platform/fe_core/fe_core.h"
#include "platform/fe_core/fe_core_host.h"

namespace {

class RequestInterface : public testing::Test {
protected:
    RequestInterface() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
        buffer.fe_read_buf = &request;
        pthread_mutex_init(&buffer.fe_read_buf_mutex, nullptr);
        pthread_cond_init(&buffer.fe_read_buf_cond, nullptr);
        pthread_mutex_init(&buffer.fe_read_wait_mutex, nullptr);
        pthread_cond_init(&buffer.fe_read_wait_cond, nullptr);
        fe_core::take_requests_from(ends[0]);
        producer = std::thread([this] {
            fe_init_interface(&buffer);
            untaken = fe_flag(&fe_read_complete);
        });
    }
    ~RequestInterface() override {
        close(ends[0]);
        close(ends[1]);
        fe_set_flag(&fe_read_complete, 0);
        fe_set_flag(&fe_not_running, 0);
    }
    void send(int32_t number) const {
        fe_read_buf sent{};
        sent.fe_fault_num = number;
        EXPECT_EQ(::send(ends[1], &sent, sizeof sent, 0), 52);
    }
    void await_request() {
        pthread_mutex_lock(&buffer.fe_read_buf_mutex);
        while (fe_flag(&fe_read_complete) == 0)
            pthread_cond_wait(&buffer.fe_read_buf_cond, &buffer.fe_read_buf_mutex);
        pthread_mutex_unlock(&buffer.fe_read_buf_mutex);
    }
    void set_under_wait_mutex(int32_t &flag, int32_t value) {
        pthread_mutex_lock(&buffer.fe_read_wait_mutex);
        fe_set_flag(&flag, value);
        pthread_cond_broadcast(&buffer.fe_read_wait_cond);
        pthread_mutex_unlock(&buffer.fe_read_wait_mutex);
    }
    size_t unread() const {
        size_t datagrams = 0;
        while (recv(ends[0], nullptr, 0, MSG_DONTWAIT) == 0)
            datagrams++;
        return datagrams;
    }

    int ends[2];
    fe_read_buf request{};
    fe_read_buf_struct buffer{};
    int32_t untaken = -1;
    std::thread producer;
};

// The stop comes while the first of two requests is in the read buffer.
TEST_F(RequestInterface, HandsOverTheRequestInHandBeforeItStops) {
    const size_t taken_before = fe_core::request_counts().taken;
    send(1);
    send(2);
    await_request();
    fe_core::stop();
    for (int i = 0; i < 10000; i++) // for a producer that would not wait
        std::this_thread::yield();
    EXPECT_EQ(request.fe_fault_num, 1);
    set_under_wait_mutex(fe_read_complete, 0);
    producer.join();
    EXPECT_EQ(untaken, 0);
    EXPECT_EQ(fe_core::request_counts().taken, taken_before + 1);
    EXPECT_EQ(unread(), 1U);
}

TEST_F(RequestInterface, GivesUpWhenTheEngineHasStopped) {
    const size_t not_taken_before = fe_core::request_counts().not_taken;
    send(1);
    send(2);
    await_request();
    set_under_wait_mutex(fe_not_running, 1);
    producer.join();
    EXPECT_EQ(untaken, 1);
    EXPECT_EQ(fe_core::request_counts().not_taken, not_taken_before + 1);
    EXPECT_EQ(unread(), 1U);
}

} // namespace
