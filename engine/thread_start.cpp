#include "engine/thread_start.h"

namespace {

// One start at a time; held for its whole length, with settled_lock inside it.
pthread_mutex_t one_start = PTHREAD_MUTEX_INITIALIZER;

pthread_mutex_t settled_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t settled = PTHREAD_COND_INITIALIZER; // with settled_lock
bool is_settled;                                   // the thread started last; guarded by settled_lock

} // namespace

int32_t start_thread(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *)) {
    pthread_attr_init(attr);
    pthread_attr_setdetachstate(attr, PTHREAD_CREATE_JOINABLE);
    return pthread_create(id, attr, body, nullptr) == 0 ? 0 : -1;
}

int32_t start_thread_and_settle(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *)) {
    pthread_mutex_lock(&one_start);
    pthread_mutex_lock(&settled_lock);
    is_settled = false;
    const int32_t result = start_thread(attr, id, body);
    while (result == 0 && !is_settled) {
        pthread_cond_wait(&settled, &settled_lock);
    }
    pthread_mutex_unlock(&settled_lock);
    pthread_mutex_unlock(&one_start);
    return result;
}

void thread_is_settled() {
    pthread_mutex_lock(&settled_lock);
    is_settled = true;
    pthread_cond_broadcast(&settled);
    pthread_mutex_unlock(&settled_lock);
}
