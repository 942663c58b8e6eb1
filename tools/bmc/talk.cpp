#include "tools/bmc/talk.h"

#include <unistd.h>

#include <cstdio>

#include "tools/fectl.h"

namespace bmc {
namespace {

[[noreturn]] void fail(const std::string &host, const BmcError &error) {
    const std::string line = host + ": " + error.what();
    if (error.kind == BmcError::Kind::refused) {
        throw Refusal(line);
    }
    throw Unreachable(line);
}

} // namespace

int talk(const BmcOptions &options, int code_when_stopped, const std::function<int(BmcClient &, StopThread &)> &work) {
    BmcClient client(resolve_access(options));
    const StopSignals signals;
    int code = code_when_stopped;
    try {
        StopThread stop(signals, [&client] { client.call_off(); });
        code = work(client, stop);
    } catch (const CalledOff &) {
    } catch (const BmcError &error) {
        fail(options.access.host, error);
    }
    if (!client.leave()) {
        fflush(stdout);
        _exit(code);
    }
    return code;
}

} // namespace bmc
