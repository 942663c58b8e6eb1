#pragma once

#include <cstdint>
#include <pthread.h>

// Starts a joinable thread on `body`. Returns 0, or -1 when it cannot be created.
int32_t start_thread(pthread_attr_t *attr, pthread_t *id, void *(*body)(void *));
