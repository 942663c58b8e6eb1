// The lives of the two shared buffers. Whoever works on a buffer registers its use, and whoever owns the buffer waits for
// the last use to end before it frees it; nobody can come in once the owner has withdrawn the pointer. It works just as
// well on buffers that somebody else has published.
#pragma once

#include "fault_engine/fault_request.h"

// The pthread calls want the type's own alignment, which the target's blocks do not keep; its glibc does not need it.
inline pthread_cond_t *cond_of(fe_shared_cond &cond) {
    return static_cast<pthread_cond_t *>(static_cast<void *>(&cond));
}

// A mutex and its condition, each with its attribute object at the defaults.
void init_pair(pthread_mutex_t &mutex, pthread_mutexattr_t &mutex_attr, fe_shared_cond &cond,
               pthread_condattr_t &cond_attr);

// One use of one buffer; it lives on the user's stack.
struct buffer_use {
    const void *buffer;
    buffer_use *next;
};

// The write buffer, from the test that there is one until its mutex has been released for the last time. Null when
// there is none, or no record in it; there is nothing to leave then.
fe_write_buf_struct *enter_write_buffer(buffer_use &use);
void leave_write_buffer(buffer_use &use);

// The fault processor's side of the write buffer.
void publish_write_buffer(fe_write_buf_struct *wbuf);
void withdraw_write_buffer(fe_write_buf_struct *wbuf); // returns when the last use has ended

// The fault processor's side of the read buffer. Null when there is none.
fe_read_buf_struct *enter_read_buffer(buffer_use &use);
bool is_published(const fe_read_buf_struct *rbuf);                 // false once its listener has withdrawn it
void leave_read_buffer(fe_read_buf_struct *rbuf, buffer_use &use); // releases waiting producers

// The listener's side of the read buffer; `use` stands for the producer inside fe_init_interface().
void publish_read_buffer(fe_read_buf_struct *rbuf, buffer_use &use);
void withdraw_read_buffer(fe_read_buf_struct *rbuf, buffer_use &use);
void await_read_buffer_unused(const fe_read_buf_struct *rbuf);
