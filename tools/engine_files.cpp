#include "tools/engine_files.h"

#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view table_paths[] = {"/tmp/fe_table.entry", "/tmp/fe_table.sz"};
constexpr std::string_view other_paths[] = {"/var/stor_stat", sel_fifo_path};

std::string new_directory;
std::string failure; // written with the engine's fe_table_mutex held
std::atomic<bool> fifo_is_nothing;

bool is_one_of(std::string_view path, const std::string_view (&paths)[2]) {
    return std::ranges::find(paths, path) != std::end(paths);
}

} // namespace

void redirect_engine_files(const std::string &directory) {
    new_directory = directory;
}

std::string engine_file(const char *path) {
    const bool redirected = !new_directory.empty() && (is_one_of(path, table_paths) || is_one_of(path, other_paths));
    return redirected ? new_directory + strrchr(path, '/') : path;
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
    const bool to_nothing = fifo_is_nothing && strcmp(path, sel_fifo_path) == 0;
    const std::string place = to_nothing ? "/dev/null" : engine_file(path);
    const int fd = openat(AT_FDCWD, place.c_str(), flags, mode);
    if (fd < 0 && is_one_of(path, table_paths))
        failure = place + ": " + strerror(errno);
    return fd;
}
