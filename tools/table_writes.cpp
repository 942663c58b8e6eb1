#include "tools/table_writes.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <mutex>

namespace {

std::mutex failure_lock; // a leaf
std::string failure;     // protected by it

std::string path_of(int fd) {
    char path[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t length = readlink(link.c_str(), path, sizeof path);
    return {path, length > 0 ? static_cast<size_t>(length) : 0};
}

// The count file is the first that a change writes, and nothing else of the engine's is as long.
void forget_failure_before(int fd, size_t size) {
    const std::lock_guard lock(failure_lock);
    if (!failure.empty() && size == sizeof(uint32_t) && path_of(fd).ends_with("/fe_table.sz")) {
        failure.clear();
    }
}

void note_failure(int fd, const char *reason) {
    const std::string path = path_of(fd);
    const bool is_table = path.ends_with("/fe_table.entry") || path.ends_with("/fe_table.sz");
    const std::lock_guard lock(failure_lock);
    if (is_table && failure.empty()) {
        failure = path + ": " + reason;
    }
}

} // namespace

std::string table_write_failure() {
    const std::lock_guard lock(failure_lock);
    return failure;
}

extern "C" ssize_t write(int fd, const void *bytes, size_t size) {
    static const auto libc_function = reinterpret_cast<decltype(&write)>(dlsym(RTLD_NEXT, "write"));
    forget_failure_before(fd, size);
    const ssize_t written = libc_function(fd, bytes, size);
    if (written >= 0 && static_cast<size_t>(written) == size) {
        return written;
    }
    const int error = errno;
    note_failure(fd, written < 0 ? strerror(error) : "it could not be written whole");
    errno = error;
    return written;
}
