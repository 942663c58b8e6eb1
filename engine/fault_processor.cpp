// The fault processor thread: owner of the write buffer, consumer of fault requests.
#include "engine/buffers.h"
#include "engine/commit.h"
#include "engine/thread_start.h"
#include "fault_engine/engine.h"
#include "fault_engine/fault_table.h"
#include "fault_table/write_buffer.h"
#include "platform/fe_core/fe_core.h"

pthread_t fe_fault_processor_thread_id;
pthread_attr_t fe_fault_processor_thread_attr;

namespace {

// Null when out of memory.
fe_write_buf_struct *new_write_buffer() {
    fe_write_buf_struct *wbuf = allocate_write_buffer();
    if (wbuf == nullptr) {
        return nullptr;
    }
    init_pair(wbuf->fe_write_buf_mutex, fe_write_buf_mutex_attr, wbuf->fe_write_buf_cond, fe_write_buf_cond_attr);
    return wbuf;
}

// Releases whoever waits on the write buffer; nobody uses it any more.
void destroy_write_buffer_pair(fe_write_buf_struct *wbuf) {
    pthread_mutex_lock(&wbuf->fe_write_buf_mutex);
    pthread_cond_broadcast(cond_of(wbuf->fe_write_buf_cond));
    pthread_mutex_unlock(&wbuf->fe_write_buf_mutex);
    pthread_cond_destroy(cond_of(wbuf->fe_write_buf_cond));
    pthread_mutex_destroy(&wbuf->fe_write_buf_mutex);
}

bool is_stopping(const fe_read_buf_struct *rbuf) {
    return fe_flag(&fe_not_running) != 0 || !is_published(rbuf);
}

// Waits for the next request and takes it. False when the engine is stopping.
bool take_request(fe_read_buf_struct *rbuf, fe_read_buf &request) {
    pthread_mutex_lock(&rbuf->fe_read_buf_mutex);
    while (fe_flag(&fe_read_complete) == 0 && !is_stopping(rbuf)) {
        pthread_cond_wait(cond_of(rbuf->fe_read_buf_cond), &rbuf->fe_read_buf_mutex);
    }
    if (is_stopping(rbuf)) {
        pthread_mutex_unlock(&rbuf->fe_read_buf_mutex);
        return false;
    }
    request = *rbuf->fe_read_buf;
    *rbuf->fe_read_buf = {};
    pthread_mutex_unlock(&rbuf->fe_read_buf_mutex);

    pthread_mutex_lock(&rbuf->fe_read_wait_mutex);
    fe_set_flag(&fe_read_complete, 0);
    pthread_cond_signal(cond_of(rbuf->fe_read_wait_cond));
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

void *fault_processor(void *) {
    fe_write_buf_struct *wbuf = new_write_buffer();
    if (wbuf == nullptr) {
        return nullptr;
    }
    publish_write_buffer(wbuf);

    buffer_use consumer;
    fe_read_buf_struct *rbuf = enter_read_buffer(consumer);
    fe_read_buf request;
    while (rbuf != nullptr && take_request(rbuf, request)) {
        process_request(&request, wbuf);
    }

    withdraw_write_buffer(wbuf);
    destroy_write_buffer_pair(wbuf);
    if (rbuf != nullptr) {
        leave_read_buffer(rbuf, consumer);
    }
    free_write_buffer(wbuf);
    return nullptr;
}

} // namespace

int32_t init_fault_processor(void) {
    return start_thread(&fe_fault_processor_thread_attr, &fe_fault_processor_thread_id, fault_processor);
}
