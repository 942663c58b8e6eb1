// Lives of the two buffers: starts and stops in any order, with both roads at work.
#include "support/engine_test.h"

extern "C" void __lsan_disable() __attribute__((weak)); // LeakSanitizer's, where it is

namespace {

// Sets the stop flag as the listener does.
void order_stop(fe_read_buf_struct &rbuf) {
    pthread_mutex_lock(&rbuf.fe_read_buf_mutex);
    fe_set_flag(&fe_not_running, 1);
    pthread_cond_broadcast(&rbuf.fe_read_buf_cond);
    pthread_mutex_unlock(&rbuf.fe_read_buf_mutex);
}

bool has_logged(const std::string &part) {
    const std::lock_guard guard(world().lock);
    return log_text().find(part) != std::string::npos;
}

void await_stop() {
    await([] { return fe_flag(&fe_not_running) != 0; });
}

// Requests of the tests are for entity 29, the records of the SEL roads for 3 and 32.
class Stop : public LiveEngine {
protected:
    Stop() { arrange(); }
    static void arrange() {
        world().sensors[road_sensor] = sensor(road_sensor, 3, 1, 0x01, 0x01);
        world().event_text = "P1_THERM: going high";
    }

    // Whoever waits tests what he waits for with the mutex held: a wake-up without it may come in between. A SEL road, which
    // is this thread's, wakes the owner of the write buffer up when it leaves the buffer, after it has unlocked its mutex.
    void expect_wake_ups_with_mutex() {
        on_wake_up = [this, road = pthread_self()](const void *cond) {
            const std::array buffers = {&rbuf->fe_read_buf_cond, &rbuf->fe_read_wait_cond};
            const bool leaves = pthread_equal(pthread_self(), road) != 0 && std::ranges::count(buffers, cond) == 0;
            EXPECT_FALSE(leaves && !is_free(fe_write_buf_struct_ptr->fe_write_buf_mutex));
            EXPECT_FALSE(cond == &rbuf->fe_read_buf_cond && is_free(rbuf->fe_read_buf_mutex));
            EXPECT_FALSE(cond == &rbuf->fe_read_wait_cond && is_free(rbuf->fe_read_wait_mutex));
            write_wake_ups += cond == write_cond ? 1 : 0;
        };
    }

    std::atomic<const void *> write_cond; // null when there is no write buffer
    std::atomic<int> write_wake_ups = 0;  // of those who wait for it
};

TEST_F(Stop, WaitsForEveryUseOfTheBuffersAndThenDestroysThemInOrder) {
    std::atomic<int> dispatched = 0;
    std::binary_semaphore may_listen{0};
    const auto nothing = [] {};
    const auto at_once = [] { return true; };
    const auto dispatching = [&] { return dispatched == 1; };
    const struct {
        const char *what;
        int requests;                    // placed inside the interface, which then returns
        std::function<bool()> until;     // once this holds
        std::function<void()> meanwhile; // in the test's thread
        bool dispatch_sees_stop;
        int dispatched, left_in_read_buffer;
        int failing_allocation = 0; // of the fault processor
    } moments[] = {
        {"before a request", 0, at_once, nothing, false, 0, 0},
        {"without a fault processor", 0, at_once, nothing, false, 0, 0, 1},
        {"after a request", 1, [] { return has_logged("Exited the process"); }, nothing, false, 1, 0},
        {"in a request", 1, dispatching, nothing, true, 1, 0},
        {"in a request, while the producer waits until its next request is taken", 2,
         [&] { return await_taken(*rbuf) || true; },
         [&] {
             await([&] { return dispatching() && fe_flag(&fe_read_complete) != 0; });
             order_stop(*rbuf);
         },
         true, 1, 1},
        {"in a request, while a SEL road past its test for a write buffer waits for the mutex", 1,
         [] { return has_logged("Fault Severity: "); },
         [&] {
             await(dispatching);
             EXPECT_EQ(process_extended(event()), 0);
         },
         true, 2, 0},
        {"while a SEL road fills the record", 0, dispatching, [] { await([] { return process(event()) == 0; }); }, true,
         1, 0},
    };
    for (const auto &moment : moments) {
        SCOPED_TRACE(moment.what);
        reset_world();
        arrange();
        dispatched = 0;
        take_destroyed();
        std::vector<const void *> expected;
        world().listen = [&](fe_read_buf_struct *shared) {
            may_listen.acquire();
            EXPECT_EQ(shared, rbuf);
            if (moment.failing_allocation == 0) {
                expected = {&fe_write_buf_struct_ptr->fe_write_buf_cond, &fe_write_buf_struct_ptr->fe_write_buf_mutex};
            }
            expected.insert(expected.end(), {&rbuf->fe_read_wait_cond, &rbuf->fe_read_wait_mutex,
                                             &rbuf->fe_read_buf_cond, &rbuf->fe_read_buf_mutex});
            for (int i = 0; i < moment.requests; ++i) {
                place(*rbuf, request_of(29, 5));
            }
            await(moment.until);
        };
        world().dispatch = [&](fe_read_buf &request, fe_write_buf_struct &block) {
            ++dispatched;
            if (moment.dispatch_sees_stop) {
                await_stop();
            }
            for (int i = 0; i < 1000; ++i) { // time for those who would not wait
                std::this_thread::yield();
            }
            EXPECT_TRUE(take_destroyed().empty());
            EXPECT_TRUE(fe_read_buf_struct_ptr == rbuf && fe_write_buf_struct_ptr == &block);
            std::memcpy(block.fe_write_buf, &request, sizeof request);
            return 0;
        };
        ASSERT_EQ(init_listener(), 0);
        rbuf = fe_read_buf_struct_ptr;
        expect_wake_ups_with_mutex();
        {
            const FailCall no_memory(Call::allocate, moment.failing_allocation);
            ASSERT_EQ(init_fault_processor(), 0);
        }
        EXPECT_EQ(fe_write_buf_struct_ptr != nullptr, moment.failing_allocation == 0);
        write_cond = fe_write_buf_struct_ptr != nullptr ? &fe_write_buf_struct_ptr->fe_write_buf_cond : nullptr;
        may_listen.release();
        moment.meanwhile();
        join_both();
        on_wake_up = nullptr;
        EXPECT_EQ(write_wake_ups.exchange(0), moment.failing_allocation == 0 ? 1 : 0);
        EXPECT_EQ(take_destroyed(), expected);
        EXPECT_EQ(dispatched, moment.dispatched);
        EXPECT_EQ(fe_fault_count, static_cast<uint32_t>(moment.dispatched));
        EXPECT_EQ(fe_read_complete, moment.left_in_read_buffer);
        EXPECT_EQ(process(event()), -1);
    }
}

TEST_F(Stop, FaultProcessorMayComeFirstAndComeAgain) {
    ASSERT_EQ(init_fault_processor(), 0); // before the listener: ends at once
    join(fe_fault_processor_thread_id);
    start();
    order_stop(*rbuf); // not the listener's doing
    join(fe_fault_processor_thread_id);
    EXPECT_EQ(fe_write_buf_struct_ptr, nullptr);
    EXPECT_EQ(fe_read_buf_struct_ptr, rbuf);

    fe_set_flag(&fe_not_running, 0);
    place(*rbuf, request_of(29, 5)); // all of the read buffer works still
    ASSERT_EQ(init_fault_processor(), 0);
    await_taken(*rbuf);
    close();
    join_both();
    EXPECT_EQ(world().broadcasts.size(), 1U);
}

TEST_F(Stop, MayBeFollowedByAStartBeforeItIsOver) {
    std::atomic<bool> over = false;
    world().dispatch = [&](fe_read_buf &request, fe_write_buf_struct &) {
        await([&] { return request.fe_fault_num == 2 || over; });
        return 2;
    };
    start();
    const pthread_t former[] = {fe_listener_thread_id, fe_fault_processor_thread_id};
    place(*rbuf, request_of(29, 5, 1));
    await_taken(*rbuf);
    close();
    await_stop();
    fe_set_flag(&fe_not_running, 0);
    start();
    place(*rbuf, request_of(29, 5, 2));
    await_taken(*rbuf);
    over = true;
    join(former[0]);
    join(former[1]);
    EXPECT_EQ(fe_read_buf_struct_ptr, rbuf);
    EXPECT_NE(fe_write_buf_struct_ptr, nullptr);
    close();
    join_both();
    EXPECT_EQ(world().broadcasts.size(), 2U);
}

TEST_F(Stop, ComesAfterTheRequestInHandWhereThePointerIsGone) {
    start();
    fe_read_buf_struct_ptr = nullptr; // a consumer that waits already does not look at it
    place(*rbuf, request_of(29, 5));
    join(fe_fault_processor_thread_id);
    EXPECT_EQ(world().broadcasts.size(), 1U);
    fe_read_buf_struct_ptr = rbuf;
    close();
    join(fe_listener_thread_id);
    EXPECT_EQ(fe_read_buf_struct_ptr, nullptr);
}

TEST_F(Stop, IsNotKeptByAListenerThatLeftItsInterface) {
    world().listen = [](fe_read_buf_struct *) {
        if (__lsan_disable != nullptr) {
            __lsan_disable(); // for what the C library loads for good at the first such exit
        }
        pthread_exit(nullptr);
    };
    ASSERT_EQ(init_listener(), 0);
    fe_read_buf_struct *const abandoned = fe_read_buf_struct_ptr;
    join(fe_listener_thread_id);
    world().listen = [this](fe_read_buf_struct *) { closing.acquire(); };
    start();
    EXPECT_NE(rbuf, abandoned);
    place(*rbuf, request_of(29, 5));
    await_taken(*rbuf);
    close();
    join_both();
    EXPECT_EQ(world().broadcasts.size(), 1U);
    free(abandoned->fe_read_buf);
    free(abandoned);
}

// The test owns the read buffer, of which the fault processor is the last user; there has never been a listener.
TEST_F(Stop, LeavesAReadBufferOfSomebodyElse) {
    fe_read_buf shared{};
    fe_read_buf_struct foreign = {&shared, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER,
                                  PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER};
    fe_read_buf_struct_ptr = &foreign;
    take_destroyed();
    ASSERT_EQ(init_fault_processor(), 0);
    place(foreign, request_of(29, 5));
    await_taken(foreign);
    order_stop(foreign);
    join(fe_fault_processor_thread_id);
    EXPECT_EQ(fe_fault_count, 1U);
    EXPECT_EQ(fe_write_buf_struct_ptr, nullptr);
    const auto order = take_destroyed();
    ASSERT_EQ(order.size(), 4U);
    EXPECT_TRUE(order[2] == &foreign.fe_read_wait_cond && order[3] == &foreign.fe_read_wait_mutex);
    EXPECT_EQ(std::exchange(fe_read_buf_struct_ptr, nullptr), &foreign);
}

} // namespace
