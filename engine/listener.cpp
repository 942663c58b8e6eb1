// The listener thread: owner of the read buffer, host of the core library's producer.
#include <cstdlib>

#include "engine/buffers.h"
#include "engine/thread_start.h"
#include "fault_engine/engine.h"
#include "platform/fe_core/fe_core.h"

pthread_t fe_listener_thread_id;
pthread_attr_t fe_listener_thread_attr;

namespace {

// One start at a time; held by init_listener() for its whole length, with start_lock inside it.
pthread_mutex_t one_start = PTHREAD_MUTEX_INITIALIZER;

// Guards start_settled: the listener started last has published its read buffer, or given up.
pthread_mutex_t start_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t start_change = PTHREAD_COND_INITIALIZER;
bool start_settled;

void settle_start() {
    pthread_mutex_lock(&start_lock);
    start_settled = true;
    pthread_cond_broadcast(&start_change);
    pthread_mutex_unlock(&start_lock);
}

// Null when out of memory.
fe_read_buf_struct *new_read_buffer() {
    auto *rbuf = static_cast<fe_read_buf_struct *>(calloc(1, sizeof(fe_read_buf_struct)));
    if (rbuf == nullptr) {
        return nullptr;
    }
    rbuf->fe_read_buf = static_cast<fe_read_buf *>(calloc(1, sizeof(fe_read_buf)));
    if (rbuf->fe_read_buf == nullptr) {
        free(rbuf);
        return nullptr;
    }
    init_pair(rbuf->fe_read_buf_mutex, fe_read_buf_mutex_attr, rbuf->fe_read_buf_cond, fe_read_buf_cond_attr);
    init_pair(rbuf->fe_read_wait_mutex, fe_read_wait_mutex_attr, rbuf->fe_read_wait_cond, fe_read_wait_cond_attr);
    return rbuf;
}

void stop_engine(fe_read_buf_struct *rbuf) {
    pthread_mutex_lock(&rbuf->fe_read_buf_mutex);
    fe_set_flag(&fe_not_running, 1);
    pthread_cond_broadcast(cond_of(rbuf->fe_read_buf_cond));
    pthread_mutex_unlock(&rbuf->fe_read_buf_mutex);
}

void *listener(void *) {
    buffer_use producer;
    fe_read_buf_struct *rbuf = new_read_buffer();
    if (rbuf != nullptr) {
        publish_read_buffer(rbuf, producer);
    }
    settle_start();
    if (rbuf == nullptr) {
        return nullptr;
    }
    fe_init_interface(rbuf);

    // Withdrawn before the wake-up: a fault processor that misses the stop flag still sees that its buffer is no more.
    withdraw_read_buffer(rbuf, producer);
    stop_engine(rbuf);
    await_read_buffer_unused(rbuf);
    pthread_cond_destroy(cond_of(rbuf->fe_read_buf_cond));
    pthread_mutex_destroy(&rbuf->fe_read_buf_mutex);
    free(rbuf->fe_read_buf);
    rbuf->fe_read_buf = nullptr;
    free(rbuf);
    return nullptr;
}

} // namespace

int32_t init_listener(void) {
    pthread_mutex_lock(&one_start);
    pthread_mutex_lock(&start_lock);
    start_settled = false;
    const int32_t result = start_thread(&fe_listener_thread_attr, &fe_listener_thread_id, listener);
    while (result == 0 && !start_settled) {
        pthread_cond_wait(&start_change, &start_lock);
    }
    pthread_mutex_unlock(&start_lock);
    pthread_mutex_unlock(&one_start);
    return result;
}
