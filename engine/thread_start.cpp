#include "engine/thread_start.h"

#include "base/thread_safety.h"

namespace {

// Held over a start and its wait, so that is_ready speaks of one thread at a time; ready_lock is taken inside it. The
// broadcaster, for which nobody waits, starts without.
constinit private_lock one_start;

constinit private_lock ready_lock;
pthread_cond_t ready = PTHREAD_COND_INITIALIZER; // with ready_lock
bool is_ready FE_GUARDED_BY(ready_lock);         // whether the thread started last is

} // namespace

int32_t start_thread(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *)) {
    pthread_attr_init(attr);
    pthread_attr_setdetachstate(attr, PTHREAD_CREATE_JOINABLE);
    return pthread_create(id, attr, body, nullptr) == 0 ? 0 : -1;
}

int32_t start_thread_and_wait(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *)) {
    lock(one_start);
    lock(ready_lock);
    is_ready = false;
    const int32_t result = start_thread(attr, id, body);
    while (result == 0 && !is_ready) {
        wait(ready, ready_lock);
    }
    unlock(ready_lock);
    unlock(one_start);
    return result;
}

void thread_is_ready() {
    lock(ready_lock);
    is_ready = true;
    pthread_cond_broadcast(&ready);
    unlock(ready_lock);
}
