// The fault processor thread: owner of the write buffer, consumer of fault requests.
#include "base/buffer_block.h"
#include "engine/buffers.h"
#include "engine/commit.h"
#include "engine/thread_start.h"
#include "fault_engine/engine.h"
#include "fault_engine/fault_table.h"
#include "platform/fe_core/fe_core.h"

pthread_t fe_fault_processor_thread_id;
pthread_attr_t fe_fault_processor_thread_attr;

namespace {

// Null when out of memory.
write_buffer *new_write_buffer() {
    auto *wbuf = allocate_block<write_buffer>();
    if (wbuf != nullptr) {
        init_pair(wbuf->fe_write_buf_mutex, fe_write_buf_mutex_attr, wbuf->fe_write_buf_cond, fe_write_buf_cond_attr);
    }
    return wbuf;
}

bool is_stopping(const read_buffer_use &use) {
    return fe_flag(&fe_not_running) != 0 || is_closed(use);
}

// Waits for the next request and takes it. False when the engine is stopping.
bool take_request(const read_buffer_use &use, fe_read_buf &request) {
    fe_read_buf_struct *rbuf = use.buffer;
    pthread_mutex_lock(&rbuf->fe_read_buf_mutex);
    while (fe_flag(&fe_read_complete) == 0 && !is_stopping(use)) {
        pthread_cond_wait(fe_cond_of(&rbuf->fe_read_buf_cond), &rbuf->fe_read_buf_mutex);
    }
    if (is_stopping(use)) {
        pthread_mutex_unlock(&rbuf->fe_read_buf_mutex);
        return false;
    }
    request = *rbuf->fe_read_buf;
    *rbuf->fe_read_buf = {};
    pthread_mutex_unlock(&rbuf->fe_read_buf_mutex);

    pthread_mutex_lock(&rbuf->fe_read_wait_mutex);
    fe_set_flag(&fe_read_complete, 0);
    pthread_cond_signal(fe_cond_of(&rbuf->fe_read_wait_cond));
    pthread_mutex_unlock(&rbuf->fe_read_wait_mutex);
    return true;
}

void process_request(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    pthread_mutex_lock(&wbuf->fe_write_buf_mutex);
    int32_t result = fill_record(request, wbuf);
    if (result == 0) {
        complete_record(wbuf->fe_write_buf);
    }
    fe_logger("\nExited the process_write_buf err = %d\n", result);
    if (result == 0) {
        result = update_fe_database(wbuf);
        fe_logger("\nExited the update_fe_database err = %d\n", result);
    }
    broadcast_record(wbuf, result);
    clear_record(wbuf->fe_write_buf);
    pthread_mutex_unlock(&wbuf->fe_write_buf_mutex);
}

// Until the engine stops or, after a request, there is no read buffer any more.
void process_requests(const read_buffer_use &use, fe_write_buf_struct *wbuf) {
    fe_read_buf request;
    while (take_request(use, request)) {
        process_request(&request, wbuf);
        if (published_buffer<fe_read_buf_struct>() == nullptr) {
            return;
        }
    }
}

// Releases whoever waits on the write buffer; no road uses it any more.
void destroy_write_buffer_pair(fe_write_buf_struct *wbuf) {
    pthread_mutex_lock(&wbuf->fe_write_buf_mutex);
    pthread_cond_broadcast(fe_cond_of(&wbuf->fe_write_buf_cond));
    pthread_mutex_unlock(&wbuf->fe_write_buf_mutex);
    destroy_pair(wbuf->fe_write_buf_mutex, wbuf->fe_write_buf_cond);
}

// Releases a producer that waits for the hand-over, then leaves the read buffer.
void leave_as_consumer(const read_buffer_use &use) {
    fe_read_buf_struct *rbuf = use.buffer;
    pthread_mutex_lock(&rbuf->fe_read_wait_mutex);
    pthread_cond_broadcast(fe_cond_of(&rbuf->fe_read_wait_cond));
    pthread_mutex_unlock(&rbuf->fe_read_wait_mutex);
    leave_read_buffer(use);
}

void *fault_processor(void *) {
    write_buffer *wbuf = new_write_buffer();
    if (wbuf == nullptr) {
        thread_is_ready();
        return nullptr;
    }
    const auto consumer = enter_buffer<fe_read_buf_struct>(); // before the write buffer tells others so
    const write_buffer_use own_use = publish_buffer(wbuf);
    thread_is_ready();
    if (consumer.buffer != nullptr) {
        process_requests(consumer, wbuf);
    }

    close_buffer(wbuf);
    leave_write_buffer(own_use);
    await_unused(wbuf);
    destroy_write_buffer_pair(wbuf);
    if (consumer.buffer != nullptr && exists(consumer)) {
        leave_as_consumer(consumer);
    }
    release_buffer(wbuf);
    return nullptr;
}

} // namespace

int32_t init_fault_processor(void) {
    return start_thread_and_wait(&fe_fault_processor_thread_attr, &fe_fault_processor_thread_id, fault_processor);
}
