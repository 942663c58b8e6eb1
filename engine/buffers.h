// The lives of the two shared buffers. Whoever works on a buffer enters it and leaves it again; its owner, a user from
// the publication on, closes it, so that nobody new comes in, waits for the others to leave, and releases it. The
// exported pointer shows the buffer until the release. A buffer that somebody else has published is entered as well, but
// its life is his affair.
#pragma once

#include "base/thread_safety.h"
#include "fault_engine/fault_request.h"

// Guards the users and the closing of every buffer of this library's, and orders the library's own writes of the exported
// pointers, which are atomic: neighbours read and set them without it. A leaf: no other lock is taken inside it.
extern private_lock buffers_lock;

// A mutex and its condition, each with its attribute object at the defaults.
void init_pair(pthread_mutex_t &mutex, pthread_mutexattr_t &mutex_attr, fe_shared_cond &cond,
               pthread_condattr_t &cond_attr);
void destroy_pair(pthread_mutex_t &mutex, fe_shared_cond &cond);

// A block of this library's. The count of its users lies behind it on the heap, not on the owner's stack, which is gone when
// a thread ends inside a neighbour's call.
template <class Block>
struct owned_buffer : Block {
    uint32_t users FE_GUARDED_BY(buffers_lock);
    bool is_closed FE_GUARDED_BY(buffers_lock);
};

template <class Block>
struct buffer_use {
    Block *buffer;              // null: there was nothing to enter, and there is nothing to leave
    owned_buffer<Block> *owned; // the same buffer; null when it is somebody else's
};

using read_buffer = owned_buffer<fe_read_buf_struct>;
using read_buffer_use = buffer_use<fe_read_buf_struct>;
using write_buffer = owned_buffer<fe_write_buf_struct>;
using write_buffer_use = buffer_use<fe_write_buf_struct>;

template <class Block>
buffer_use<Block> publish_buffer(owned_buffer<Block> *buffer);

// The exported pointer as it stands, which others may set without the lock.
template <class Block>
Block *published_buffer();

// Enters the published buffer, unless it is closed or has no request or record.
template <class Block>
buffer_use<Block> enter_buffer();

void leave_write_buffer(const write_buffer_use &use);
// Producer and consumer share fe_read_wait_mutex and fe_read_wait_cond: the last of them destroys both.
void leave_read_buffer(const read_buffer_use &use);

template <class Block>
void close_buffer(owned_buffer<Block> *buffer);
bool is_closed(const read_buffer_use &use);

// Whether the entered buffer still exists: this library's do until all users have left, somebody else's while the exported
// pointer shows it.
bool exists(const read_buffer_use &use);

// Waits until nobody uses the buffer.
template <class Block>
void await_unused(owned_buffer<Block> *buffer);

// Frees the buffer and sets its pointer to null.
template <class Block>
void release_buffer(owned_buffer<Block> *buffer);
