#include "fault_table/storage_status.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

// Only creation and clearing move the counters; an update that changes a fault's band, or an eviction, does not.
uint32_t stor_fault_count[4] FE_GUARDED_BY(table_lock); // slot 1 is never used
uint8_t stor_stat_flags FE_GUARDED_BY(table_lock);      // bit n is set while slot n is not zero

unsigned band(int32_t severity) {
    const auto code = static_cast<uint32_t>(severity);
    if (code >= FE_SEVERITY_MAJOR) {
        return 3;
    }
    return code >= FE_SEVERITY_WARNING ? 2 : 0;
}

// The file belongs to somebody else: when it does not exist, the byte is not written.
void write_storage_status() FE_REQUIRES(table_lock) {
    const int fd = open("/var/stor_stat", O_RDWR | O_TRUNC);
    [[maybe_unused]] const ssize_t written = write(fd, &stor_stat_flags, sizeof stor_stat_flags);
    close(fd);
}

} // namespace

void count_storage_fault(uint8_t entity, int32_t severity) {
    if (!is_storage_entity(entity)) {
        return;
    }
    const unsigned slot = band(severity);
    ++stor_fault_count[slot];
    stor_stat_flags = static_cast<uint8_t>(stor_stat_flags | 1U << slot);
    write_storage_status();
}

void uncount_storage_fault(uint8_t entity, int32_t severity) {
    if (!is_storage_entity(entity)) {
        return;
    }
    const unsigned slot = band(severity);
    if (stor_fault_count[slot] > 0) {
        --stor_fault_count[slot];
    }
    if (stor_fault_count[slot] == 0) {
        stor_stat_flags = static_cast<uint8_t>(stor_stat_flags & ~(1U << slot));
    }
    write_storage_status();
}
