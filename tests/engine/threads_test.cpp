// The three threads, and the passes of the fault processor.
#include "live_engine.h"

#include <cerrno>

namespace {

using Threads = LiveEngine;

TEST_F(Threads, StartJoinableOrSayThatTheyCannot) {
    world().listen = nullptr; // the loops of the core library return at once
    const struct {
        int32_t (*start)();
        pthread_attr_t *attr;
        pthread_t *id;
    } threads[] = {{init_listener, &fe_listener_thread_attr, &fe_listener_thread_id},
                   {init_broadcaster, &fe_broadcaster_thread_attr, &fe_broadcaster_thread_id},
                   {init_fault_processor, &fe_fault_processor_thread_attr, &fe_fault_processor_thread_id}};
    for (const auto &[start, attr, id] : threads) {
        {
            const FailCall no_thread(Call::thread_create, 1);
            EXPECT_EQ(start(), -1);
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
    EXPECT_EQ(world().calls, (std::vector<std::string>{"fe_init_interface", "fe_init_broadcaster"}));
}

bool is_locked(pthread_mutex_t &mutex) {
    const int result = pthread_mutex_trylock(&mutex);
    return result == EBUSY || pthread_mutex_unlock(&mutex) != 0;
}

TEST_F(Threads, ResultDecidesDumpTableAndBroadcast) {
    const std::string dump = "\nWRITE BUF DUMP:\n";
    const auto dispatched = [](int result) {
        return "\nExited the process_write_buf err = " + std::to_string(result) + "\n";
    };
    const auto updated = [](int result) {
        return "\nExited the update_fe_database err = " + std::to_string(result) + "\n";
    };
    const auto broadcast = [](const std::string &word, int filtered = 0) {
        return "\n" + word + (filtered != 0 ? ", filtered" : "");
    };
    const struct {
        uint8_t entity;
        int32_t severity, dispatch_result;
        std::string seen; // the lines of the loop itself, which begin with a line feed, and the broadcast's word
    } rows[] = {
        {29, 3, 0, dump + dispatched(0) + updated(0) + broadcast("warning")},
        {29, 4, 0, dump + dispatched(0) + updated(0) + broadcast("minor")},
        {29, 2, 0, dump + dispatched(0) + updated(0) + broadcast("the filter's")},
        {29, 0, 0, dump + dispatched(0) + updated(0) + broadcast("cleared")},
        {29, 0, 0, dump + dispatched(0) + updated(-1)},
        {210, 5, 0, dump + dispatched(0) + updated(0) + broadcast("major")},
        {210, 6, 0, dump + dispatched(0) + updated(2) + broadcast("critical", 1)},
        {29, 1, 2, dispatched(2) + broadcast("info", 1)},
        {29, 7, 2, dispatched(2) + broadcast("the filter's", 1)},
        {29, -1, 2, dispatched(2) + broadcast("the filter's", 1)},
        {29, 5, 1, dispatched(1)},
        {29, 5, -2, dispatched(-2)},
        {2, 5, 0, dispatched(-1)}, // has no handler
    };
    Request placed{};
    int32_t dispatch_result = 0;
    world().dispatch = [&](const std::string &, Request &request, Block &wbuf) {
        EXPECT_EQ(fe_flag(&fe_read_complete), 0);
        EXPECT_TRUE(is_zero(*rbuf->fe_read_buf) && is_zero(*wbuf.fe_write_buf));
        EXPECT_FALSE(is_locked(rbuf->fe_read_buf_mutex) || is_locked(rbuf->fe_read_wait_mutex));
        EXPECT_TRUE(is_locked(wbuf.fe_write_buf_mutex) && !is_locked(fe_table_mutex));
        EXPECT_EQ(std::memcmp(&request, &placed, sizeof placed), 0);
        std::memcpy(wbuf.fe_write_buf, &request, sizeof request);
        std::strcpy(wbuf.fe_write_buf->severity_word, "the filter's");
        return dispatch_result;
    };
    world().on_broadcast = [&](Block *wbuf) {
        EXPECT_EQ(wbuf, fe_write_buf_struct_ptr);
        EXPECT_TRUE(is_locked(wbuf->fe_write_buf_mutex) && !is_locked(fe_table_mutex));
        const std::lock_guard guard(world().lock);
        world().log.push_back(broadcast(wbuf->fe_write_buf->severity_word, fe_flag(&syslog_filter)));
    };
    start();
    for (const auto &[entity, severity, result, seen] : rows) {
        SCOPED_TRACE(seen);
        fe_set_flag(&syslog_filter, 0);
        dispatch_result = result;
        place(*rbuf, placed = request_of(entity, severity));
        await([] { return has_logged("Exited the process_write_buf"); });
        const Block &wbuf = *fe_write_buf_struct_ptr;
        pthread_mutex_lock(&fe_write_buf_struct_ptr->fe_write_buf_mutex); // the pass is over
        EXPECT_TRUE(is_zero(*wbuf.fe_write_buf));
        std::string lines;
        for (const std::string &line : std::exchange(world().log, {})) {
            lines += line.starts_with('\n') ? line : "";
        }
        EXPECT_EQ(lines, seen);
        pthread_mutex_unlock(&fe_write_buf_struct_ptr->fe_write_buf_mutex);
    }
    close();
    join_both();
}

} // namespace
