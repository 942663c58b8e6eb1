// An IPMI session with a BMC. Only freeipmi_session.cpp knows the library that does it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/bmc/bmc_error.h"

namespace bmc {

using Bytes = std::vector<uint8_t>;

struct Access {
    std::string host; // a name, an address, or one of either with ":PORT" (an IPv6 address then in brackets)
    uint16_t port = 623;
    std::string user, password;
    bool lanplus = true;          // RMCP+; else a session as of IPMI 1.5
    uint8_t privilege = 2;        // IPMI v2.0, table 6-1: 2 user, 3 operator, 4 administrator
    std::optional<uint8_t> suite; // none: 17, then 3
    uint32_t workarounds = 0;     // the library's flags; see workaround_flags()
    unsigned timeout_s = 10;      // for an answer, with repetitions after each second
};

struct Answer {
    uint8_t completion_code;
    Bytes data; // behind the completion code
};

// How many sensor data records have been read, of how many.
using SdrProgress = std::function<void(size_t done, size_t total)>;

// Used by one thread at a time. All throw BmcError.
class IpmiSession {
public:
    virtual ~IpmiSession() = default;

    virtual Answer command(uint8_t lun, uint8_t net_function, std::initializer_list<uint8_t> request) = 0;

    // All sensor data records back to back, each with its header of 5 bytes.
    virtual Bytes read_sdr(const SdrProgress &progress) = 0;
};

std::unique_ptr<IpmiSession> open_session(const Access &access);

// The flags of a list as in FreeIPMI ("opensesspriv,noauthcodecheck") for that kind of session; nothing for a list with
// an unknown word.
std::optional<uint32_t> workaround_flags(const std::string &list, bool lanplus);

} // namespace bmc
