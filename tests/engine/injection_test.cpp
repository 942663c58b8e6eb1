// Every call that can fail, at its first, second, ... place in every operation until the operation runs untouched, once
// alone and once with all behind it. Whatever fails, the engine stays sound and does the next thing right.
#include "support/engine_test.h"

#include <cerrno>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr uint8_t second_sensor = 0x31;
constexpr int32_t fault_code = 117; // of what the sensors report

Record event_of(uint8_t sensor_number, uint8_t dir_type = 0x01) {
    return event(0x01, dir_type, 0x57, sensor_number);
}

// The chain, a word a fault.
std::string keys() {
    std::string text;
    for (const fe_write_buf &fault : chain()) {
        text += std::to_string(fault.entity_id) + "/" + std::to_string(fault.entity_instance) + "/" +
                std::to_string(fault.vemoFaultCode) + ":" + std::to_string(fault.vemoFaultSeverity) + " ";
    }
    return text;
}

int lowest_free_descriptor() {
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

class Injection : public SelRoad {
protected:
    struct Operation {
        const char *name;
        std::vector<Fault> table;
        void (Injection::*act)();
        bool changes_once = true; // false: a failure may also leave a table between those before and after it
    };
    static const Operation operations[];

    void arrange_afresh(const std::vector<Fault> &table) {
        arrange();
        world().keeps = World::log_alone;
        world().sensors[second_sensor] = sensor(second_sensor, 3, 2, 0x01, 0x01);
        world().readings = {{road_sensor, 0}, {second_sensor, 0}}; // no threshold crossed
        world().dispatch = [](fe_read_buf &request, fe_write_buf_struct &wbuf) {
            memcpy(wbuf.fe_write_buf, &request, offsetof(fe_read_buf, eventType));
            wbuf.fe_write_buf->entity_id = 208; // has the storage status written
            wbuf.fe_write_buf->vemoFaultCode = fault_code;
            return 0;
        };
        world().listen = [this](fe_read_buf_struct *rbuf) { produce(*rbuf); };
        pauses = 0;
        world().on_pause = [this](int32_t) {
            if (++pauses > 3) {
                failure.reset(); // the reader tries to open the FIFO for as long as it takes
            }
        };
        make_fifo();
        sel_init_complete = table.size() < FE_TABLE_MAX_FAULTS ? 1 : 0; // the files of a full one take long
        std::ranges::for_each(table, put);
    }

    void make_fifo() const {
        unlink(sandbox.path("SA_vSEL_FIFO").c_str());
        ASSERT_EQ(mkfifo(sandbox.path("SA_vSEL_FIFO").c_str(), 0600), 0);
    }

    void take_record() { process(event_of(road_sensor)); }
    void take_clearing_record() { process(event_of(road_sensor, 0x81)); }
    void take_extended_record() { process_extended(event()); }
    void pass_over_duplicates() { cleanup_duplicate_events(); }
    void pass_over_stale() { cleanup_deasserted_events(); }

    // Each of the two chunks of the SEL has an event; the others are of an OEM type.
    void start_up() {
        {
            const Disarmed disarmed;
            sel_list_entry oem{};
            oem.record.record_type = 0xC0;
            world().sel.assign(513, oem);
            memcpy(&world().sel.front().record, event_of(road_sensor).data(), sizeof(Record));
            memcpy(&world().sel.back().record, event_of(second_sensor).data(), sizeof(Record));
        }
        sel_init_complete = 0;
        init_event_thread();
        EXPECT_EQ(sel_init_complete, 1);
    }

    void read_fifo() {
        fe_not_running = waits = refusals = 0;
        init_database();
        if (fcntl(fifo, F_GETFD) != -1) {
            close(fifo); // select() has failed for good: the reader leaves it as it is
        }
    }

    // Two records come; then, in an idle wait, another FIFO takes the place of the first; then the engine stops.
    int wait(int limit, fd_set *readable) {
        fifo = limit - 1;
        if (refusals < 3 && is_to_fail(Call::select)) {
            ++refusals;
            errno = waits == 0 ? EINTR : EBADF;
            return -1;
        }
        const Disarmed disarmed;
        if (++waits == 1) {
            EXPECT_EQ(write(fifo, event_of(road_sensor).data(), sizeof(Record)), 16);
            EXPECT_EQ(write(fifo, event_of(second_sensor).data(), sizeof(Record)), 16);
        } else if (waits == 2) {
            make_fifo();
            FD_ZERO(readable);
        } else {
            fe_not_running = 1;
        }
        return waits == 2 ? 0 : 1;
    }

    void run_threads() {
        fe_not_running = fe_read_complete = 0;
        fe_write_buf_struct_ptr = nullptr;
        processor = unknown;
        const auto usual_broadcaster = std::exchange(fe_core::hooks.broadcaster, [] { ++broadcasters; });
        const auto starts = [](int32_t (&init)(), pthread_attr_t &attr) {
            pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED); // which is not to count
            const int32_t result = init();
            EXPECT_TRUE(result == 0 || result == -1);
            return result == 0;
        };
        const bool listens = starts(init_listener, fe_listener_thread_attr);
        const bool broadcasts = starts(init_broadcaster, fe_broadcaster_thread_attr);
        processor = starts(init_fault_processor, fe_fault_processor_thread_attr) ? running : none;
        {
            const Disarmed disarmed;
            EXPECT_TRUE(!listens || pthread_join(fe_listener_thread_id, nullptr) == 0);
            EXPECT_TRUE(!broadcasts || pthread_join(fe_broadcaster_thread_id, nullptr) == 0);
            EXPECT_TRUE(processor == none || pthread_join(fe_fault_processor_thread_id, nullptr) == 0);
        }
        EXPECT_TRUE(fe_read_buf_struct_ptr == nullptr && fe_write_buf_struct_ptr == nullptr);
        EXPECT_EQ(broadcasters.exchange(0), broadcasts ? 1 : 0);
        fe_core::hooks.broadcaster = usual_broadcaster;
        fe_write_buf_struct_ptr = &buffer.block;
    }

    static inline std::atomic<int> broadcasters;

    // The listener has one request and waits until it is taken, or nobody is there to take it.
    void produce(fe_read_buf_struct &rbuf) {
        await([&] { return processor != unknown; });
        place(rbuf, request_of(3, FE_SEVERITY_MAJOR));
        while (processor == running && fe_flag(&fe_read_complete) != 0) {
            processor = pthread_tryjoin_np(fe_fault_processor_thread_id, nullptr) == 0 ? none : running;
        }
    }

    // False when nothing was made to fail any more.
    bool run(const Operation &operation, Call call, int nth, Way way, const std::string &good) {
        arrange_afresh(operation.table);
        const std::string before = keys();
        const int descriptor = lowest_free_descriptor(), failed = failed_calls();
        failure.emplace(call, nth, way);
        (this->*operation.act)();
        failure.reset();
        const bool has_failed = failed_calls() != failed;
        expect_idle();
        EXPECT_EQ(lowest_free_descriptor(), descriptor);
        EXPECT_TRUE(!operation.changes_once || keys() == before || keys() == good) << keys();
        (this->*operation.act)();
        EXPECT_EQ(keys(), good);
        expect_good_event();
        return has_failed;
    }

    void expect_good_event() {
        world().broadcasts.clear();
        sel_init_complete = 1;
        EXPECT_EQ(process(event_of(second_sensor)), 0);
        EXPECT_EQ(world().broadcasts.size(), 1U);
        EXPECT_TRUE(sandbox.bytes("fe_table.entry") == bytes_of(chain()) && sandbox.bytes("fe_table.sz").size() == 4);
        expect_idle();
    }

    enum { unknown, none, running };
    std::atomic<int> processor = unknown;
    std::optional<FailCall> failure;
    int fifo = -1, waits = 0, refusals = 0, pauses = 0;
    const ScriptedWait script{[this](int limit, fd_set *readable, auto...) { return wait(limit, readable); }};
};

const std::vector<Fault> same_fault = {{208, 1, fault_code}, {29, 1, 5}};

std::vector<Fault> full_table() {
    std::vector<Fault> faults;
    faults.reserve(FE_TABLE_MAX_FAULTS);
    for (int32_t i = 0; i < FE_TABLE_MAX_FAULTS; ++i) {
        faults.push_back({29, i / 8, i % 8});
    }
    return faults;
}

const Injection::Operation Injection::operations[] = {
    {"creation in an empty table", {}, &Injection::take_record},
    {"creation of an entity", {{29, 1, 5}}, &Injection::take_record},
    {"creation of an instance", {{208, 2, fault_code}}, &Injection::take_record},
    {"creation of a fault", {{208, 1, 5}}, &Injection::take_record},
    {"creation from an extended record", {}, &Injection::take_extended_record},
    {"update", same_fault, &Injection::take_record},
    {"clearing", same_fault, &Injection::take_clearing_record},
    {"eviction", full_table(), &Injection::take_record},
    {"duplicate pass", {{3, 1, 1}, {3, 1, 2}, {3, 1, 2, FE_SEVERITY_MAJOR, 1}}, &Injection::pass_over_duplicates},
    {"stale pass",
     {{3, 48, 1, FE_SEVERITY_MAJOR, 0, road_sensor},
      {3, 256, 1, FE_SEVERITY_MAJOR, 0, 256},
      {3, 49, 1, FE_SEVERITY_MAJOR, 0, second_sensor}},
     &Injection::pass_over_stale,
     false},
    {"start-up", {}, &Injection::start_up, false},
    {"FIFO reader", {}, &Injection::read_fifo, false},
    {"threads", {}, &Injection::run_threads},
};

TEST_F(Injection, WhateverFailsTheEngineStaysSound) {
    std::array<int, static_cast<size_t>(Call::count)> failures{};
    for (const Operation &operation : operations) {
        arrange_afresh(operation.table);
        (this->*operation.act)();
        const std::string good = keys();
        for (const Way way : {Way::alone, Way::with_all_behind_it}) {
            for (int call = 0; call < static_cast<int>(Call::count); ++call) {
                for (int nth = 1, more = 1; more != 0; ++nth) {
                    SCOPED_TRACE(testing::Message() << operation.name << ", call " << call << " number " << nth
                                                    << (way == Way::alone ? "" : " and later ones"));
                    more = run(operation, static_cast<Call>(call), nth, way, good) && !HasFailure();
                    failures[static_cast<size_t>(call)] += more;
                }
            }
        }
    }
    for (size_t call = 0; call < failures.size(); ++call) {
        EXPECT_GT(failures[call], 0) << "no call of kind " << call << " was made to fail";
    }
}

} // namespace
