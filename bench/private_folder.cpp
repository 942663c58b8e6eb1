#include "bench/private_folder.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>

namespace {

struct Redirection {
    const char *engine_path;
    std::string place; // empty: there is none
};

Redirection redirections[] = {
    {"/tmp/fe_table.entry", {}},
    {"/tmp/fe_table.sz", {}},
    {"/var/stor_stat", {}},
    {"/var/SA_vSEL_FIFO", {}},
};

const char *place_of(const char *path) {
    for (const Redirection &redirection : redirections) {
        if (strcmp(path, redirection.engine_path) == 0) {
            return redirection.place.empty() ? nullptr : redirection.place.c_str();
        }
    }
    return path;
}

} // namespace

// The engine's open() as well as everybody else's.
extern "C" int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const char *place = place_of(path);
    if (place == nullptr) {
        errno = ENOENT;
        return -1;
    }
    return openat(AT_FDCWD, place, flags, mode);
}

PrivateFolder::PrivateFolder(const std::string &parent) : path_(parent + "/fault-engine-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), path_);
    }
    for (Redirection &redirection : redirections) {
        redirection.place = path_ + strrchr(redirection.engine_path, '/');
    }
}

PrivateFolder::~PrivateFolder() {
    for (Redirection &redirection : redirections) {
        redirection.place.clear();
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string temporary_parent() {
    const char *parent = getenv("TMPDIR");
    return parent != nullptr && *parent != '\0' ? parent : "/tmp";
}
