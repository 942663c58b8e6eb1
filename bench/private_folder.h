// A folder of the program's own. While it lives, opens of the engine's fixed paths (table files, storage status, SEL
// FIFO) go to files of the same base name in it; without one they fail, so that no program touches the real ones.
#pragma once

#include <string>

class PrivateFolder {
public:
    explicit PrivateFolder(const std::string &parent); // throws std::system_error
    ~PrivateFolder();                                  // removes it with its contents
    PrivateFolder(const PrivateFolder &) = delete;
    PrivateFolder &operator=(const PrivateFolder &) = delete;

    std::string path(const std::string &base_name) const { return path_ + "/" + base_name; }

private:
    std::string path_;
};

// $TMPDIR, or else /tmp.
std::string temporary_parent();
