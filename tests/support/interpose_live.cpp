#include "support/interpose_live.h"

#include <algorithm>
#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/stat.h>

#include "fault_engine/fault_table.h"

#define UNINSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined")))

namespace {

constinit thread_local const ScriptedWait *script = nullptr;
constinit thread_local const OnSweep *on_sweep = nullptr;

constexpr int kDestroyed = 256;
const void *destroyed[kDestroyed + 1]; // null behind the last
int destroyed_count = kDestroyed;      // kDestroyed: nothing is recorded

template <typename Function>
UNINSTRUMENTED Function *next(Function *&cached, const char *name) {
    Function *found = __atomic_load_n(&cached, __ATOMIC_RELAXED);
    if (found == nullptr) {
        found = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
        __atomic_store_n(&cached, found, __ATOMIC_RELAXED);
    }
    return found;
}

UNINSTRUMENTED void note_destroyed(const void *address) {
    int index = __atomic_load_n(&destroyed_count, __ATOMIC_RELAXED);
    while (index < kDestroyed && !__atomic_compare_exchange_n(&destroyed_count, &index, index + 1, false,
                                                              __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {
    }
    if (index < kDestroyed) {
        __atomic_store_n(&destroyed[index], address, __ATOMIC_RELEASE);
    }
}

int (*next_select)(int, fd_set *, fd_set *, fd_set *, timeval *);
int (*next_fstat)(int, struct stat *);
int (*next_mutex_destroy)(pthread_mutex_t *);
int (*next_cond_destroy)(pthread_cond_t *);
void (*next_sweep)();

} // namespace

extern "C" {

UNINSTRUMENTED int select(int limit, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
    if (script != nullptr) {
        return script->answer(limit, readable, writable, exceptional, timeout);
    }
    return next(next_select, "select")(limit, readable, writable, exceptional, timeout);
}

UNINSTRUMENTED int fstat(int descriptor, struct stat *status) noexcept {
    const int result = is_to_fail(Call::fstat) ? -1 : next(next_fstat, "fstat")(descriptor, status);
    if (script != nullptr) {
        errno = script->errno_of_fstat;
    }
    return result;
}

UNINSTRUMENTED int pthread_mutex_destroy(pthread_mutex_t *mutex) noexcept {
    note_destroyed(mutex);
    return next(next_mutex_destroy, "pthread_mutex_destroy")(mutex);
}

UNINSTRUMENTED int pthread_cond_destroy(pthread_cond_t *cond) noexcept {
    note_destroyed(cond);
    return next(next_cond_destroy, "pthread_cond_destroy")(cond);
}

// An export of the library, which calls it as anybody else would.
void cleanup_duplicate_events() {
    if (on_sweep != nullptr) {
        on_sweep->seen();
    }
    next(next_sweep, "cleanup_duplicate_events")();
}

} // extern "C"

ScriptedWait::ScriptedWait(Answer select_answer) : answer(std::move(select_answer)) {
    script = this;
}

ScriptedWait::~ScriptedWait() {
    script = nullptr;
}

OnSweep::OnSweep(std::function<void()> function) : seen(std::move(function)) {
    on_sweep = this;
}

OnSweep::~OnSweep() {
    on_sweep = nullptr;
}

DestroyLog::DestroyLog() {
    std::fill(std::begin(destroyed), std::end(destroyed), nullptr);
    __atomic_store_n(&destroyed_count, 0, __ATOMIC_RELAXED);
}

DestroyLog::~DestroyLog() {
    __atomic_store_n(&destroyed_count, kDestroyed, __ATOMIC_RELAXED);
}

std::vector<const void *> DestroyLog::addresses() const {
    std::vector<const void *> result;
    while (const void *const address = __atomic_load_n(&destroyed[result.size()], __ATOMIC_ACQUIRE)) {
        result.push_back(address);
    }
    return result;
}

bool DestroyLog::has(const void *address) const {
    const auto all = addresses();
    return std::find(all.begin(), all.end(), address) != all.end();
}
