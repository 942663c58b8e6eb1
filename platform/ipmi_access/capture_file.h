// A captured file, read whole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ipmi_access {

// Throws CaptureError when the file cannot be read, is empty or is larger than any capture.
std::vector<uint8_t> read_capture(const std::string &path);

[[noreturn]] void fail_at(const std::string &path, size_t offset, const std::string &what);

} // namespace ipmi_access
