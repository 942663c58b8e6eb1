#include "engine/thread_start.h"

#include "base/thread_safety.h"

namespace {

// One start at a time; held for its whole length, with settled_lock inside it.
constinit private_lock one_start;

constinit private_lock settled_lock;
pthread_cond_t settled = PTHREAD_COND_INITIALIZER; // with settled_lock
bool is_settled FE_GUARDED_BY(settled_lock);       // the thread started last

} // namespace

int32_t start_thread(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *)) {
    pthread_attr_init(attr);
    pthread_attr_setdetachstate(attr, PTHREAD_CREATE_JOINABLE);
    return pthread_create(id, attr, body, nullptr) == 0 ? 0 : -1;
}

int32_t start_thread_and_settle(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *)) {
    lock(one_start);
    lock(settled_lock);
    is_settled = false;
    const int32_t result = start_thread(attr, id, body);
    while (result == 0 && !is_settled) {
        wait(settled, settled_lock);
    }
    unlock(settled_lock);
    unlock(one_start);
    return result;
}

void thread_is_settled() {
    lock(settled_lock);
    is_settled = true;
    pthread_cond_broadcast(&settled);
    unlock(settled_lock);
}
