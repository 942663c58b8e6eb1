// Locks that Clang checks (-Wthread-safety): which data a lock guards, and which functions are called with it held.
#pragma once

#include <pthread.h>

#ifdef __clang__
#define FE_CAPABILITY __attribute__((capability("mutex")))
#define FE_GUARDED_BY(lock) __attribute__((guarded_by(lock)))
#define FE_REQUIRES(lock) __attribute__((requires_capability(lock)))
#define FE_EXCLUDES(lock) __attribute__((locks_excluded(lock)))
#define FE_ACQUIRE(lock) __attribute__((acquire_capability(lock)))
#define FE_RELEASE(lock) __attribute__((release_capability(lock)))
#define FE_UNCHECKED __attribute__((no_thread_safety_analysis))
#else
#define FE_CAPABILITY
#define FE_GUARDED_BY(lock)
#define FE_REQUIRES(lock)
#define FE_EXCLUDES(lock)
#define FE_ACQUIRE(lock)
#define FE_RELEASE(lock)
#define FE_UNCHECKED
#endif

struct FE_CAPABILITY private_lock {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

inline void lock(private_lock &held) FE_ACQUIRE(held) FE_UNCHECKED {
    pthread_mutex_lock(&held.mutex);
}

inline void unlock(private_lock &held) FE_RELEASE(held) FE_UNCHECKED {
    pthread_mutex_unlock(&held.mutex);
}

inline void wait(pthread_cond_t &change, private_lock &held) FE_REQUIRES(held) {
    pthread_cond_wait(&change, &held.mutex);
}
