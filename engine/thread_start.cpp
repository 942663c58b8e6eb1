#include "engine/thread_start.h"

int32_t start_thread(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *)) {
    pthread_attr_init(attr);
    pthread_attr_setdetachstate(attr, PTHREAD_CREATE_JOINABLE);
    return pthread_create(id, attr, body, nullptr) == 0 ? 0 : -1;
}
