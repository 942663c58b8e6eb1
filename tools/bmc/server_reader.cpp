#include "tools/bmc/server_reader.h"

#include <unistd.h>

#include <cstdio>

#include "platform/ipmi_access/state_word.h"
#include "tools/fectl.h"

namespace bmc {
namespace {

constexpr int attempts = 3; // to read sensor data records that change meanwhile
constexpr uint8_t bmc_owner = 0x20;
constexpr uint8_t event_only = 3;

// Counts the records on their way.
class CountedSel : public SelSource {
public:
    CountedSel(SelSource &source, ProgressLine &progress) : source_(source), progress_(progress) {}

    SelInfo sel_info() override {
        const SelInfo info = source_.sel_info();
        total_ = info.entries;
        return info;
    }
    std::optional<SelEntry> sel_entry(uint16_t id) override {
        progress_.show("SEL records", done_++, total_);
        return source_.sel_entry(id);
    }

private:
    SelSource &source_;
    ProgressLine &progress_;
    size_t done_ = 0, total_ = 0;
};

Bytes read_sdr(BmcClient &client, const std::shared_ptr<ProgressLine> &progress) {
    for (int attempt = 1;; ++attempt) {
        try {
            return client.sdr(
                [progress](size_t done, size_t total) { progress->show("sensor data records", done, total); });
        } catch (const BmcError &error) {
            if (error.kind != BmcError::Kind::busy || attempt == attempts) {
                throw;
            }
        }
    }
}

} // namespace

ProgressLine::ProgressLine() : on_(isatty(STDERR_FILENO) != 0) {}

ProgressLine::~ProgressLine() {
    if (shown_) {
        fputs("\r\033[K", stderr);
    }
}

void ProgressLine::show(const char *what, size_t done, size_t total) {
    if (on_) {
        fprintf(stderr, "\r%s: %zu of %zu\033[K", what, done, total);
        shown_ = true;
    }
}

void fail(const std::string &host, const BmcError &error) {
    const std::string line = host + ": " + error.what();
    if (error.kind == BmcError::Kind::refused) {
        throw Refusal(line);
    }
    throw Unreachable(line);
}

Server read_server(BmcClient &client, SelFollower &follower) {
    const auto progress = std::make_shared<ProgressLine>();
    Server server;
    client.connect();
    server.sdr_times = client.sdr_times();
    server.sdr = read_sdr(client, progress);
    CountedSel counted(client, *progress);
    server.sel = follower.look(counted);
    return server;
}

std::optional<uint32_t> read_state(BmcClient &client, const ipmi_access::Sensor &sensor, std::string &why) {
    if (sensor.owner != bmc_owner) {
        why = "another controller's sensor";
        return std::nullopt;
    }
    if (sensor.record_type == event_only) {
        why = "it has events alone";
        return std::nullopt;
    }
    const std::optional<uint16_t> states = client.states({sensor.number, sensor.lun}, why);
    return states ? std::optional(ipmi_access::state_word(sensor.event_type, *states)) : std::nullopt;
}

} // namespace bmc
