// The table files. Their readers are other processes, which lock the files in the same order: entry file, count file.
#include <fcntl.h>
#include <unistd.h>

#include "fault_engine/fault_table.h"
#include "platform/fe_core/fe_core.h"

namespace {

int open_table_file(const char *path) {
    return open(path, O_RDWR | O_CREAT | O_TRUNC, 0704);
}

// A table that cannot be published is still the table: nothing is done about a file that fails.
void write_all(int fd, const void *bytes, size_t size) {
    [[maybe_unused]] const ssize_t written = write(fd, bytes, size);
}

void lock_whole(int fd, int command) {
    [[maybe_unused]] const int result = lockf(fd, command, 0);
}

} // namespace

void write_to_fe_file(fe_table_entry *first) {
    if (fe_flag(&sel_init_complete) == 0) {
        return;
    }
    const int entries = open_table_file("/tmp/fe_table.entry");
    const int count = open_table_file("/tmp/fe_table.sz");
    lock_whole(entries, F_LOCK);
    lock_whole(count, F_LOCK);

    write_all(count, &fe_fault_count, sizeof fe_fault_count);
    if (entries > 0) {
        for (const fe_table_entry *entry = first; entry != nullptr; entry = entry->next) {
            write_all(entries, &entry->record, sizeof entry->record);
        }
    }
    fsync(entries);
    fsync(count);

    lock_whole(count, F_ULOCK);
    lock_whole(entries, F_ULOCK);
    close(entries);
    close(count);
}
