#include "engine/buffers.h"

#include "base/buffer_block.h"
#include "base/thread_safety.h"

fe_read_buf_struct *fe_read_buf_struct_ptr;
fe_write_buf_struct *fe_write_buf_struct_ptr;

pthread_mutexattr_t fe_read_buf_mutex_attr;
pthread_mutexattr_t fe_read_wait_mutex_attr;
pthread_mutexattr_t fe_write_buf_mutex_attr;
pthread_condattr_t fe_read_buf_cond_attr;
pthread_condattr_t fe_read_wait_cond_attr;
pthread_condattr_t fe_write_buf_cond_attr;

constinit private_lock buffers_lock;

namespace {

pthread_cond_t user_left = PTHREAD_COND_INITIALIZER; // with buffers_lock

// The buffer that this library published last, until its release.
template <class Block>
constinit owned_buffer<Block> *newest FE_GUARDED_BY(buffers_lock) = nullptr;

template <class Block>
Block *&exported();
template <>
fe_read_buf_struct *&exported() {
    return fe_read_buf_struct_ptr;
}
template <>
fe_write_buf_struct *&exported() {
    return fe_write_buf_struct_ptr;
}

template <class Block>
void export_pointer(Block *block) {
    __atomic_store_n(&exported<Block>(), block, __ATOMIC_RELEASE);
}

template <class Block>
void leave(const buffer_use<Block> &use) {
    lock(buffers_lock);
    if (use.owned != nullptr) {
        --use.owned->users;
        pthread_cond_broadcast(&user_left);
    }
    unlock(buffers_lock);
}

} // namespace

void init_pair(pthread_mutex_t &mutex, pthread_mutexattr_t &mutex_attr, fe_shared_cond &cond,
               pthread_condattr_t &cond_attr) {
    pthread_mutexattr_init(&mutex_attr);
    pthread_mutex_init(&mutex, &mutex_attr);
    pthread_condattr_init(&cond_attr);
    pthread_cond_init(fe_cond_of(&cond), &cond_attr);
}

void destroy_pair(pthread_mutex_t &mutex, fe_shared_cond &cond) {
    pthread_cond_destroy(fe_cond_of(&cond));
    pthread_mutex_destroy(&mutex);
}

template <class Block>
buffer_use<Block> publish_buffer(owned_buffer<Block> *buffer) {
    lock(buffers_lock);
    buffer->users = 1;
    newest<Block> = buffer;
    export_pointer<Block>(buffer);
    unlock(buffers_lock);
    return {.buffer = buffer, .owned = buffer};
}

template <class Block>
Block *published_buffer() {
    return __atomic_load_n(&exported<Block>(), __ATOMIC_ACQUIRE);
}

template <class Block>
buffer_use<Block> enter_buffer() {
    lock(buffers_lock);
    Block *buffer = published_buffer<Block>();
    owned_buffer<Block> *owned = buffer == newest<Block> ? newest<Block> : nullptr;
    if (buffer == nullptr || content_of(*buffer) == nullptr || (owned != nullptr && owned->is_closed)) {
        buffer = owned = nullptr;
    }
    if (owned != nullptr) {
        ++owned->users;
    }
    unlock(buffers_lock);
    return {.buffer = buffer, .owned = owned};
}

void leave_write_buffer(const write_buffer_use &use) {
    leave(use);
}

void leave_read_buffer(const read_buffer_use &use) {
    lock(buffers_lock);
    const bool is_last = use.owned == nullptr || use.owned->users == 1;
    if (!is_last) { // in the section that looked: else two who leave together see two users, and nobody destroys the pair
        --use.owned->users;
        pthread_cond_broadcast(&user_left);
    }
    unlock(buffers_lock);
    if (is_last) { // nobody else uses the pair; without the lock, since destroying waits for those who still wake up
        destroy_pair(use.buffer->fe_read_wait_mutex, use.buffer->fe_read_wait_cond);
        leave(use);
    }
}

template <class Block>
void close_buffer(owned_buffer<Block> *buffer) {
    lock(buffers_lock);
    buffer->is_closed = true;
    unlock(buffers_lock);
}

bool exists(const read_buffer_use &use) {
    return use.owned != nullptr || use.buffer == published_buffer<fe_read_buf_struct>();
}

bool is_closed(const read_buffer_use &use) {
    lock(buffers_lock);
    const bool closed = use.owned != nullptr && use.owned->is_closed;
    unlock(buffers_lock);
    return closed;
}

template <class Block>
void await_unused(owned_buffer<Block> *buffer) {
    lock(buffers_lock);
    while (buffer->users > 0) {
        wait(user_left, buffers_lock);
    }
    unlock(buffers_lock);
}

// The pointer may be a later owner's meanwhile.
template <class Block>
void release_buffer(owned_buffer<Block> *buffer) {
    lock(buffers_lock);
    if (published_buffer<Block>() == buffer) {
        export_pointer<Block>(nullptr);
    }
    if (newest<Block> == buffer) {
        newest<Block> = nullptr;
    }
    unlock(buffers_lock);
    free_block(buffer);
}

template read_buffer_use publish_buffer(read_buffer *);
template write_buffer_use publish_buffer(write_buffer *);
template fe_read_buf_struct *published_buffer();
template fe_write_buf_struct *published_buffer();
template read_buffer_use enter_buffer();
template write_buffer_use enter_buffer();
template void close_buffer(read_buffer *);
template void close_buffer(write_buffer *);
template void await_unused(read_buffer *);
template void await_unused(write_buffer *);
template void release_buffer(read_buffer *);
template void release_buffer(write_buffer *);
