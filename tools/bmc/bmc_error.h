// Why a BMC has not done what it was asked, in one line; whoever shows it names the host.
#pragma once

#include <stdexcept>

namespace bmc {

struct BmcError : std::runtime_error {
    enum class Kind {
        network, // nobody answers, or not in whole: the session is lost
        refused, // the BMC answers, and will not: user, password, privilege, cipher suite
        busy,    // the BMC cannot for now; the session stands
        absent,  // what was asked for is not there
    };

    BmcError(Kind why, const std::string &line) : std::runtime_error(line), kind(why) {}

    Kind kind;
};

} // namespace bmc
