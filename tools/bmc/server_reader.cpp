#include "tools/bmc/server_reader.h"

#include <memory>

#include "base/ipmi.h"
#include "tools/progress.h"

namespace bmc {
namespace {

constexpr int sdr_attempts = 3; // to read sensor data records that change meanwhile
constexpr uint8_t event_only = 3;

// Shows the records on their way.
class CountedSel : public SelSource {
public:
    explicit CountedSel(SelSource &source) : source_(source) {}

    SelInfo sel_info() override {
        const SelInfo info = source_.sel_info();
        progress_.expect(info.entries);
        return info;
    }
    std::optional<SelEntry> sel_entry(uint16_t id) override {
        progress_.step("SEL records");
        return source_.sel_entry(id);
    }

private:
    SelSource &source_;
    Progress progress_;
};

Bytes read_sdr_once(LiveBmc &bmc) {
    const auto progress = std::make_shared<Progress>(); // the talking thread's, too
    Bytes records = bmc.sdr([progress](size_t, size_t total) {
        progress->expect(total);
        progress->step("sensor data records");
    });
    progress->erase();
    return records;
}

void read_sdr(LiveBmc &bmc, Server &server) {
    for (int attempt = 1;; ++attempt) {
        try {
            server.sdr_times = bmc.sdr_times();
            server.sdr = read_sdr_once(bmc);
            return;
        } catch (const BmcError &error) {
            if (error.kind != BmcError::Kind::busy || attempt == sdr_attempts) {
                throw;
            }
        }
    }
}

} // namespace

Server read_server(LiveBmc &bmc, SelFollower &follower) {
    Server server;
    bmc.connect();
    read_sdr(bmc, server);
    CountedSel counted(bmc);
    server.sel = follower.look(counted);
    return server;
}

std::optional<States> read_states(LiveBmc &bmc, const ipmi_access::Sensor &sensor, std::string &why) {
    if (sensor.owner != bmc_owner) {
        why = "another controller's sensor";
        return std::nullopt;
    }
    if (sensor.record_type == event_only) {
        why = "it has events alone";
        return std::nullopt;
    }
    return bmc.states({sensor.number, sensor.lun}, why);
}

} // namespace bmc
