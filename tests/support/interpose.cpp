// Every function here may be called by the dynamic loader or a sanitizer's runtime before either is initialised, so
// those on that way are not instrumented and keep their state in plain zero-initialised memory.
#include "support/interpose.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#define UNINSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined")))

namespace {

constexpr const char *kPaths[] = {"/tmp/fe_table.entry", "/tmp/fe_table.sz", "/var/stor_stat", "/var/SA_vSEL_FIFO"};
constexpr const char *kBaseNames[] = {"fe_table.entry", "fe_table.sz", "stor_stat", "SA_vSEL_FIFO"};
constexpr int kFiles = 4;
constexpr int kDescriptors = 4096;

struct Arm {
    bool armed, lasting;
    int nth, seen;
};

struct ThreadState {
    Arm arms[static_cast<int>(Call::file) + 1]; // by Call
    std::vector<std::string> *trace;
    int disarmed;
    bool resolving; // inside dlsym, which may allocate
    bool counts_blocks;
    bool is_killed; // rather than refused the call
};
constinit thread_local ThreadState state{};

char sandbox[PATH_MAX];     // empty: none
int failing_opens;          // bit i: opens of file i fail
char file_of[kDescriptors]; // 1 + the file that is open there, 0: none of ours
int failed;                 // calls, of all threads
int block_count;            // of all threads that count blocks

UNINSTRUMENTED bool is_due(Arm &arm) {
    if (!arm.armed || state.disarmed > 0) {
        return false;
    }
    ++arm.seen;
    return arm.nth > 0 && (arm.lasting ? arm.seen >= arm.nth : arm.seen == arm.nth);
}

UNINSTRUMENTED bool is_due(Call call) {
    return is_due(state.arms[static_cast<int>(call)]);
}

UNINSTRUMENTED bool fails(Call call) {
    const bool is_file_call = call >= Call::open && call <= Call::close;
    const bool due_as_any = is_file_call && is_due(Call::file);
    if (due_as_any && state.is_killed) {
        raise(SIGKILL);
    }
    const bool due = is_due(call) || due_as_any;
    if (due) {
        __atomic_add_fetch(&failed, 1, __ATOMIC_RELAXED);
    }
    return due;
}

UNINSTRUMENTED void *count_block(void *block, int change) {
    if (block != nullptr && state.counts_blocks && state.disarmed == 0) {
        __atomic_add_fetch(&block_count, change, __ATOMIC_RELAXED);
    }
    return block;
}

// The next definition of the function, a sanitizer's or libc's; null while dlsym itself calls it.
template <typename Function>
UNINSTRUMENTED Function *next(Function *&cached, const char *name) {
    Function *found = __atomic_load_n(&cached, __ATOMIC_RELAXED);
    if (found == nullptr && !state.resolving) {
        state.resolving = true;
        found = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
        state.resolving = false;
        __atomic_store_n(&cached, found, __ATOMIC_RELAXED);
    }
    return found;
}

UNINSTRUMENTED int file_at(int descriptor) {
    const bool known = descriptor >= 0 && descriptor < kDescriptors;
    return known ? __atomic_load_n(&file_of[descriptor], __ATOMIC_RELAXED) - 1 : -1;
}

UNINSTRUMENTED void set_file_at(int descriptor, int file) {
    if (descriptor >= 0 && descriptor < kDescriptors) {
        __atomic_store_n(&file_of[descriptor], static_cast<char>(file + 1), __ATOMIC_RELAXED);
    }
}

UNINSTRUMENTED int file_of_path(const char *path) {
    int file = kFiles - 1;
    while (file >= 0 && strcmp(path, kPaths[file]) != 0) {
        --file;
    }
    return file;
}

void trace(std::initializer_list<std::string> words) {
    std::string line;
    for (const std::string &word : words) {
        line.append(line.empty() || word.empty() ? "" : " ").append(word);
    }
    state.trace->push_back(line);
}

// Records the call on a descriptor if this thread is traced.
UNINSTRUMENTED void trace(const char *call, int descriptor, const char *command = "", long number = -1) {
    if (state.trace != nullptr && state.disarmed == 0) {
        const Disarmed disarmed;
        const int file = file_at(descriptor);
        trace({call, file < 0 ? std::to_string(descriptor) : kBaseNames[file], command,
               number < 0 ? std::string() : std::to_string(number)});
    }
}

UNINSTRUMENTED void trace_open(const char *path, int flags, mode_t mode) {
    if (state.trace != nullptr && state.disarmed == 0) {
        const Disarmed disarmed;
        const bool creates = (flags & O_CREAT) != 0;
        std::string how = (flags & O_ACCMODE) == O_RDWR ? "RDWR" : "other";
        how.append(creates ? "|CREAT" : "")
            .append((flags & O_TRUNC) != 0 ? "|TRUNC" : "")
            .append((flags & O_NONBLOCK) != 0 ? "|NONBLOCK" : "");
        char octal[16] = "";
        snprintf(octal, sizeof octal, "%04o", static_cast<unsigned>(mode));
        trace({"open", std::filesystem::path(path).filename().string(), how, creates ? octal : ""});
    }
}

// A thread that starts with the allocation arm of its creator.
struct ArmedStart {
    void *(*body)(void *);
    void *argument;
    Arm allocate;
    bool counts_blocks;
};

void *run_armed(void *start) {
    const ArmedStart copy = *static_cast<ArmedStart *>(start);
    delete static_cast<ArmedStart *>(start);
    state.arms[static_cast<int>(Call::allocate)] = copy.allocate;
    state.counts_blocks = copy.counts_blocks;
    void *const result = copy.body(copy.argument);
    state.counts_blocks = false; // what the end of a thread frees is libc's
    return result;
}

UNINSTRUMENTED int refuse(int error) {
    errno = error;
    return -1;
}

UNINSTRUMENTED void *no_memory() {
    errno = ENOMEM;
    return nullptr;
}

void *(*next_malloc)(size_t);
void *(*next_calloc)(size_t, size_t);
void (*next_free)(void *);
int (*next_open)(const char *, int, ...);
int (*next_lockf)(int, int, off_t);
ssize_t (*next_write)(int, const void *, size_t);
ssize_t (*next_read)(int, void *, size_t);
int (*next_fsync)(int);
int (*next_close)(int);
int (*next_pthread_create)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);

// Before main: a sanitizer in the middle of a report opens files, and there dlsym would never return.
__attribute__((constructor)) void find_next_definitions() {
    next(next_open, "open");
    next(next_lockf, "lockf");
    next(next_write, "write");
    next(next_read, "read");
    next(next_fsync, "fsync");
    next(next_close, "close");
    next(next_calloc, "calloc");
    next(next_pthread_create, "pthread_create");
}

} // namespace

extern "C" {

UNINSTRUMENTED void *malloc(size_t size) noexcept {
    auto *const function = next(next_malloc, "malloc");
    return function == nullptr || fails(Call::allocate) ? no_memory() : count_block(function(size), 1);
}

UNINSTRUMENTED void *calloc(size_t count, size_t size) noexcept {
    auto *const function = next(next_calloc, "calloc");
    return function == nullptr || fails(Call::allocate) ? no_memory() : count_block(function(count, size), 1);
}

UNINSTRUMENTED void free(void *block) noexcept {
    auto *const function = next(next_free, "free");
    if (function != nullptr) {
        function(count_block(block, -1));
    }
}

UNINSTRUMENTED int open(const char *path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    trace_open(path, flags, mode);
    auto *const function = next(next_open, "open");
    if (fails(Call::open)) {
        return refuse(EMFILE);
    }
    const int file = file_of_path(path);
    if (file < 0) {
        return function(path, flags, mode);
    }
    if (sandbox[0] == '\0') {
        return refuse(ENOENT);
    }
    if ((__atomic_load_n(&failing_opens, __ATOMIC_RELAXED) & 1 << file) != 0) {
        return refuse(EACCES);
    }
    char redirected[PATH_MAX + 32];
    snprintf(redirected, sizeof redirected, "%s/%s", sandbox, kBaseNames[file]);
    const int descriptor = function(redirected, flags, mode);
    set_file_at(descriptor, file);
    return descriptor;
}

UNINSTRUMENTED int lockf(int descriptor, int command, off_t length) {
    trace("lockf", descriptor, command == F_LOCK ? "F_LOCK" : command == F_ULOCK ? "F_ULOCK" : "other", length);
    auto *const function = next(next_lockf, "lockf");
    return fails(Call::lockf) ? refuse(EDEADLK) : function(descriptor, command, length);
}

UNINSTRUMENTED ssize_t write(int descriptor, const void *bytes, size_t count) {
    trace("write", descriptor, "", static_cast<long>(count));
    auto *const function = next(next_write, "write");
    if (fails(Call::write)) {
        return refuse(ENOSPC);
    }
    return function(descriptor, bytes, fails(Call::write_short) ? count / 2 : count);
}

UNINSTRUMENTED ssize_t read(int descriptor, void *bytes, size_t count) {
    auto *const function = next(next_read, "read");
    return fails(Call::read) ? refuse(EIO) : function(descriptor, bytes, count);
}

UNINSTRUMENTED int fsync(int descriptor) {
    trace("fsync", descriptor);
    auto *const function = next(next_fsync, "fsync");
    return fails(Call::fsync) ? refuse(EIO) : file_at(descriptor) >= 0 ? 0 : function(descriptor);
}

// A failing close has closed all the same, as Linux does it.
UNINSTRUMENTED int close(int descriptor) {
    trace("close", descriptor);
    const bool failing = fails(Call::close);
    set_file_at(descriptor, -1);
    const int result = next(next_close, "close")(descriptor);
    return failing ? refuse(EIO) : result;
}

UNINSTRUMENTED int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                                  void *argument) noexcept {
    auto *const function = next(next_pthread_create, "pthread_create");
    if (fails(Call::thread_create)) {
        return EAGAIN;
    }
    ++state.disarmed; // what libc allocates for the thread is not the caller's
    const Arm &arm = state.arms[static_cast<int>(Call::allocate)];
    void *passed = argument;
    if (arm.armed || state.counts_blocks) {
        passed = new ArmedStart{start, argument, {arm.armed, arm.lasting, arm.nth, 0}, state.counts_blocks};
        start = run_armed;
    }
    const int result = function(thread, attributes, start, passed);
    --state.disarmed;
    return result;
}

} // extern "C"

SandboxPaths::SandboxPaths() {
    dir_ = (std::filesystem::temp_directory_path() / "fault_engine_XXXXXX").string();
    if (mkdtemp(dir_.data()) == nullptr || dir_.size() >= sizeof sandbox) {
        abort();
    }
    strcpy(sandbox, dir_.c_str());
}

SandboxPaths::~SandboxPaths() {
    sandbox[0] = '\0';
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

std::string SandboxPaths::path(const std::string &base_name) const {
    return dir_ + "/" + base_name;
}

std::string SandboxPaths::bytes(const std::string &base_name) const {
    const std::ifstream file(path(base_name), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return file ? content.str() : "<missing>";
}

void SandboxPaths::create(const std::string &base_name) const {
    std::ofstream(path(base_name)).flush();
}

FailCall::FailCall(Call call, int nth, bool lasting) : call_(call) {
    state.arms[static_cast<int>(call)] = {true, lasting, nth, 0};
}

FailCall::~FailCall() {
    state.arms[static_cast<int>(call_)].armed = false;
}

int FailCall::count() const {
    return state.arms[static_cast<int>(call_)].seen;
}

UNINSTRUMENTED bool is_to_fail(Call call) {
    return fails(call);
}

int failed_calls() {
    return __atomic_load_n(&failed, __ATOMIC_RELAXED);
}

void kill_before_file_call(int nth) {
    state.is_killed = true;
    state.arms[static_cast<int>(Call::file)] = {true, false, nth, 0};
}

BlockCount::BlockCount() {
    __atomic_store_n(&block_count, 0, __ATOMIC_RELAXED);
    state.counts_blocks = true;
}

BlockCount::~BlockCount() {
    state.counts_blocks = false;
}

int BlockCount::blocks() const {
    return __atomic_load_n(&block_count, __ATOMIC_RELAXED);
}

FailOpen::FailOpen(const std::string &base_name) {
    for (int file = 0; file < kFiles; ++file) {
        file_bit_ |= base_name == kBaseNames[file] ? 1 << file : 0;
    }
    __atomic_or_fetch(&failing_opens, file_bit_, __ATOMIC_RELAXED);
}

FailOpen::~FailOpen() {
    __atomic_and_fetch(&failing_opens, ~file_bit_, __ATOMIC_RELAXED);
}

Disarmed::Disarmed() {
    ++state.disarmed;
}

Disarmed::~Disarmed() {
    --state.disarmed;
}

CallTrace::CallTrace() {
    state.trace = &calls_;
}

CallTrace::~CallTrace() {
    state.trace = nullptr;
}

std::vector<std::string> CallTrace::calls() const {
    return calls_;
}
