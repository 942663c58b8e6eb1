#include "bench/private_folder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/engine_files.h"

PrivateFolder::PrivateFolder(const std::string &parent) : path_(parent + "/fault-engine-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), path_);
    }
    redirect_engine_files(path_);
}

PrivateFolder::~PrivateFolder() {
    redirect_engine_files("/dev/null"); // where there is none of them
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string temporary_parent() {
    const char *parent = getenv("TMPDIR");
    return parent != nullptr && *parent != '\0' ? parent : "/tmp";
}
