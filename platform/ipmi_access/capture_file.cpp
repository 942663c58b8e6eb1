#include "platform/ipmi_access/capture_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/ipmi.h"
#include "fault_engine/sel.h"
#include "platform/ipmi_access/ipmi_access_host.h"

namespace ipmi_access {
namespace {

struct CloseFile {
    void operator()(FILE *file) const {
        if (file != stdin) {
            fclose(file);
        }
    }
};

[[noreturn]] void fail_with_errno(const std::string &path, const char *what) {
    throw CaptureError(path + ": " + what + ": " + strerror(errno));
}

constexpr size_t sdr_header = 5;

} // namespace

std::vector<uint8_t> read_capture(const std::string &path) {
    const std::unique_ptr<FILE, CloseFile> file(path == "-" ? stdin : fopen(path.c_str(), "rb"));
    if (!file) {
        fail_with_errno(path, "cannot open");
    }
    std::vector<uint8_t> bytes;
    uint8_t block[4096];
    while (const size_t got = fread(block, 1, sizeof block, file.get())) {
        bytes.insert(bytes.end(), block, block + got);
        if (bytes.size() > max_capture_size) {
            throw CaptureError(path + ": larger than any capture (" + std::to_string(max_capture_size) + " bytes)");
        }
    }
    if (ferror(file.get())) {
        fail_with_errno(path, "cannot read");
    }
    return bytes;
}

void fail_at(const std::string &path, size_t offset, const std::string &what) {
    throw CaptureError(path + ": offset " + std::to_string(offset) + ": " + what);
}

void warn_at(Warnings &warnings, const std::string &path, size_t offset, const std::string &what) {
    warnings.push_back(path + ": offset " + std::to_string(offset) + ": " + what);
}

bool looks_like_sdr(std::span<const uint8_t> bytes) {
    if (bytes.size() < sdr_header || bytes[2] != sdr_version) {
        return false;
    }
    const size_t next = sdr_header + bytes[4];
    return bytes.size() < next + sdr_header || bytes[next + 2] == sdr_version;
}

bool looks_like_sel(std::span<const uint8_t> bytes) {
    return bytes.size() >= sizeof(sel_record) && bytes.size() % sizeof(sel_record) == 0 &&
           sel_record_type::is_known(bytes[offsetof(sel_record, record_type)]);
}

bool looks_like_text(std::span<const uint8_t> bytes) {
    const auto start = bytes.first(std::min<size_t>(bytes.size(), 256));
    return !start.empty() && std::ranges::all_of(start, [](uint8_t byte) {
        return (byte >= ' ' && byte != 0x7F) || byte == '\n' || byte == '\r' || byte == '\t';
    });
}

} // namespace ipmi_access
