// A command's talk with a BMC, from the password to the end of the session.
#pragma once

#include <functional>

#include "tools/bmc/bmc_client.h"
#include "tools/bmc/bmc_options.h"
#include "tools/bmc/stop_thread.h"

namespace bmc {

// Lets `work` ask the BMC, until that is done or a signal tells to stop: CalledOff then ends it. Returns its exit code, or
// `code_when_stopped`; whatever holds the network, a second later. What the BMC cannot do is thrown as what ends fectl
// with the right exit code: Refusal when it refuses, else Unreachable.
int talk(const BmcOptions &options, int code_when_stopped, const std::function<int(BmcClient &, StopThread &)> &work);

} // namespace bmc
