// What fetch and watch read of a server before they differ.
#pragma once

#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/bmc/bmc.h"

namespace bmc {

struct Server {
    SdrTimes sdr_times;
    Bytes sdr;
    SelNews sel;
};

// Opens the session and reads, with progress. Throws BmcError.
Server read_server(LiveBmc &bmc, SelFollower &follower);

// Nothing, and why, when the sensor has no reading. Throws BmcError.
std::optional<States> read_states(LiveBmc &bmc, const ipmi_access::Sensor &sensor, std::string &why);

} // namespace bmc
