#include "tools/bmc/bmc_options.h"

#include <algorithm>
#include <string_view>

#include "tools/bmc/password.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/view.h"

namespace bmc {
namespace {

constexpr std::string_view privileges[] = {"CALLBACK", "USER", "OPERATOR", "ADMINISTRATOR"}; // from 1
constexpr size_t longest_password = 20, longest_password_lan = 16;

std::string find_password(const BmcOptions &options) {
    if (options.password) {
        warn("a password behind -P can be seen by other users of this machine; -f FILE, -E or the prompt hides it");
        return *options.password;
    }
    if (options.password_file) {
        return password_in_file(*options.password_file);
    }
    return options.password_in_environment ? password_in_environment()
                                           : ask_for_password(options.access.user + " at " + options.access.host);
}

uint8_t privilege_number(const std::string &word) {
    std::string upper = word;
    std::ranges::transform(upper, upper.begin(), [](unsigned char c) { return static_cast<char>(toupper(c)); });
    const auto *known = std::ranges::find(privileges, upper);
    if (known == std::end(privileges)) {
        throw Refusal("-L: '" + word + "' is no privilege level; there are CALLBACK, USER, OPERATOR and ADMINISTRATOR");
    }
    return static_cast<uint8_t>(known - privileges + 1);
}

void check_password(const Access &access) {
    const size_t longest = access.lanplus ? longest_password : longest_password_lan;
    if (access.password.size() > longest) {
        throw Refusal("the password is longer than " + std::to_string(longest) + " bytes, which no BMC takes");
    }
}

void add_password_options(CLI::App &app, BmcOptions &options) {
    cli::Option file = cli::add_parsed(
        app, "-f", "FILE", [&options](const std::string &text) { options.password_file = text; },
        "read the password from the first line of FILE");
    cli::Option environment = cli::add_flag(app, "-E", options.password_in_environment,
                                            "take the password from IPMI_PASSWORD in the environment");
    const cli::Option argument = cli::add_parsed(
        app, "-P", "PASSWORD", [&options](const std::string &text) { options.password = text; },
        "the password, which other users of this machine may see");
    file.excludes(environment).excludes(argument);
    environment.excludes(argument);
}

// -H is the first.
void add_options(CLI::App &app, BmcOptions &options) {
    cli::add_text(app, "-H", "HOST", options.access.host, "the BMC's name or address, with :PORT if that is not 623");
    cli::add_text(app, "-U", "USER", options.access.user, "the user");
    add_password_options(app, options);
    cli::add_number(app, "-p", options.access.port, 1, UINT16_MAX, "the port (default: 623)");
    cli::add_text(app, "-L", "LEVEL", options.privilege,
                  "the privilege level (default: USER, which is enough for reading)");
    cli::add_number(app, "-C", options.suite, 0, 17, "the cipher suite (default: 17, and 3 where that is refused)");
    cli::add_text(app, "-I", "WORD", options.interface, "lanplus (IPMI 2.0; the default) or lan (IPMI 1.5)")
        .one_of({"lan", "lanplus"});
    cli::add_text(app, "--workaround", "LIST", options.workarounds,
                  "for BMCs with faults, as in FreeIPMI: opensesspriv, ...");
    cli::add_number(app, "--timeout", options.access.timeout_s, 1, 60, "seconds to wait for an answer (default: 10)");
}

} // namespace

void add_bmc_options(CLI::App &app, BmcOptions &options) {
    add_options(app, options);
    cli::option(app, "-H").required();
    cli::option(app, "-U").required();
}

cli::Option add_optional_bmc_options(CLI::App &app, BmcOptions &options) {
    const size_t before = cli::options(app).size();
    add_options(app, options);
    std::vector<cli::Option> added = cli::options(app);
    added.erase(added.begin(), added.begin() + static_cast<ptrdiff_t>(before));
    cli::Option host = added.front();
    std::for_each(added.begin() + 1, added.end(), [&host](cli::Option &option) { option.needs(host); });
    host.needs(cli::option(app, "-U"));
    return host;
}

Access resolve_access(const BmcOptions &options) {
    Access access = options.access;
    access.lanplus = options.interface == "lanplus";
    access.privilege = privilege_number(options.privilege);
    if (options.suite >= 0) {
        access.suite = static_cast<uint8_t>(options.suite);
    }
    const auto flags = workaround_flags(options.workarounds, access.lanplus);
    if (!flags) {
        throw Refusal("--workaround: '" + options.workarounds + "' holds an unknown word for -I " + options.interface);
    }
    access.workarounds = *flags;
    access.password = find_password(options);
    check_password(access);
    return access;
}

} // namespace bmc
