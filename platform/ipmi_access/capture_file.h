// A captured file, read whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ipmi_access {

constexpr uint8_t sdr_version = 0x51; // the third byte of every sensor data record (IPMI v2.0, section 43)

constexpr size_t max_capture_size = size_t{16} << 20;

// "-" is standard input. Throws CaptureError when the file cannot be read or is larger than any capture.
std::vector<uint8_t> read_capture(const std::string &path);

[[noreturn]] void fail_at(const std::string &path, size_t offset, const std::string &what);

// A line for each thing that was passed over.
using Warnings = std::vector<std::string>;
void warn_at(Warnings &warnings, const std::string &path, size_t offset, const std::string &what);

// What a file looks like by its first bytes.
bool looks_like_sdr(std::span<const uint8_t> bytes);
bool looks_like_sel(std::span<const uint8_t> bytes);
bool looks_like_text(std::span<const uint8_t> bytes);

} // namespace ipmi_access
