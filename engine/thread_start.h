// How the engine's threads start.
#pragma once

#include <cstdint>
#include <pthread.h>

// Starts a joinable thread on `body`. Returns 0, or -1 when it cannot be created.
int32_t start_thread(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *));

// The same for a thread that others rely on: returns only when its body has called thread_is_ready(), which says that
// what it owns is published, or that it has given up.
int32_t start_thread_and_wait(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *));
void thread_is_ready();
