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
    const int code = run_and_report([&] {
        try {
            StopThread stop(signals, [&client] { client.call_off(); });
            return work(client, stop);
        } catch (const CalledOff &) {
            return code_when_stopped;
        } catch (const BmcError &error) {
            fail(options.access.host, error);
        }
    });
    if (!client.leave()) {
        const bool printed = fflush(stdout) == 0 && ferror(stdout) == 0;
        _exit(printed ? code : exit_failed);
    }
    return code;
}

} // namespace bmc
