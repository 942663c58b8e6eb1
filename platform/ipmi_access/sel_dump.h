// The SEL, as `ipmitool sel writeraw` writes it: 16-byte records back to back.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "fault_engine/sel.h"
#include "platform/ipmi_access/capture_file.h"

namespace ipmi_access {

// A record of no known type is passed over with a warning. `path` is for that and for the messages of CaptureError, which is
// thrown for a dump that is cut off or of which most is wrong.
std::vector<sel_record> parse_sel_dump(std::span<const uint8_t> dump, const std::string &path, Warnings &warnings);

} // namespace ipmi_access
