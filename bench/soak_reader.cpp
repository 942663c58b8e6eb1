#include "bench/soak_reader.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "bench/soak_check.h"
#include "fault_engine/fault_table.h"

namespace {

constexpr std::chrono::microseconds pause_between_reads{500};

class LockedFile {
public:
    explicit LockedFile(const char *path) : fd_(open(path, O_RDWR)) {}
    ~LockedFile() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    LockedFile(const LockedFile &) = delete;
    LockedFile &operator=(const LockedFile &) = delete;

    bool lock() const { return fd_ >= 0 && lockf(fd_, F_LOCK, 0) == 0; }
    bool has_size(size_t size) const {
        struct stat status = {};
        return fstat(fd_, &status) == 0 && static_cast<size_t>(status.st_size) == size;
    }
    bool read_all(void *bytes, size_t size) const { return read(fd_, bytes, size) == static_cast<ssize_t>(size); }

private:
    int fd_;
};

// False when the pair does not fit together.
bool read_pair(const char *entry_file, const char *count_file, std::vector<fe_write_buf> &records) {
    const LockedFile entries(entry_file);
    const LockedFile count_of(count_file);
    uint32_t count = 0;
    if (!entries.lock() || !count_of.lock() || !count_of.has_size(sizeof count) ||
        !count_of.read_all(&count, sizeof count) || count > FE_TABLE_MAX_FAULTS) {
        return false;
    }
    records.resize(count);
    const size_t size = count * sizeof(fe_write_buf);
    return entries.has_size(size) && entries.read_all(records.data(), size);
}

// What is wrong with a table, or null. The checker numbers the changes.
const char *what_is_wrong(const std::vector<fe_write_buf> &records) {
    for (size_t i = 0; i < records.size(); ++i) {
        const fe_write_buf &record = records[i];
        if (seal_of(record) != seal_in(record)) {
            return "a record is not as the entity filter wrote it";
        }
        if (record.vemoFaultSeverity == FE_SEVERITY_CLEARED) {
            return "a cleared fault is in the table";
        }
        if (i > 0 && records[i - 1].vemoFaultIndex <= record.vemoFaultIndex) {
            return "the order is not that of the changes";
        }
    }
    return nullptr;
}

void run_reader(const char *entry_file, const char *count_file, ReaderCounts &counts) {
    std::vector<fe_write_buf> records;
    while (!counts.stop) {
        if (!read_pair(entry_file, count_file, records)) {
            ++counts.retried;
        } else if (const char *wrong = what_is_wrong(records)) {
            if (counts.wrong++ == 0) {
                fprintf(stderr, "soak: a reader: %s\n", wrong);
            }
        } else {
            ++counts.passed;
        }
        std::this_thread::sleep_for(pause_between_reads);
    }
}

} // namespace

pid_t start_reader(const char *entry_file, const char *count_file, ReaderCounts &counts) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run_reader(entry_file, count_file, counts);
        _exit(0);
    }
    return pid;
}
