// Options of those who ask a BMC, named as ipmitool's.
#pragma once

#include <optional>
#include <string>

#include "tools/bmc/ipmi_session.h"
#include "tools/cli.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace bmc {

struct BmcOptions {
    Access access;
    std::optional<std::string> password, password_file; // which may be empty
    std::string workarounds;
    std::string privilege = "USER", interface = "lanplus";
    int suite = -1;
    bool password_in_environment = false;
};

void add_bmc_options(CLI::App &app, BmcOptions &options);

// For a command that also works without a BMC: all other options need -H. Returns the option -H.
cli::Option add_optional_bmc_options(CLI::App &app, BmcOptions &options);

// With the password, for which it may ask. Throws Refusal.
Access resolve_access(const BmcOptions &options);

} // namespace bmc
