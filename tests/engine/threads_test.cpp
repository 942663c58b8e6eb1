// The three threads, and the passes of the fault processor.
#include "live_engine.h"

#include <cerrno>

namespace {

struct Starter {
    int32_t (*start)();
    pthread_attr_t *attr;
    pthread_t *id;
};

const Starter listener = {init_listener, &fe_listener_thread_attr, &fe_listener_thread_id};
const Starter broadcaster = {init_broadcaster, &fe_broadcaster_thread_attr, &fe_broadcaster_thread_id};
const Starter fault_processor = {init_fault_processor, &fe_fault_processor_thread_attr, &fe_fault_processor_thread_id};

using Threads = LiveEngine;

TEST_F(Threads, StartJoinableOrSayThatTheyCannot) {
    world().listen = nullptr; // the loops of the core library return at once
    const DestroyLog destroyed;
    for (const auto &[start, attr, id] : {listener, broadcaster, fault_processor}) {
        {
            const FailCall no_thread(Call::thread_create, 1);
            EXPECT_EQ(start(), -1);
            EXPECT_EQ(fe_read_buf_struct_ptr, nullptr);
        }
        pthread_attr_setdetachstate(attr, PTHREAD_CREATE_DETACHED);
        EXPECT_EQ(start(), 0);
        int state = -1;
        pthread_attr_getdetachstate(attr, &state);
        EXPECT_EQ(state, PTHREAD_CREATE_JOINABLE);
        void *result = &state;
        EXPECT_EQ(pthread_join(*id, &result), 0);
        EXPECT_EQ(result, nullptr);
    }
    EXPECT_EQ(world().calls, (Lines{"fe_init_interface", "fe_init_broadcaster"}));
    EXPECT_EQ(destroyed.addresses().size(), 6U); // the fault processor ended through its stop, without a read buffer
    EXPECT_EQ(fe_read_buf_struct_ptr, nullptr);
    EXPECT_EQ(fe_write_buf_struct_ptr, nullptr);
}

TEST_F(Threads, EndAtOnceWhenOutOfMemory) {
    for (const int nth : {1, 2})
        for (const auto &[start, attr, id] : {listener, fault_processor}) {
            fresh();
            const bool listens = start == init_fault_processor;
            listens ? void(init_listener()) : void(world().listen = nullptr);
            const DestroyLog destroyed;
            {
                const FailCall no_memory(Call::allocate, nth); // of the thread that is created
                const Disarmed disarmed;
                EXPECT_EQ(start(), 0); // it has started, and given up
            }
            EXPECT_EQ(fe_read_buf_struct_ptr != nullptr, listens);
            if (listens) {
                close();
                join(fe_listener_thread_id);
            }
            join(*id);
            EXPECT_EQ(fe_write_buf_struct_ptr, nullptr);
            EXPECT_EQ(destroyed.addresses().size(), listens ? 4U : 0U) << nth; // those of the read buffer
            EXPECT_EQ(world().calls, Lines(listens ? 1 : 0, "fe_init_interface"));
            EXPECT_EQ(fe_not_running, listens ? 1 : 0);
        }
}

bool is_locked(pthread_mutex_t &mutex) {
    const int result = pthread_mutex_trylock(&mutex);
    return result == EBUSY || pthread_mutex_unlock(&mutex) != 0;
}

TEST_F(Threads, RequestIsTakenThenPassesEveryStepInOrder) {
    sel_init_complete = 1;
    const Request placed = request_of(29, FE_SEVERITY_MAJOR);
    world().dispatch = [&](const std::string &, Request &request, Block &wbuf) {
        EXPECT_EQ(fe_flag(&fe_read_complete), 0);
        EXPECT_TRUE(is_zero(*rbuf->fe_read_buf) && is_zero(*wbuf.fe_write_buf));
        EXPECT_FALSE(is_locked(rbuf->fe_read_buf_mutex) || is_locked(rbuf->fe_read_wait_mutex));
        EXPECT_TRUE(is_locked(wbuf.fe_write_buf_mutex) && !is_locked(fe_table_mutex));
        EXPECT_EQ(std::memcmp(&request, &placed, sizeof placed), 0);
        std::memcpy(wbuf.fe_write_buf, &request, sizeof request);
        wbuf.fe_write_buf->vemoFaultCode = 176;
        return 0;
    };
    world().on_broadcast = [&](Block *wbuf) {
        EXPECT_EQ(wbuf, fe_write_buf_struct_ptr);
        EXPECT_TRUE(is_locked(wbuf->fe_write_buf_mutex) && !is_locked(fe_table_mutex));
        EXPECT_EQ(logged("Exited the update_fe_database"), 1U);
    };
    start();
    place(*rbuf, placed);
    await([] { return logged("Exited the update_fe_database") == 1; });
    close();
    join_both();

    const Lines &log = world().log;
    const std::string keys = " (29/1/curr:176-prev:0) - sev: 5\n";
    ASSERT_EQ(log.size(), 36U);
    EXPECT_EQ(log[0], "\nWRITE BUF DUMP:\n");
    EXPECT_EQ(log[1], "fe_write_buf->sensor_name = FAN1_RPM\n");
    EXPECT_EQ(log[17], "fe_write_buf->vemoFaultOccur = 0\n"); // the table counts later
    EXPECT_EQ(log[25], "fe_write_buf->related_FaultCode.related_fc[1] = 177\n");
    EXPECT_EQ(log[31], "fe_write_buf->FaultName = \n");
    EXPECT_EQ(
        Lines(log.begin() + 32, log.end()),
        (Lines{"\nExited the process_write_buf err = 0\n", "List NULL, NO entity id found" + keys,
               "Fault node hierarchy created from entity id" + keys, "\nExited the update_fe_database err = 0\n"}));
    ASSERT_EQ(world().broadcasts.size(), 1U);
    EXPECT_STREQ(world().broadcasts[0].severity_word, "major");
    EXPECT_EQ(world().broadcasts[0].vemoFaultOccur, 1);
    EXPECT_EQ(sandbox.bytes("fe_table.sz"), std::string("\1\0\0\0", 4));
}

struct Pass {
    const char *what;
    uint8_t entity;
    int32_t severity, dispatch_result;
    int32_t table_result; // none: the table is not asked
    const char *word;     // of the broadcast; null: there is none
    int requests = 1;     // of the same fault; the last one counts
};

constexpr int32_t none = 99;
constexpr char filters_word[FE_SEVERITY_WORD_SIZE] = "what the filter wrote";

const Pass passes[] = {
    {"created", 29, 3, 0, 0, "warning"},
    {"repeated", 29, 4, 0, 0, "minor", 2},
    {"created, storage", 210, 5, 0, 0, "major"},
    {"repeated, storage", 210, 6, 0, 2, "critical", 2},
    {"nothing to clear", 29, 0, 0, -1, nullptr},
    {"no word for 2", 29, 2, 0, 0, filters_word},
    {"dispatch 2", 29, 1, 2, none, "info"},
    {"dispatch 2, cleared", 29, 0, 2, none, "cleared"},
    {"no word for 7", 29, 7, 2, none, filters_word},
    {"no word for -1", 29, -1, 2, none, filters_word},
    {"dispatch 1", 29, 5, 1, none, nullptr},
    {"dispatch -1", 29, 5, -1, none, nullptr},
    {"dispatch -2", 29, 5, -2, none, nullptr},
    {"no handler", 2, 5, -1, none, nullptr},
};

TEST_F(Threads, ResultDecidesDumpTableAndBroadcast) {
    for (const Pass &row : passes) {
        SCOPED_TRACE(row.what);
        fresh();
        world().dispatch = [&](const std::string &, Request &request, Block &wbuf) {
            std::memcpy(wbuf.fe_write_buf, &request, sizeof request);
            std::memcpy(wbuf.fe_write_buf->severity_word, filters_word, sizeof filters_word);
            request.vemoFaultSeverity = row.severity; // the word is that of the request after the dispatch
            wbuf.fe_write_buf->vemoFaultSeverity = row.severity;
            return row.dispatch_result;
        };
        start();
        const auto passed = [] { return logged("Exited the process_write_buf"); };
        for (size_t i = passed(); i < static_cast<size_t>(row.requests); ++i) {
            place(*rbuf, request_of(row.entity, 4));
            await([&] { return passed() == i + 1; });
            pthread_mutex_lock(&fe_write_buf_struct_ptr->fe_write_buf_mutex); // the pass is over
            EXPECT_TRUE(is_zero(*fe_write_buf_struct_ptr->fe_write_buf));
            pthread_mutex_unlock(&fe_write_buf_struct_ptr->fe_write_buf_mutex);
        }
        EXPECT_EQ(fe_read_complete, 0);
        close();
        join_both();

        const auto err = [](int32_t result) { return " err = " + std::to_string(result) + "\n"; };
        const size_t asked = row.table_result == none ? 0 : 1, all = static_cast<size_t>(row.requests);
        EXPECT_EQ(logged("\nExited the process_write_buf" + err(row.dispatch_result)), all);
        EXPECT_EQ(logged("\nExited the update_fe_database"), asked * all);
        EXPECT_TRUE(asked == 1 ? world().log.back() == "\nExited the update_fe_database" + err(row.table_result)
                               : world().log.size() == 1);
        EXPECT_EQ(logged("WRITE BUF DUMP"), asked * all);
        EXPECT_EQ(world().broadcasts.size(), row.word != nullptr ? all : 0);
        EXPECT_EQ(syslog_filter, row.word != nullptr && (row.dispatch_result == 2 || row.table_result == 2) ? 1 : 0);
        if (row.word != nullptr) {
            char word[sizeof filters_word];
            std::memcpy(word, filters_word, sizeof word);
            std::memcpy(word, row.word, std::strlen(row.word) + 1); // the rest of the field stays
            EXPECT_EQ(std::memcmp(world().broadcasts.back().severity_word, word, sizeof word), 0);
            EXPECT_EQ(world().syslog_filters.back(), syslog_filter);
        }
    }
}

TEST_F(Threads, SecondRequestIsPlacedDuringTheFirstAndWaitsForItsEnd) {
    std::vector<int32_t> dispatched;
    world().dispatch = [&](const std::string &, Request &request, Block &) {
        dispatched.push_back(request.fe_fault_num);
        EXPECT_EQ(world().broadcasts.size(), dispatched.size() - 1);
        if (request.fe_fault_num == 1)
            place(*rbuf, request_of(29, 5, 2)); // does not wait
        EXPECT_EQ(fe_flag(&fe_read_complete), request.fe_fault_num == 1 ? 1 : 0);
        return 2;
    };
    start();
    place(*rbuf, request_of(29, 5, 1));
    await([] { return logged("Exited") == 2; });
    close();
    join_both();
    EXPECT_EQ(dispatched, (std::vector<int32_t>{1, 2}));
}

} // namespace
