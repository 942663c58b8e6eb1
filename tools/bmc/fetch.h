// A server's capture as its BMC has it.
#pragma once

#include <string>

#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/bmc/bmc_client.h"

namespace bmc {

// What is in the files of the capture.
struct FetchedCapture {
    std::string sdr, sel, sensors;
    ipmi_access::Warnings remarks;      // on the reading of the log
    ipmi_access::Warnings sdr_warnings; // which whoever reads the records gets again
};

// Reads it with progress. Warnings call the sensor data records by that name. Throws BmcError.
FetchedCapture fetch_capture(BmcClient &client, const std::string &sdr_name);

} // namespace bmc
