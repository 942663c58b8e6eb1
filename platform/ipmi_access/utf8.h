// Text from outside as UTF-8 that a terminal may be given.
#pragma once

#include <string>
#include <string_view>

namespace ipmi_access {

// Valid UTF-8 stays as it is; any other text is taken for Latin-1, as the IPMI specification has it. Control characters
// become question marks.
std::string utf8_text(std::string_view text);

} // namespace ipmi_access
