#include "tools/private_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/fectl.h"

namespace {

// The engine syncs the table files after each change, which costs nothing in memory.
std::string parent() {
    const char *chosen = getenv("TMPDIR");
    if (chosen != nullptr && *chosen != '\0')
        return chosen;
    return access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : "/tmp";
}

} // namespace

PrivateFolder::PrivateFolder() : path_(parent() + "/fectl-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr)
        throw Failure(path_ + ": cannot make a folder for the engine's files: " + strerror(errno));
}

PrivateFolder::~PrivateFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
