// The SEL, as `ipmitool sel writeraw` writes it: 16-byte records back to back.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "fault_engine/sel.h"

namespace ipmi_access {

// `path` is for the messages of CaptureError.
std::vector<sel_record> parse_sel_dump(std::span<const uint8_t> dump, const std::string &path);

} // namespace ipmi_access
