#include "tools/engine_files.h"

#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view table_paths[] = {"/tmp/fe_table.entry", "/tmp/fe_table.sz"};
constexpr std::string_view other_paths[] = {"/var/stor_stat", sel_fifo_path};

char new_directory[PATH_MAX]; // empty: none
std::string failure;          // written with the engine's fe_table_mutex held
std::atomic<bool> fifo_is_nothing;

bool is_one_of(std::string_view path, const std::string_view (&paths)[2]) {
    return std::ranges::find(paths, path) != std::end(paths);
}

using Place = char[PATH_MAX + 32];

// Without the heap, whose calls a program may count.
const char *place_of(const char *path, Place &place) {
    if (fifo_is_nothing && strcmp(path, sel_fifo_path) == 0) {
        return "/dev/null";
    }
    if (new_directory[0] == '\0' || (!is_one_of(path, table_paths) && !is_one_of(path, other_paths))) {
        return path;
    }
    snprintf(place, sizeof place, "%s%s", new_directory, strrchr(path, '/'));
    return place;
}

} // namespace

int (*before_open)(const char *path, int flags, mode_t mode);

void redirect_engine_files(const std::string &directory) {
    snprintf(new_directory, sizeof new_directory, "%s", directory.c_str());
}

std::string engine_file(const char *path) {
    Place place;
    return place_of(path, place);
}

std::string table_file_failure() {
    return failure;
}

void open_sel_fifo_to_nothing() {
    fifo_is_nothing = true;
}

extern "C" int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (const int error = before_open != nullptr ? before_open(path, flags, mode) : 0; error != 0) {
        errno = error;
        return -1;
    }
    if (path == table_paths[0]) { // the first call of a change
        failure.clear();
    }
    Place place;
    const int fd = openat(AT_FDCWD, place_of(path, place), flags, mode);
    if (fd < 0 && is_one_of(path, table_paths)) {
        failure = engine_file(path) + ": " + strerror(errno);
    }
    return fd;
}
