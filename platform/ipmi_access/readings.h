// Present sensor states, one a line: sensor number and state bits, as in "0x2e 0x0008". "#" starts a comment.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace ipmi_access {

using Readings = std::map<uint8_t, uint32_t>;

// `path` is for the messages of CaptureError. A sensor may stand there once.
Readings parse_readings(std::string_view text, const std::string &path);

} // namespace ipmi_access
