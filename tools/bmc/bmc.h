// A BMC: where sensor data records, SEL records and readings come from.
#pragma once

#include <memory>

#include "tools/bmc/ipmi_session.h"
#include "tools/bmc/sel_follower.h"

namespace bmc {

struct SensorAddress {
    uint8_t number;
    uint8_t lun = 0;
};

struct SdrTimes {
    uint32_t last_addition = 0;
    uint32_t last_erase = 0;

    bool operator==(const SdrTimes &) const = default;
};

// Used by one thread at a time. All throw BmcError.
class Bmc : public SelSource {
public:
    explicit Bmc(std::unique_ptr<IpmiSession> session) : session_(std::move(session)) {}

    SelInfo sel_info() override;
    std::optional<SelEntry> sel_entry(uint16_t id) override;

    Bytes sdr(const SdrProgress &progress);
    SdrTimes sdr_times();

    // State bits of a sensor: event offset n is bit n. Nothing when it has no reading, which `why` then tells.
    std::optional<uint16_t> states(SensorAddress sensor, std::string &why);

private:
    Answer ask(uint8_t lun, uint8_t net_function, std::initializer_list<uint8_t> request);
    Bytes ask_storage(const std::string &what, size_t least, std::initializer_list<uint8_t> request);

    std::unique_ptr<IpmiSession> session_;
    std::string lost_; // why the session is, once it is
};

} // namespace bmc
