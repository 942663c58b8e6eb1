#include "platform/ipmi_access/capture_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/ipmi_access/ipmi_access_host.h"

namespace ipmi_access {
namespace {

constexpr size_t max_capture_size = size_t{16} << 20;

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};

[[noreturn]] void fail_with_errno(const std::string &path, const char *what) {
    throw CaptureError(path + ": " + what + ": " + strerror(errno));
}

} // namespace

std::vector<uint8_t> read_capture(const std::string &path) {
    const std::unique_ptr<FILE, CloseFile> file(fopen(path.c_str(), "rb"));
    if (!file)
        fail_with_errno(path, "cannot open");
    std::vector<uint8_t> bytes;
    uint8_t block[4096];
    while (const size_t got = fread(block, 1, sizeof block, file.get())) {
        bytes.insert(bytes.end(), block, block + got);
        if (bytes.size() > max_capture_size)
            throw CaptureError(path + ": larger than any capture (" + std::to_string(max_capture_size) + " bytes)");
    }
    if (ferror(file.get()))
        fail_with_errno(path, "cannot read");
    if (bytes.empty())
        throw CaptureError(path + ": the file is empty");
    return bytes;
}

void fail_at(const std::string &path, size_t offset, const std::string &what) {
    throw CaptureError(path + ": offset " + std::to_string(offset) + ": " + what);
}

} // namespace ipmi_access
