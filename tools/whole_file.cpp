#include "tools/whole_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tools/fectl.h"

namespace {

namespace fs = std::filesystem;

// Returns 0 or the error.
int write_file(const std::string &path, std::string_view content) {
    FILE *file = fopen(path.c_str(), "wbe");
    if (file == nullptr) {
        return errno;
    }
    int error = 0;
    if (fwrite(content.data(), 1, content.size(), file) != content.size() || fflush(file) != 0 ||
        (fsync(fileno(file)) != 0 && errno != EINVAL)) { // EINVAL: there is nothing to sync in such a file
        error = errno;
    }
    return fclose(file) == 0 || error != 0 ? error : errno;
}

} // namespace

void write_whole_file(const std::string &path, std::string_view content) {
    std::error_code ignored;
    const bool in_place = fs::exists(path, ignored) && !fs::is_regular_file(path, ignored);
    const std::string target = fs::is_symlink(path, ignored) ? fs::weakly_canonical(path).string() : path;
    const std::string written = in_place ? path : target + ".new";
    int error = write_file(written, content);
    if (error == 0 && !in_place && rename(written.c_str(), target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        if (!in_place) {
            unlink(written.c_str());
        }
        throw Failure(path + ": cannot write: " + strerror(error));
    }
}
