// The dynamic loader and a sanitizer's runtime may call these before they are initialised. What such a call comes through
// is not instrumented and keeps its state in plain zero-initialised memory.
#include "support/calls.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "tools/engine_files.h"

#define UNINSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined")))

std::function<void(const void *)> on_wake_up;
std::function<void(int, const std::string &)> on_syslog;

namespace {

struct Arm {
    int nth; // 0: not armed
    Way way;
    int seen;
};
constinit thread_local std::array<Arm, static_cast<size_t>(Call::count)> arms = {}; // by Call
constinit thread_local bool resolving = false;                                      // inside dlsym, which may allocate
std::atomic<int> failed;

std::mutex destroyed_lock;
// Stays for good: the end of the process destroys, too.
std::vector<const void *> &destroyed() {
    static auto &addresses = *new std::vector<const void *>;
    return addresses;
}

UNINSTRUMENTED int refuse(int error) {
    errno = error;
    return -1;
}

// Where the headers give a call another symbol, since times and file sizes are wider than the machine's words.
UNINSTRUMENTED const char *symbol_of(const char *name) {
#if defined(_TIME_BITS)
    constexpr const char *wide[][2] = {{"lockf", "lockf64"}, {"select", "__select64"}, {"fstat", "__fstat64_time64"}};
    for (const auto &[narrow, symbol] : wide) {
        if (strcmp(name, narrow) == 0) {
            return symbol;
        }
    }
#endif
    return name;
}

// The next definition of the function, a sanitizer's or libc's; null while dlsym itself calls it.
template <auto *function>
UNINSTRUMENTED auto *next(const char *name) {
    static decltype(function) found;
    decltype(function) result = __atomic_load_n(&found, __ATOMIC_RELAXED);
    if (result == nullptr && !resolving) {
        resolving = true;
        result = reinterpret_cast<decltype(function)>(dlsym(RTLD_NEXT, symbol_of(name)));
        resolving = false;
        __atomic_store_n(&found, result, __ATOMIC_RELAXED);
    }
    return result;
}
#define NEXT(name) next<&::name>(#name)

template <typename Function, typename... Sizes>
UNINSTRUMENTED void *allocate(Function *function, Sizes... sizes) {
    if (function == nullptr || is_to_fail(Call::allocate)) {
        errno = ENOMEM;
        return nullptr;
    }
    return function(sizes...);
}

// Records the call in these words if this thread is traced.
template <typename Words>
UNINSTRUMENTED void trace(const Words &words) {
    if (CallTrace::current != nullptr && Disarmed::depth == 0) {
        const Disarmed disarmed;
        CallTrace::current->seen(words());
    }
}

UNINSTRUMENTED void trace_call(const char *call, int descriptor, const char *word = "", long number = -1) {
    trace([=] {
        std::error_code ignored;
        const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
        const std::string file = std::filesystem::read_symlink(link, ignored).filename();
        return call + (" " + file) + word + (number < 0 ? "" : " " + std::to_string(number));
    });
}

int note_open(const char *path, int flags, mode_t mode) {
    trace([=] {
        char octal[16] = "";
        if ((flags & O_CREAT) != 0) {
            snprintf(octal, sizeof octal, " %04o", static_cast<unsigned>(mode));
        }
        return "open " + std::filesystem::path(path).filename().string() +
               ((flags & O_ACCMODE) == O_RDWR ? " RDWR" : " other") + (octal[0] != '\0' ? "|CREAT" : "") +
               ((flags & O_TRUNC) != 0 ? "|TRUNC" : "") + ((flags & O_NONBLOCK) != 0 ? "|NONBLOCK" : "") + octal;
    });
    return is_to_fail(Call::open) ? EMFILE : 0;
}
[[maybe_unused]] const bool asked_before_open = (before_open = note_open) != nullptr;

void note_destroyed(const void *address) {
    const Disarmed disarmed;
    const std::lock_guard guard(destroyed_lock);
    destroyed().push_back(address);
}

void note_wake_up(const void *cond) {
    if (on_wake_up) {
        const Disarmed disarmed;
        on_wake_up(cond);
    }
}

void note_syslog(int priority, const char *format) {
    const Disarmed disarmed;
    if (on_syslog) {
        on_syslog(priority, format);
    }
}

void *run_body(void *body) {
    return (*std::unique_ptr<std::function<void *()>>(static_cast<std::function<void *()> *>(body)))();
}

} // namespace

extern "C" {

UNINSTRUMENTED void *malloc(size_t size) noexcept {
    return allocate(NEXT(malloc), size);
}

UNINSTRUMENTED void *calloc(size_t count, size_t size) noexcept {
    return allocate(NEXT(calloc), count, size);
}

UNINSTRUMENTED int lockf(int descriptor, int command, off_t length) {
    trace_call("lockf", descriptor,
               command == F_LOCK    ? " F_LOCK"
               : command == F_ULOCK ? " F_ULOCK"
                                    : " other",
               static_cast<long>(length));
    return is_to_fail(Call::lockf) ? refuse(EDEADLK) : NEXT(lockf)(descriptor, command, length);
}

UNINSTRUMENTED ssize_t write(int descriptor, const void *bytes, size_t count) {
    trace_call("write", descriptor, "", static_cast<long>(count));
    if (is_to_fail(Call::write)) {
        return refuse(ENOSPC);
    }
    return NEXT(write)(descriptor, bytes, is_to_fail(Call::write_short) ? count / 2 : count);
}

UNINSTRUMENTED ssize_t read(int descriptor, void *bytes, size_t count) {
    return is_to_fail(Call::read) ? refuse(EIO) : NEXT(read)(descriptor, bytes, count);
}

// Nothing here need outlive the machine.
UNINSTRUMENTED int fsync(int descriptor) {
    trace_call("fsync", descriptor);
    return is_to_fail(Call::fsync) ? refuse(EIO) : 0;
}

// A failing close has closed all the same, as Linux does it.
UNINSTRUMENTED int close(int descriptor) {
    trace_call("close", descriptor);
    const bool failing = is_to_fail(Call::close);
    const int result = NEXT(close)(descriptor);
    return failing ? refuse(EIO) : result;
}

UNINSTRUMENTED int select(int limit, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
    const ScriptedWait *const script = ScriptedWait::current;
    return script != nullptr ? script->answer(limit, readable, writable, exceptional, timeout)
                             : NEXT(select)(limit, readable, writable, exceptional, timeout);
}

UNINSTRUMENTED int fstat(int descriptor, struct stat *status) noexcept {
    const int result = is_to_fail(Call::fstat) ? -1 : NEXT(fstat)(descriptor, status);
    if (ScriptedWait::current != nullptr) {
        errno = ScriptedWait::current->errno_of_fstat;
    }
    return result;
}

UNINSTRUMENTED int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                                  void *argument) noexcept {
    if (is_to_fail(Call::thread_create)) {
        return EAGAIN;
    }
    const Disarmed disarmed; // what libc allocates for the thread is not the caller's
    const auto creators_arms = arms;
    auto *const body = new std::function<void *()>([=] {
        arms = creators_arms;
        std::ranges::for_each(arms, [](Arm &arm) { arm.seen = 0; });
        return start(argument);
    });
    return NEXT(pthread_create)(thread, attributes, run_body, body);
}

UNINSTRUMENTED int pthread_mutex_destroy(pthread_mutex_t *mutex) noexcept {
    note_destroyed(mutex);
    return NEXT(pthread_mutex_destroy)(mutex);
}

UNINSTRUMENTED int pthread_cond_destroy(pthread_cond_t *cond) noexcept {
    note_destroyed(cond);
    return NEXT(pthread_cond_destroy)(cond);
}

UNINSTRUMENTED int pthread_cond_signal(pthread_cond_t *cond) noexcept {
    note_wake_up(cond);
    return NEXT(pthread_cond_signal)(cond);
}

UNINSTRUMENTED int pthread_cond_broadcast(pthread_cond_t *cond) noexcept {
    note_wake_up(cond);
    return NEXT(pthread_cond_broadcast)(cond);
}

void syslog(int priority, const char *format, ...) {
    note_syslog(priority, format);
}

// What a hardened build calls.
void __syslog_chk(int priority, int, const char *format, ...);
void __syslog_chk(int priority, int, const char *format, ...) {
    note_syslog(priority, format);
}

} // extern "C"

// Before main: a sanitizer in the middle of a report must not come here through dlsym, which would never return.
__attribute__((constructor)) static void find_next_definitions() {
    NEXT(lockf), NEXT(write), NEXT(read), NEXT(fsync), NEXT(close), NEXT(calloc), NEXT(pthread_create);
}

FailCall::FailCall(Call call, int nth, Way way) : call_(call) {
    arms[static_cast<size_t>(call)] = {nth, way, 0};
}

FailCall::~FailCall() {
    arms[static_cast<size_t>(call_)] = {};
}

UNINSTRUMENTED bool is_to_fail(Call call) {
    Arm &arm = arms[static_cast<size_t>(call)];
    if (arm.nth == 0 || Disarmed::depth > 0) {
        return false;
    }
    ++arm.seen;
    const bool due = arm.way == Way::with_all_behind_it ? arm.seen >= arm.nth : arm.seen == arm.nth;
    failed += due ? 1 : 0;
    return due;
}

int failed_calls() {
    return failed;
}

std::vector<const void *> take_destroyed() {
    const std::lock_guard guard(destroyed_lock);
    return std::exchange(destroyed(), {});
}
