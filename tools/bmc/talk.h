// A command's talk with a BMC, from the password to the end of the session.
#pragma once

#include <functional>

#include "tools/bmc/bmc_client.h"
#include "tools/bmc/bmc_options.h"
#include "tools/bmc/stop_thread.h"

namespace bmc {

// Runs `work`, which may ask the BMC, and returns its exit code. A signal that tells to stop ends it by CalledOff; the
// result is then `code_when_stopped`, at most a second later, even if the network hangs. What the BMC refuses is reported as
// a Refusal, what else it cannot do as Unreachable. Throws Refusal for a password that cannot be had.
int talk(const BmcOptions &options, int code_when_stopped, const std::function<int(BmcClient &, StopThread &)> &work);

} // namespace bmc
