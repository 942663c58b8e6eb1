// Where the password of a BMC's user comes from.
#pragma once

#include <string>

namespace bmc {

// The first line of a file. Throws Refusal.
std::string password_in_file(const std::string &path);

// IPMI_PASSWORD, which is gone from the environment afterwards. Throws Refusal when it is not set.
std::string password_in_environment();

// Typed at the terminal, without echo. Throws Refusal when there is none.
std::string ask_for_password(const std::string &user_at_host);

} // namespace bmc
