// Lives of the two buffers: starts and stops in any order, with both roads at work.
#include "live_engine.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr std::array<uint8_t, 16> sel_event = {1, 0, 2, 0, 0, 0, 0, 0, 0, 4, 0x01, 0x30, 0x01, 0x57, 0, 0};
constexpr std::array<uint8_t, 24> super_sel_event = {0, 0, 0, 1, 0, 2,    0, 0, 0,    0,    0, 0,
                                                     0, 0, 4, 1, 0, 0x01, 0, 0, 0x01, 0x57, 0, 0}; // sensor 256

class Stop : public LiveEngine {
protected:
    // Requests of the tests are for entity 29, the records of the SEL roads for 3 and 32.
    static void serve_sel_roads() {
        world().sensors[0x30] = sensor(0x30, 3, 1, 0x01, 0x01);
        world().event_text = "P1_THERM: going high";
    }
    static void await_stop() {
        await([] { return fe_flag(&fe_not_running) != 0; });
    }
};

TEST_F(Stop, DestroysInOrder) {
    const DestroyLog destroyed;
    start();
    place(*rbuf, request_of(29, 5));
    await([] { return logged("update_fe_database") == 1; });
    const Block &wbuf = *fe_write_buf_struct_ptr;
    close();
    join_both();
    EXPECT_EQ(destroyed.addresses(), (std::vector<const void *>{&wbuf.fe_write_buf_cond, &wbuf.fe_write_buf_mutex,
                                                                &rbuf->fe_read_wait_cond, &rbuf->fe_read_wait_mutex,
                                                                &rbuf->fe_read_buf_cond, &rbuf->fe_read_buf_mutex}));
    EXPECT_EQ(fe_fault_count, 1U); // the table stays
}

TEST_F(Stop, FinishesTheRequestInWork) {
    world().dispatch = [&](const std::string &, Request &, Block &) {
        close();
        await_stop();
        return 0;
    };
    start();
    place(*rbuf, request_of(29, 5));
    join_both();
    EXPECT_EQ(fe_read_complete, 0);
    EXPECT_EQ(logged("update_fe_database err = -1"), 1U);
}

TEST_F(Stop, LeavesAPlacedRequestAndReleasesItsProducer) {
    world().dispatch = [&](const std::string &, Request &, Block &) {
        await([] { return fe_flag(&fe_read_complete) != 0; }); // the second is there
        order_stop(*rbuf);
        return 1;
    };
    world().listen = [&](fe_read_buf_struct *shared) {
        place(*shared, request_of(29, 5, 1));
        place(*shared, request_of(29, 5, 2));
        await_taken(*shared);
        EXPECT_EQ(shared->fe_read_buf->fe_fault_num, 2);
    };
    start();
    join_both();
    EXPECT_EQ(fe_read_complete, 1);
    EXPECT_EQ(logged("Exited"), 1U);
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

// The test owns the read buffer; there has never been a listener.
TEST_F(Stop, LeavesAReadBufferOfSomebodyElse) {
    for (const bool withdrawn : {false, true}) {
        SCOPED_TRACE(withdrawn);
        fresh();
        Request shared{};
        fe_read_buf_struct foreign = {&shared, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER,
                                      PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER};
        fe_read_buf_struct_ptr = &foreign;
        world().dispatch = [&](const std::string &, Request &, Block &) {
            withdrawn ? void(fe_read_buf_struct_ptr = nullptr) : order_stop(foreign);
            return 2;
        };
        const DestroyLog destroyed;
        ASSERT_EQ(init_fault_processor(), 0);
        place(foreign, request_of(29, 5));
        join(fe_fault_processor_thread_id);

        EXPECT_EQ(world().broadcasts.size(), 1U);
        EXPECT_EQ(fe_write_buf_struct_ptr, nullptr);
        const auto order = destroyed.addresses();
        ASSERT_EQ(order.size(), 4U);
        EXPECT_TRUE(order[2] == &foreign.fe_read_wait_cond && order[3] == &foreign.fe_read_wait_mutex);
        EXPECT_EQ(fe_read_buf_struct_ptr, withdrawn ? nullptr : &foreign);
        fe_read_buf_struct_ptr = nullptr;
    }
}

// A SEL road is past its test for a write buffer, which its summary lines say, and waits for the mutex, which the fault
// processor holds; the stop comes.
TEST_F(Stop, WaitsForASelRoadThatIsAboutToLock) {
    serve_sel_roads();
    const DestroyLog destroyed;
    world().dispatch = [&](const std::string &handler, Request &, Block &wbuf) {
        if (handler == "process_fan_fault") {
            await([] { return logged("Fault Severity: ") == 1; });
            close();
            await_stop();
        } else
            EXPECT_FALSE(destroyed.has(&wbuf.fe_write_buf_mutex));
        return 1;
    };
    start();
    place(*rbuf, request_of(29, 5));
    await_taken(*rbuf);
    EXPECT_EQ(process_super_sel_data(super_sel_event.data()), 0);
    join_both();
    EXPECT_EQ(logged("process_write_buf returned err = 1\n"), 1U);
}

TEST_F(Stop, WaitsForASelRoadThatIsDispatching) {
    serve_sel_roads();
    const DestroyLog destroyed;
    world().dispatch = [&](const std::string &, Request &request, Block &wbuf) {
        close();
        await_stop();
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
        EXPECT_EQ(pthread_tryjoin_np(fe_fault_processor_thread_id, nullptr), EBUSY);
        EXPECT_FALSE(destroyed.has(&wbuf.fe_write_buf_mutex));
        std::memcpy(wbuf.fe_write_buf, &request, sizeof request);
        return 0;
    };
    start();
    await([] { return process_sel_data(sel_event.data()) == 0; }); // once there is a write buffer
    join_both();
    EXPECT_EQ(process_sel_data(sel_event.data()), -1);
    EXPECT_EQ(fe_fault_count, 1U);
}

// One road of SEL records, at work all the time: what it says was committed must have been dispatched.
struct Road {
    explicit Road(std::function<int32_t()> next_record)
        : thread([this, next_record] {
              while (!over) {
                  const int32_t result = next_record();
                  committed += result == 0 ? 1 : 0;
                  EXPECT_TRUE(result == 0 || result == -1) << result;
              }
          }) {}
    ~Road() {
        over = true;
        thread.join();
        EXPECT_EQ(committed, dispatched);
    }
    std::atomic<bool> over = false;
    std::atomic<int> committed = 0, dispatched = 0;
    std::thread thread;
};

// What the producer does before it ends the interface.
struct End {
    int requests;
    bool last_taken; // waits until it was
    bool loaded;     // goes on until both SEL roads have committed a record meanwhile
};

const End ends[] = {{0, false, false}, {1, false, false}, {5, false, false},
                    {1, true, false},  {5, true, false},  {0, false, true}};

TEST_F(Stop, UnderLoadAndAgainHundredsOfTimes) {
    serve_sel_roads();
    world().keep_log = false;
    std::vector<int32_t> taken; // by fe_write_buf_mutex
    int32_t last_placed = 0;
    int round = 0;
    Road *roads[2] = {};
    world().dispatch = [&](const std::string &handler, Request &request, Block &wbuf) {
        handler == "process_fan_fault" ? taken.push_back(request.fe_fault_num)
                                       : void(++roads[handler == "process_mem_fault"]->dispatched);
        EXPECT_TRUE(is_zero(*wbuf.fe_write_buf));
        std::memcpy(wbuf.fe_write_buf, &request, sizeof request);
        return 0;
    };
    world().listen = [&](fe_read_buf_struct *shared) {
        const End &end = ends[round % std::ssize(ends)];
        const int before[] = {roads[0]->committed, roads[1]->committed};
        while (last_placed < end.requests ||
               (end.loaded && (roads[0]->committed == before[0] || roads[1]->committed == before[1])))
            place(*shared, request_of(29, 5, ++last_placed));
        if (end.last_taken)
            await_taken(*shared);
    };
    Road ordinary([] { return process_sel_data(sel_event.data()); });
    Road extended([] { return process_super_sel_data(super_sel_event.data()); });
    roads[0] = &ordinary, roads[1] = &extended;
    for (; round < 300; ++round) {
        last_placed = 0;
        fe_set_flag(&sel_init_complete, round % 2);
        ASSERT_EQ(init_listener(), 0);
        ASSERT_EQ(init_fault_processor(), 0);
        join(fe_listener_thread_id);
        join(fe_fault_processor_thread_id);

        // Taken in order, each once; the last one placed may have been left.
        const int32_t left = fe_flag(&fe_read_complete);
        ASSERT_EQ(std::ssize(taken), last_placed - left) << round;
        for (int32_t i = 0; i < last_placed - left; ++i)
            ASSERT_EQ(taken[static_cast<size_t>(i)], i + 1) << round;
        const std::lock_guard guard(world().lock);
        EXPECT_EQ(std::ranges::count(world().broadcasts, 29, &fe_write_buf::entity_id), std::ssize(taken)) << round;
        taken.clear();
        fe_set_flag(&fe_read_complete, 0);
        fe_set_flag(&fe_not_running, 0);
        world().calls.clear();
        world().broadcasts.clear();
    }
    EXPECT_EQ(__atomic_load_n(&fe_write_buf_struct_ptr, __ATOMIC_RELAXED), nullptr);
    EXPECT_EQ(broken_invariant(), "");
}

TEST_F(Stop, RequestAndSelRecordOfOneFaultMeetInTheTable) {
    serve_sel_roads();
    world().listen = [&](fe_read_buf_struct *shared) {
        place(*shared, request_of(3, 5));
        await([] { return logged("Update the fault found (3/1/") == 1; });
    };
    const std::string path = sandbox.path("SA_vSEL_FIFO");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int writer = open(path.c_str(), O_RDWR | O_NONBLOCK);
    start();
    std::thread sel([] { EXPECT_EQ(init_database(), 0); });
    await([] { return logged("Exited the update_fe_database err = 0") == 1; });
    EXPECT_EQ(write(writer, sel_event.data(), sel_event.size()), 16);
    join_both();
    EXPECT_EQ(write(writer, sel_event.data(), sel_event.size()), 16); // activity, by which the reader sees the stop
    sel.join();
    ::close(writer);
    EXPECT_EQ(fe_fault_count, 1U);
    EXPECT_EQ(fe_table_head_ptr->record.vemoFaultOccur, 2);
}

} // namespace
