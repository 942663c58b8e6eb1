// A BMC: where sensor data records, SEL records and readings come from.
#pragma once

#include <memory>

#include "platform/ipmi_access/readings.h"
#include "tools/bmc/ipmi_session.h"
#include "tools/bmc/sel_follower.h"

namespace bmc {

using ipmi_access::States;

struct SensorAddress {
    uint8_t number;
    uint8_t lun = 0;
};

struct SdrTimes {
    uint32_t last_addition = 0;
    uint32_t last_erase = 0;

    bool operator==(const SdrTimes &) const = default;
};

// A BMC over one session after the other. All throw BmcError, or CalledOff.
class LiveBmc : public SelSource {
public:
    // Opens a session, in place of one before. Until then, and once it is lost, all questions fail.
    virtual void connect() = 0;

    virtual Bytes sdr(const SdrProgress &progress) = 0;
    virtual SdrTimes sdr_times() = 0;

    // No value when the sensor has no reading; `why` then says for what reason.
    virtual std::optional<States> states(SensorAddress sensor, std::string &why) = 0;
};

// Whoever waits for the BMC is told to stop.
struct CalledOff {};

// Over one session, used by one thread at a time. All throw BmcError.
class Bmc : public SelSource {
public:
    explicit Bmc(std::unique_ptr<IpmiSession> session) : session_(std::move(session)) {}

    SelInfo sel_info() override;
    std::optional<SelEntry> sel_entry(uint16_t id) override;

    Bytes sdr(const SdrProgress &progress);
    SdrTimes sdr_times();
    std::optional<States> states(SensorAddress sensor, std::string &why);

private:
    Answer ask(uint8_t lun, uint8_t net_function, std::initializer_list<uint8_t> request);
    Bytes ask_storage(const std::string &what, size_t least, std::initializer_list<uint8_t> request);

    std::unique_ptr<IpmiSession> session_;
    std::string lost_; // why the session is, once it is
};

} // namespace bmc
