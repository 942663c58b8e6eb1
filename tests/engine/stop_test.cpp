// Lives of the two buffers: starts and stops in any order, with both roads at work.
#include "live_engine.h"

#include <array>

namespace {

constexpr std::array<uint8_t, 16> sel_event = {1, 0, 2, 0, 0, 0, 0, 0, 0, 4, 0x01, 0x30, 0x01, 0x57, 0, 0};
constexpr std::array<uint8_t, 24> super_sel_event = {0, 0, 0, 1, 0, 2,    0, 0, 0,    0,    0, 0,
                                                     0, 0, 4, 1, 0, 0x01, 0, 0, 0x01, 0x57, 0, 0}; // sensor 256

void await_stop() {
    await([] { return fe_flag(&fe_not_running) != 0; });
}

// Requests of the tests are for entity 29, the records of the SEL roads for 3 and 32.
class Stop : public LiveEngine {
protected:
    Stop() { arrange(); }
    static void arrange() {
        world().sensors[0x30] = sensor(0x30, 3, 1, 0x01, 0x01);
        world().event_text = "P1_THERM: going high";
    }
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
        std::function<void()> meanwhile; // in another thread
        bool dispatch_sees_stop;
        int dispatched, left_in_read_buffer;
        int failing_allocation = 0; // of the fault processor
    } moments[] = {
        {"before a request", 0, at_once, nothing, false, 0, 0},
        {"without a fault processor", 0, at_once, nothing, false, 0, 0, 1},
        {"after a pass", 1, [] { return has_logged("Exited the process"); }, nothing, false, 1, 0},
        {"in a pass", 1, dispatching, nothing, true, 1, 0},
        {"in a pass, while the producer waits until its next request is taken", 2,
         [&] { return await_taken(*rbuf), true; },
         [&] {
             await([&] { return dispatching() && fe_flag(&fe_read_complete) != 0; });
             order_stop(*rbuf);
         },
         true, 1, 1},
        {"in a pass, while a SEL road past its test for a write buffer waits for the mutex", 1,
         [] { return has_logged("Fault Severity: "); },
         [&] {
             await(dispatching);
             EXPECT_EQ(process_super_sel_data(super_sel_event.data()), 0);
         },
         true, 2, 0},
        {"while a SEL road fills the record", 0, dispatching,
         [] { await([] { return process_sel_data(sel_event.data()) == 0; }); }, true, 1, 0},
    };
    for (const auto &moment : moments) {
        SCOPED_TRACE(moment.what);
        reset_world();
        arrange();
        dispatched = 0;
        take_destroyed();
        std::vector<const void *> expected;
        world().listen = [&](fe_read_buf_struct *shared) {
            rbuf = shared;
            may_listen.acquire();
            if (moment.failing_allocation == 0) {
                expected = {&fe_write_buf_struct_ptr->fe_write_buf_cond, &fe_write_buf_struct_ptr->fe_write_buf_mutex};
            }
            expected.insert(expected.end(), {&rbuf->fe_read_wait_cond, &rbuf->fe_read_wait_mutex,
                                             &rbuf->fe_read_buf_cond, &rbuf->fe_read_buf_mutex});
            for (int i = 0; i < moment.requests; ++i)
                place(*rbuf, request_of(29, 5));
            await(moment.until);
        };
        world().dispatch = [&](const std::string &, Request &request, Block &block) {
            ++dispatched;
            moment.dispatch_sees_stop ? await_stop() : void();
            for (int i = 0; i < 1000; ++i)
                std::this_thread::yield();
            EXPECT_TRUE(take_destroyed().empty());
            EXPECT_EQ(fe_read_buf_struct_ptr, rbuf);
            EXPECT_EQ(fe_write_buf_struct_ptr, &block);
            std::memcpy(block.fe_write_buf, &request, sizeof request);
            return 0;
        };
        ASSERT_EQ(init_listener(), 0);
        {
            const FailCall no_memory(Call::allocate, moment.failing_allocation);
            ASSERT_EQ(init_fault_processor(), 0);
        }
        EXPECT_EQ(fe_write_buf_struct_ptr != nullptr, moment.failing_allocation == 0);
        may_listen.release();
        moment.meanwhile();
        join_both();
        EXPECT_EQ(take_destroyed(), expected);
        EXPECT_EQ(dispatched, moment.dispatched);
        EXPECT_EQ(fe_fault_count, static_cast<uint32_t>(moment.dispatched));
        EXPECT_EQ(fe_read_complete, moment.left_in_read_buffer);
        EXPECT_EQ(process_sel_data(sel_event.data()), -1);
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
    world().dispatch = [&](const std::string &, Request &request, Block &) {
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
    world().listen = [](fe_read_buf_struct *) { pthread_exit(nullptr); };
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
    Request shared{};
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

TEST_F(Stop, UnderLoadAndAgainHundredsOfTimes) {
    world().keep_log = false;
    int32_t placed = 0, taken = 0;
    int round = 0;
    std::atomic<int> committed[2] = {}, at_filter[2] = {};                              // by road: ordinary, extended
    world().dispatch = [&](const std::string &handler, Request &request, Block &wbuf) { // with the mutex held
        if (handler == "process_fan_fault")
            EXPECT_EQ(request.fe_fault_num, ++taken);
        else
            ++at_filter[handler == "process_mem_fault"];
        std::memcpy(wbuf.fe_write_buf, &request, sizeof request);
        return 0;
    };
    world().listen = [&](fe_read_buf_struct *shared) {
        const int before[] = {committed[0], committed[1]};
        const auto loaded = [&] { return committed[0] > before[0] && committed[1] > before[1]; };
        while (placed < round % 3 * 2 || (round % 6 == 5 && !loaded()))
            place(*shared, request_of(29, 5, ++placed));
        if (round % 6 == 4)
            await_taken(*shared);
    };
    const auto repeat = [](std::stop_token over, auto process, const uint8_t *record, std::atomic<int> &count) {
        while (!over.stop_requested())
            count += process(record) == 0 ? 1 : 0;
    };
    std::jthread ordinary(repeat, process_sel_data, sel_event.data(), std::ref(committed[0]));
    std::jthread extended(repeat, process_super_sel_data, super_sel_event.data(), std::ref(committed[1]));
    for (; round < 300; ++round) {
        fe_set_flag(&sel_init_complete, round % 2);
        ASSERT_EQ(init_listener(), 0);
        ASSERT_EQ(init_fault_processor(), 0);
        join(fe_listener_thread_id);
        join(fe_fault_processor_thread_id);
        ASSERT_EQ(taken, placed - fe_flag(&fe_read_complete)) << round; // the last one may have been left
        const std::lock_guard guard(world().lock);
        EXPECT_EQ(std::ranges::count(world().broadcasts, 29, &fe_write_buf::entity_id), taken) << round;
        placed = taken = 0;
        fe_set_flag(&fe_read_complete, 0);
        fe_set_flag(&fe_not_running, 0);
        world().calls.clear();
        world().broadcasts.clear();
    }
    ordinary = {}; // which ends it
    extended = {};
    EXPECT_TRUE(committed[0] == at_filter[0] && committed[1] == at_filter[1]);
    EXPECT_EQ(broken_invariant(), "");
}

} // namespace
