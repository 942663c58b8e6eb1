// The table files. The locks are for their readers in other processes: entry file first, then count file.
#include <fcntl.h>
#include <unistd.h>

#include "fault_engine/fault_table.h"
#include "platform/fe_core/fe_core.h"

namespace {

int open_table_file(const char *path) {
    return open(path, O_RDWR | O_CREAT | O_TRUNC, 0704);
}

// A table that cannot be published is still the table: nothing is done about a file that fails.
void write_once(int fd, const void *bytes, size_t size) {
    [[maybe_unused]] const ssize_t written = write(fd, bytes, size);
}

void lock_file(int fd, int command) {
    [[maybe_unused]] const int result = lockf(fd, command, 0);
}

} // namespace

void write_to_fe_file(fe_table_entry *first) {
    if (fe_flag(&sel_init_complete) == 0) {
        return;
    }
    const int entry_fd = open_table_file("/tmp/fe_table.entry");
    const int count_fd = open_table_file("/tmp/fe_table.sz");
    lock_file(entry_fd, F_LOCK);
    lock_file(count_fd, F_LOCK);

    write_once(count_fd, &fe_fault_count, sizeof fe_fault_count);
    if (entry_fd > 0) {
        for (const fe_table_entry *entry = first; entry != nullptr; entry = entry->next) {
            write_once(entry_fd, &entry->record, sizeof entry->record);
        }
    }
    fsync(entry_fd);
    fsync(count_fd);

    lock_file(count_fd, F_ULOCK);
    lock_file(entry_fd, F_ULOCK);
    close(entry_fd);
    close(count_fd);
}
