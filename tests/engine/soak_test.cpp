// Lives of the whole engine, one after the other, with everything at work at once: requests, both SEL roads, start-up
// walks, clean-up passes. The model follows every change, and a reader holds table and files against it.
#include "support/engine_test.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "support/choices.h"
#include "support/mirror.h"

namespace {

constexpr int requests_of_a_life = 20, sensors = 16;

const char *const lives_asked_for = getenv("FE_SOAK_LIVES");
const int lives = lives_asked_for != nullptr ? std::stoi(lives_asked_for) : 30;

class Soak : public LiveEngine {
protected:
    Soak() {
        world().keeps = World::nothing;
        world().event_text = "P1_THERM: going high";
        for (uint8_t number = 0; number < sensors; ++number) {
            world().sensors[number] = sensor(number, number % 4 == 0 ? 208 : 3, number % 3, 0x01, 0x01);
            world().readings[number] = number % 2; // no threshold crossed, or one
        }
        world().dispatch = [this](fe_read_buf &request, fe_write_buf_struct &wbuf) { return filter(request, wbuf); };
        world().on_broadcast = [this](fe_write_buf_struct *) { ++broadcasts; };
        world().listen = [this](fe_read_buf_struct *read_buffer) { produce(*read_buffer); };
        world().sel.resize(3);
        fe_set_flag(&sel_init_complete, 1);
        EXPECT_EQ(mkfifo(sandbox.path("SA_vSEL_FIFO").c_str(), 0600), 0);
        fifo = open("/var/SA_vSEL_FIFO", O_RDWR | O_NONBLOCK);
    }
    ~Soak() override { ::close(fifo); }

    // With the write buffer locked. Requests are for entity 29, and come in the order in which they were placed.
    int32_t filter(const fe_read_buf &request, fe_write_buf_struct &wbuf) {
        if (request.entity_id == 29) {
            EXPECT_EQ(request.fe_fault_num, ++taken);
        }
        fe_write_buf &record = *wbuf.fe_write_buf;
        std::memcpy(static_cast<void *>(&record), &request, offsetof(fe_read_buf, eventType));
        record.sens_num = request.sens_num;
        record.vemoFaultCode = 918 + ++dispatched % 4; // all related
        return 0;
    }

    void produce(fe_read_buf_struct &read_buffer) {
        Choices choose(static_cast<uint32_t>(life));
        const int before = dispatched;
        for (int i = 0; i < requests_of_a_life || dispatched < before + 200; ++i) {
            fe_read_buf request = request_of(29, choose.of({0, 1, 3, 4, 5, 6, 7}), ++placed);
            request.entity_instance = choose.of({1, 2});
            request.sens_num = choose.below(sensors + 1);
            place(read_buffer, request);
        }
        if (life % 2 == 0) { // in every other life the last request may be left
            await_taken(read_buffer);
        }
    }

    void write_record(Choices &choose) {
        const Record record = random_event(choose);
        [[maybe_unused]] const ssize_t written = write(fifo, record.data(), record.size());
        std::this_thread::yield();
    }
    static Record random_event(Choices &choose) {
        return event(0x01, choose.of<uint8_t>({0x01, 0x81}), choose.of<uint8_t>({0x50, 0x52, 0x57, 0x59}),
                     static_cast<uint8_t>(choose.below(sensors)));
    }

    // The thread does its work over and over until the soak ends.
    template <typename Work>
    std::jthread repeat(Work work) {
        return std::jthread([this, work](const std::stop_token &over) {
            for (Choices choose(static_cast<uint32_t>(++threads)); !over.stop_requested();) {
                work(choose);
            }
        });
    }

    void live_once() {
        ASSERT_EQ(init_listener(), 0);
        ASSERT_EQ(init_fault_processor(), 0);
        std::thread sel_side(init_database);
        join(fe_listener_thread_id);
        join(fe_fault_processor_thread_id);
        sel_side.join();
        ASSERT_EQ(taken, placed - fe_flag(&fe_read_complete)) << life;
        placed = taken = 0;
        fe_set_flag(&fe_read_complete, 0);
        fe_set_flag(&fe_not_running, 0);
    }

    Mirror mirror{sandbox, Threads::many};
    int fifo = -1, life = 0, placed = 0;
    int taken = 0; // with the write buffer locked
    std::atomic<int> dispatched = 0, broadcasts = 0, threads = 0, comparisons = 0;
};

TEST_F(Soak, IsFollowedByTheModel) {
    if (lives_asked_for != nullptr) {
        alarm(0);
    }
    put({3, 1, 5}); // there are files from the start
    {
        const std::jthread others[] = {
            repeat([this](Choices &choose) { write_record(choose); }),
            repeat([](Choices &choose) {
                process_extended(random_event(choose), 256 + choose.of({0, 1, 2}));
            }),
            repeat([](Choices &) { cleanup_deasserted_events(); }),
            repeat([](Choices &) { cleanup_duplicate_events(); }),
            repeat([this](Choices &) {
                mirror.compare();
                ++comparisons;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }),
        };
        for (; life < lives && !HasFatalFailure(); ++life) {
            live_once();
        }
    }
    mirror.compare();
    printf("%d lives, %d events at the entity filter, %d broadcasts, %d comparisons\n", life, dispatched.load(),
           broadcasts.load(), comparisons.load());
    EXPECT_GT(broadcasts, lives * requests_of_a_life);
    EXPECT_GT(mirror.model.freed, lives);
}

} // namespace
