// Compressed files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What gzip or xz has packed; anything else as it is. Throws CaptureError, naming `path`, for what is torn or larger than
// any capture, and for a method that this program was built without.
std::vector<uint8_t> unpacked(std::vector<uint8_t> bytes, const std::string &path);
