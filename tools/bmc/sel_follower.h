// Which records of a BMC's SEL are new since the last look at it. Ids alone do not tell: logs are cleared, wrap, and give
// ids again. A record is known by its id and all its 16 bytes, time stamp included.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fault_engine/sel.h"

namespace bmc {

constexpr uint16_t first_record = 0x0000;
constexpr uint16_t no_record = 0xFFFF;

struct SelInfo {
    uint16_t entries = 0;
    uint32_t last_addition = 0;   // by the BMC's clock
    uint32_t last_erase = 0;      // of one or of all records
    uint16_t free_bytes = 0xFFFF; // 0: no room for another record
    bool overflow = false;        // records were lost for want of room

    // Whether nothing was added or erased in between, as far as the BMC says.
    bool same_log(const SelInfo &other) const {
        return entries == other.entries && last_addition == other.last_addition && last_erase == other.last_erase;
    }
};

struct SelEntry {
    sel_record record{};
    uint16_t next_id = no_record;
};

// Where the records come from. Both may throw; what was asked for then counts as not seen.
class SelSource {
public:
    virtual ~SelSource() = default;
    virtual SelInfo sel_info() = 0;
    virtual std::optional<SelEntry> sel_entry(uint16_t id) = 0; // nothing when there is no such record
};

// What is known of the log.
struct SelPlace {
    bool started = false; // false: nothing was ever read
    SelInfo info;
    std::vector<sel_record> log; // in the log's order
    bool settled = true;         // false: new records may stand anywhere, and the next look reads all
    bool wrapped = false;        // the oldest records are overwritten
    uint16_t newest_id = 0;      // of the last record that was news
};

struct SelNews {
    std::vector<sel_record> records; // oldest first, each exactly once
    std::vector<std::string> remarks;
};

class SelFollower {
public:
    explicit SelFollower(SelPlace place = {}) : place_(std::move(place)) {}

    // At most two questions when there is nothing new and the place is settled. When the source throws, nothing has been seen. Looks are a second apart at
    // least, as the BMC's times of addition tell no more than seconds.
    SelNews look(SelSource &source);

    const SelPlace &place() const { return place_; }

private:
    std::optional<uint16_t> next_id(SelSource &source, const SelInfo &info) const;

    SelPlace place_;
};

uint16_t id_of(const sel_record &record);
bool same(const sel_record &a, const sel_record &b); // all 16 bytes

} // namespace bmc
