// What fetch and watch read of a server before they differ.
#pragma once

#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/bmc/bmc_client.h"

namespace bmc {

// A line on standard error that tells how far it is, where a person sees it.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    void show(const char *what, size_t done, size_t total);

private:
    bool on_;
    bool shown_ = false;
};

// Throws what ends fectl with the right exit code: Refusal when the BMC refuses, else Unreachable.
[[noreturn]] void fail(const std::string &host, const BmcError &error);

struct Server {
    SdrTimes sdr_times;
    Bytes sdr;
    SelNews sel;
};

// Opens the session and reads, with progress. Throws BmcError.
Server read_server(BmcClient &client, SelFollower &follower);

// The engine's word for the present state of a sensor; nothing, and why, when it has none. Throws BmcError.
std::optional<uint32_t> read_state(BmcClient &client, const ipmi_access::Sensor &sensor, std::string &why);

} // namespace bmc
