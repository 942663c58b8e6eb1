#include "tools/sel_fifo.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "fault_engine/sel.h"
#include "tools/engine_files.h"
#include "tools/fectl.h"

namespace {

constexpr mode_t fifo_mode = 0660;

// A whole record, so that whoever reads the FIFO next stays in step; of an OEM type, which the engine refuses.
constexpr sel_record wake_up = {.record_id = {},
                                .record_type = 0xFF,
                                .timestamp = {},
                                .generator_id = {},
                                .format_revision = 0,
                                .sensor_type = 0,
                                .sensor_number = 0,
                                .event_dir_type = 0,
                                .event_data = {}};

thread_local bool is_fifo_reader = false;
std::atomic<bool> read_but_not_taken;

bool is_wake_up(const void *record) {
    return memcmp(record, &wake_up, sizeof wake_up) == 0;
}

[[noreturn]] void refuse(const std::string &path, const char *what, int error) {
    throw Refusal(path + ": " + what + ": " + strerror(error));
}

// Without fectl's own open() in between.
int open_fifo(const std::string &path, int mode) {
    return openat(AT_FDCWD, path.c_str(), mode | O_NONBLOCK | O_CLOEXEC);
}

void check_is_fifo(const std::string &path, bool create) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        if (errno != ENOENT) {
            refuse(path, "cannot open the FIFO", errno);
        }
        if (!create) {
            throw Refusal(path + ": there is no FIFO; --fifo-create makes one, --file-dir DIR puts it into DIR");
        }
        if (mkfifo(path.c_str(), fifo_mode) != 0) {
            refuse(path, "cannot create the FIFO", errno);
        }
    } else if (!S_ISFIFO(status.st_mode)) {
        throw Refusal(path + ": not a FIFO");
    }
}

} // namespace

SelFifo::SelFifo(const std::string &path, bool create) : path_(path), fd_(-1) {
    check_is_fifo(path, create);
    fd_ = open_fifo(path, O_RDWR);
    if (fd_ < 0) {
        refuse(path, "cannot open the FIFO", errno);
    }
    if (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        close(fd_);
        if (error != EWOULDBLOCK) {
            refuse(path, "cannot lock the FIFO", error);
        }
        throw Refusal(path + ": another fectl reads the FIFO");
    }
}

SelFifo::~SelFifo() {
    close(fd_);
    if (fd_at_stop_ >= 0) {
        close(fd_at_stop_);
    }
}

// The file may have been removed, or made anew, while the reader waited: it sits on the old one, on the one that is there
// now, or is about to open what there is.
void SelFifo::wake_reader() {
    fd_at_stop_ = open_fifo(path_, O_RDWR);
    for (const int fd : {fd_, fd_at_stop_}) {
        if (fd >= 0) {
            [[maybe_unused]] const ssize_t result = write(fd, &wake_up, sizeof wake_up); // a full FIFO wakes as well
        }
    }
    open_sel_fifo_to_nothing();
}

// A writer that goes on writing is not waited for: more than a FIFO holds was written after the stop.
size_t SelFifo::drain() {
    constexpr size_t most = size_t{1} << 16;
    size_t left = read_but_not_taken.exchange(false) ? 1 : 0;
    for (const int fd : {fd_, fd_at_stop_}) {
        sel_record record;
        while (fd >= 0 && left < most && read(fd, &record, sizeof record) == static_cast<ssize_t>(sizeof record)) {
            left += !is_wake_up(&record);
        }
    }
    return left;
}

void watch_fifo_reader() {
    is_fifo_reader = true;
}

void fifo_record_taken() {
    if (is_fifo_reader) {
        read_but_not_taken = false;
    }
}

// In front of libc's, for the engine's reader.
extern "C" ssize_t read(int fd, void *bytes, size_t size) {
    static const auto libc_function = reinterpret_cast<decltype(&read)>(dlsym(RTLD_NEXT, "read"));
    const ssize_t got = libc_function(fd, bytes, size);
    if (is_fifo_reader && size == sizeof wake_up && got == static_cast<ssize_t>(size) && !is_wake_up(bytes)) {
        read_but_not_taken = true;
    }
    return got;
}

SelWriter::SelWriter(const std::string &path) : fd_(open_fifo(path, O_WRONLY)) {
    if (fd_ < 0 && errno == ENXIO) {
        throw Refusal(path + ": nobody reads the FIFO (is fectl serve running?)");
    }
    if (fd_ < 0) {
        refuse(path, "cannot open the FIFO", errno);
    }
    struct stat status {};
    if (fstat(fd_, &status) != 0 || !S_ISFIFO(status.st_mode)) {
        close(fd_);
        throw Refusal(path + ": not a FIFO");
    }
}

SelWriter::~SelWriter() {
    close(fd_);
}

bool SelWriter::write_record(const sel_record &record) const {
    for (;;) {
        const ssize_t written = write(fd_, &record, sizeof record);
        if (written >= 0) {
            return written == static_cast<ssize_t>(sizeof record);
        }
        if (errno != EAGAIN && errno != EINTR) {
            return false;
        }
        pollfd room{fd_, POLLOUT, 0};
        poll(&room, 1, -1);
    }
}
