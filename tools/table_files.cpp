#include "tools/table_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "fault_engine/fault_table.h"
#include "tools/fectl.h"

namespace {

// The engine truncates the files before it locks them, so a pair may disagree for a moment; it locks the pair for as
// long as it writes.
constexpr int attempts = 10;
constexpr std::chrono::milliseconds between_attempts{20};

[[noreturn]] void refuse(const std::string &path, const char *what) {
    throw Refusal(path + ": " + what + ": " + strerror(errno));
}

// An open file, locked against the engine once lock() has returned.
class TableFile {
public:
    explicit TableFile(std::string path) : path_(std::move(path)), fd_(open(path_.c_str(), O_RDWR | O_CLOEXEC)) {
        if (fd_ < 0 && (errno == EACCES || errno == EPERM || errno == EROFS)) {
            fd_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
            writable_ = false;
        }
        if (fd_ < 0) {
            refuse(path_, "cannot open");
        }
    }
    ~TableFile() { close(fd_); }
    TableFile(const TableFile &) = delete;
    TableFile &operator=(const TableFile &) = delete;

    // A shared lock is all that a file gets that is not ours to write; it keeps the engine out as well.
    void lock() {
        flock shared{};
        shared.l_type = F_RDLCK;
        shared.l_whence = SEEK_SET;
        if ((writable_ ? lockf(fd_, F_LOCK, 0) : fcntl(fd_, F_SETLKW, &shared)) != 0) {
            refuse(path_, "cannot lock");
        }
    }

    size_t size() const {
        struct stat status {};
        if (fstat(fd_, &status) != 0) {
            refuse(path_, "cannot read");
        }
        if (!S_ISREG(status.st_mode)) {
            throw Refusal(path_ + ": not a regular file");
        }
        return static_cast<size_t>(status.st_size);
    }

    // False when there is less than that.
    bool read_whole(void *bytes, size_t size) const {
        size_t done = 0;
        while (done < size) {
            const ssize_t got = read(fd_, static_cast<char *>(bytes) + done, size - done);
            if (got < 0 && errno != EINTR) {
                refuse(path_, "cannot read");
            }
            if (got == 0) {
                return false;
            }
            done += got > 0 ? static_cast<size_t>(got) : 0;
        }
        return true;
    }

    const std::string &path() const { return path_; }

private:
    std::string path_;
    int fd_;
    bool writable_ = true;
};

// Empty when the pair agrees, else how it disagrees.
std::string read_pair(const TableFile &entries, const TableFile &count_file, std::vector<fe_write_buf> &faults) {
    uint32_t count = 0;
    if (count_file.size() != sizeof count || !count_file.read_whole(&count, sizeof count)) {
        return count_file.path() + " is " + std::to_string(count_file.size()) + " bytes long, not 4";
    }
    if (count > FE_TABLE_MAX_FAULTS) {
        return count_file.path() + " counts " + std::to_string(count) + " faults, more than a table has";
    }
    faults.resize(count);
    const size_t size = count * sizeof(fe_write_buf);
    if (entries.size() != size || !entries.read_whole(faults.data(), size)) {
        return entries.path() + " is " + std::to_string(entries.size()) + " bytes long, but " + count_file.path() +
               " counts " + std::to_string(count) + " faults of 960 bytes";
    }
    return "";
}

} // namespace

std::vector<fe_write_buf> read_table_files(const std::string &directory) {
    std::vector<fe_write_buf> faults;
    for (int attempt = 1;; ++attempt) {
        TableFile entries(directory + "/fe_table.entry");
        TableFile count_file(directory + "/fe_table.sz");
        entries.lock();
        count_file.lock();
        const std::string disagreement = read_pair(entries, count_file, faults);
        if (disagreement.empty()) {
            return faults;
        }
        if (attempt == attempts) {
            throw Refusal(disagreement + ": the table is being rewritten, or was cut off");
        }
        std::this_thread::sleep_for(between_attempts);
    }
}
