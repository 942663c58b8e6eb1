#include "engine/buffers.h"

fe_read_buf_struct *fe_read_buf_struct_ptr;
fe_write_buf_struct *fe_write_buf_struct_ptr;

pthread_mutexattr_t fe_read_buf_mutex_attr;
pthread_mutexattr_t fe_read_wait_mutex_attr;
pthread_mutexattr_t fe_write_buf_mutex_attr;
pthread_condattr_t fe_read_buf_cond_attr;
pthread_condattr_t fe_read_wait_cond_attr;
pthread_condattr_t fe_write_buf_cond_attr;

namespace {

// Guards both buffer pointers and the list of uses. A leaf: no other lock is taken while it is held.
pthread_mutex_t buffer_lives = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t use_ended = PTHREAD_COND_INITIALIZER; // with buffer_lives
buffer_use *uses;

void begin_use(buffer_use &use, const void *buffer) {
    use = {.buffer = buffer, .next = uses};
    uses = &use;
}

void end_use(buffer_use &use) {
    buffer_use **link = &uses;
    while (*link != &use) {
        link = &(*link)->next;
    }
    *link = use.next;
    pthread_cond_broadcast(&use_ended);
}

bool is_used(const void *buffer) {
    for (const buffer_use *use = uses; use != nullptr; use = use->next) {
        if (use->buffer == buffer) {
            return true;
        }
    }
    return false;
}

void await_unused(const void *buffer) {
    while (is_used(buffer)) {
        pthread_cond_wait(&use_ended, &buffer_lives);
    }
}

// The core library and a waiting fault processor read the pointers without the lock.
template <class Buffer>
void store_pointer(Buffer *&pointer, Buffer *buffer) {
    __atomic_store_n(&pointer, buffer, __ATOMIC_RELEASE);
}

// Leaves a pointer alone that a later owner has set meanwhile.
template <class Buffer>
void withdraw_pointer(Buffer *&pointer, const Buffer *buffer) {
    if (pointer == buffer) {
        store_pointer<Buffer>(pointer, nullptr);
    }
}

bool has_other_uses(const buffer_use &mine) {
    for (const buffer_use *use = uses; use != nullptr; use = use->next) {
        if (use != &mine && use->buffer == mine.buffer) {
            return true;
        }
    }
    return false;
}

// The wait pair belongs to producer and consumer alike: the last of them destroys it. That can take as long as somebody
// waits on it, so the lock is not held.
void end_read_buffer_use(fe_read_buf_struct *rbuf, buffer_use &use) {
    pthread_mutex_lock(&buffer_lives);
    if (!has_other_uses(use)) {
        pthread_mutex_unlock(&buffer_lives);
        pthread_cond_destroy(cond_of(rbuf->fe_read_wait_cond));
        pthread_mutex_destroy(&rbuf->fe_read_wait_mutex);
        pthread_mutex_lock(&buffer_lives);
    }
    end_use(use);
    pthread_mutex_unlock(&buffer_lives);
}

} // namespace

void init_pair(pthread_mutex_t &mutex, pthread_mutexattr_t &mutex_attr, fe_shared_cond &cond,
               pthread_condattr_t &cond_attr) {
    pthread_mutexattr_init(&mutex_attr);
    pthread_mutex_init(&mutex, &mutex_attr);
    pthread_condattr_init(&cond_attr);
    pthread_cond_init(cond_of(cond), &cond_attr);
}

fe_write_buf_struct *enter_write_buffer(buffer_use &use) {
    pthread_mutex_lock(&buffer_lives);
    fe_write_buf_struct *wbuf = fe_write_buf_struct_ptr;
    if (wbuf != nullptr && wbuf->fe_write_buf == nullptr) {
        wbuf = nullptr;
    }
    if (wbuf != nullptr) {
        begin_use(use, wbuf);
    }
    pthread_mutex_unlock(&buffer_lives);
    return wbuf;
}

void leave_write_buffer(buffer_use &use) {
    pthread_mutex_lock(&buffer_lives);
    end_use(use);
    pthread_mutex_unlock(&buffer_lives);
}

void publish_write_buffer(fe_write_buf_struct *wbuf) {
    pthread_mutex_lock(&buffer_lives);
    store_pointer(fe_write_buf_struct_ptr, wbuf);
    pthread_mutex_unlock(&buffer_lives);
}

void withdraw_write_buffer(fe_write_buf_struct *wbuf) {
    pthread_mutex_lock(&buffer_lives);
    withdraw_pointer(fe_write_buf_struct_ptr, wbuf);
    await_unused(wbuf);
    pthread_mutex_unlock(&buffer_lives);
}

fe_read_buf_struct *enter_read_buffer(buffer_use &use) {
    pthread_mutex_lock(&buffer_lives);
    fe_read_buf_struct *rbuf = fe_read_buf_struct_ptr;
    if (rbuf != nullptr) {
        begin_use(use, rbuf);
    }
    pthread_mutex_unlock(&buffer_lives);
    return rbuf;
}

bool is_published(const fe_read_buf_struct *rbuf) {
    return __atomic_load_n(&fe_read_buf_struct_ptr, __ATOMIC_ACQUIRE) == rbuf;
}

void leave_read_buffer(fe_read_buf_struct *rbuf, buffer_use &use) {
    pthread_mutex_lock(&rbuf->fe_read_wait_mutex);
    pthread_cond_broadcast(cond_of(rbuf->fe_read_wait_cond));
    pthread_mutex_unlock(&rbuf->fe_read_wait_mutex);
    end_read_buffer_use(rbuf, use);
}

void publish_read_buffer(fe_read_buf_struct *rbuf, buffer_use &use) {
    pthread_mutex_lock(&buffer_lives);
    begin_use(use, rbuf);
    store_pointer(fe_read_buf_struct_ptr, rbuf);
    pthread_mutex_unlock(&buffer_lives);
}

void withdraw_read_buffer(fe_read_buf_struct *rbuf, buffer_use &use) {
    pthread_mutex_lock(&buffer_lives);
    withdraw_pointer(fe_read_buf_struct_ptr, rbuf);
    pthread_mutex_unlock(&buffer_lives);
    end_read_buffer_use(rbuf, use);
}

void await_read_buffer_unused(const fe_read_buf_struct *rbuf) {
    pthread_mutex_lock(&buffer_lives);
    await_unused(rbuf);
    pthread_mutex_unlock(&buffer_lives);
}
