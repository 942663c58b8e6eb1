// A folder of one's own for as long as it lives; one at a time. A signal that ends the process takes it away, too.
#pragma once

#include <string>

class PrivateFolder {
public:
    // In TMPDIR, or in memory where that is not set. Throws Failure.
    PrivateFolder();
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder &) = delete;
    PrivateFolder &operator=(const PrivateFolder &) = delete;

    const std::string &path() const { return path_; }

private:
    std::string path_;
};
