// The listener thread: owner of the read buffer, host of the core library's producer.
#include "base/buffer_block.h"
#include "engine/buffers.h"
#include "engine/thread_start.h"
#include "fault_engine/engine.h"
#include "platform/fe_core/fe_core.h"

pthread_t fe_listener_thread_id;
pthread_attr_t fe_listener_thread_attr;

namespace {

// Null when out of memory.
read_buffer *new_read_buffer() {
    auto *rbuf = allocate_block<read_buffer>();
    if (rbuf != nullptr) {
        init_pair(rbuf->fe_read_buf_mutex, fe_read_buf_mutex_attr, rbuf->fe_read_buf_cond, fe_read_buf_cond_attr);
        init_pair(rbuf->fe_read_wait_mutex, fe_read_wait_mutex_attr, rbuf->fe_read_wait_cond, fe_read_wait_cond_attr);
    }
    return rbuf;
}

void stop_engine(fe_read_buf_struct *rbuf) {
    pthread_mutex_lock(&rbuf->fe_read_buf_mutex);
    fe_set_flag(&fe_not_running, 1);
    pthread_cond_broadcast(fe_cond_of(&rbuf->fe_read_buf_cond));
    pthread_mutex_unlock(&rbuf->fe_read_buf_mutex);
}

void *listener(void *) {
    read_buffer *rbuf = new_read_buffer();
    if (rbuf == nullptr) {
        thread_is_ready();
        return nullptr;
    }
    const read_buffer_use producer = publish_buffer(rbuf);
    thread_is_ready();
    fe_init_interface(rbuf);
    int former_state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE,
                           &former_state); // cancelled from here on, it would end with a lock held

    // Closed before the wake-up, so that the fault processor stops even if the daemon clears fe_not_running too early.
    close_buffer(rbuf);
    stop_engine(rbuf);
    leave_read_buffer(producer);
    await_unused(rbuf);
    destroy_pair(rbuf->fe_read_buf_mutex, rbuf->fe_read_buf_cond);
    release_buffer(rbuf);
    return nullptr;
}

} // namespace

int32_t init_listener(void) {
    return start_thread_and_wait(&fe_listener_thread_attr, &fe_listener_thread_id, listener);
}
