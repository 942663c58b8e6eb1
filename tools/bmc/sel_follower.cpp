#include "tools/bmc/sel_follower.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>

#include "base/wire_bytes.h"
#include "tools/bmc/bmc_error.h"

namespace bmc {
namespace {

constexpr int sel_attempts = 5; // to read a log that is cleared or wraps meanwhile

using RecordBytes = std::array<uint8_t, sizeof(sel_record)>;

RecordBytes bytes_of(const sel_record &record) {
    RecordBytes bytes;
    memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

std::string counted(size_t count, const char *noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// Appends the record of that id and those behind it. False when one was gone before it could be read.
bool read_from(SelSource &source, uint16_t id, std::vector<sel_record> &records) {
    std::set<uint16_t> asked; // for a BMC whose ids go round
    while (id != no_record && asked.insert(id).second) {
        const std::optional<SelEntry> entry = source.sel_entry(id);
        if (!entry) {
            return false;
        }
        records.push_back(entry->record);
        id = entry->next_id;
    }
    return true;
}

// A look at a log that has changed. It works on a copy of the place, which is the follower's once nothing has thrown.
class Look {
public:
    Look(const SelPlace &before, SelSource &source, const SelInfo &info)
        : before_(before), place_(before), source_(source), info_(info) {}

    // `next_id` follows the last known record where that still stands.
    void take(std::optional<uint16_t> next_id);

    SelNews news;
    SelPlace take_place() { return std::move(place_); }

private:
    bool append(uint16_t next_id);
    void read_all();
    void compare();
    void put_in_order();
    void remark_what_went(size_t survivors);
    void remark_what_came();

    const SelPlace &before_;
    SelPlace place_;
    SelSource &source_;
    SelInfo info_;
};

// True if the log is the known one, perhaps without its oldest records, with new ones behind it.
bool Look::append(uint16_t next_id) {
    if (!read_from(source_, next_id, news.records) || news.records.empty()) {
        return false;
    }
    const std::optional<SelEntry> first = source_.sel_entry(first_record);
    std::vector<sel_record> &log = place_.log;
    log.insert(log.end(), news.records.begin(), news.records.end());
    const auto oldest =
        std::ranges::find_if(log, [&](const sel_record &record) { return first && same(record, first->record); });
    if (log.end() - oldest != info_.entries) {
        return false;
    }
    log.erase(log.begin(), oldest);
    return true;
}

void Look::read_all() {
    for (int attempt = 1;; ++attempt) {
        place_.log.clear();
        if (info_.entries == 0 || read_from(source_, first_record, place_.log)) {
            return;
        }
        if (attempt == sel_attempts) {
            throw BmcError(BmcError::Kind::busy, "the SEL changes faster than it can be read");
        }
        info_ = source_.sel_info();
    }
}

void Look::compare() {
    std::set<RecordBytes> known;
    for (const sel_record &record : before_.log) {
        known.insert(bytes_of(record));
    }
    news.records.clear();
    std::ranges::copy_if(place_.log, std::back_inserter(news.records),
                         [&](const sel_record &record) { return !known.contains(bytes_of(record)); });
    if (before_.started) {
        put_in_order();
        remark_what_went(place_.log.size() - news.records.size());
    }
}

// In a log whose ids are places in a ring, the records behind the newest one known are older than those before it.
void Look::put_in_order() {
    const auto tail = place_.log.end() - static_cast<ptrdiff_t>(news.records.size());
    place_.settled = std::equal(tail, place_.log.end(), news.records.begin(), same);
    if (!place_.settled) {
        std::stable_partition(news.records.begin(), news.records.end(),
                              [this](const sel_record &record) { return id_of(record) > before_.newest_id; });
    }
}

void Look::remark_what_went(size_t survivors) {
    const size_t gone = before_.log.size() - std::min(survivors, before_.log.size());
    if (gone == 0) {
        return;
    }
    const bool erased = info_.last_erase != before_.info.last_erase;
    if (erased && survivors == 0) {
        news.remarks.push_back("the SEL was cleared");
        place_.wrapped = false;
    } else if (erased) {
        news.remarks.push_back(counted(gone, "record") + (gone == 1 ? " was" : " were") + " deleted from the SEL");
    } else if (survivors == 0) {
        news.remarks.push_back("the SEL holds none of the records known before: it was cleared, or has wrapped, and "
                               "records may have come and gone unseen");
    }
}

// What a clear explains is not said again.
void Look::remark_what_came() {
    const size_t survivors = place_.log.size() - news.records.size();
    if (survivors == 0) {
        return;
    }
    std::set<uint16_t> known;
    for (const sel_record &record : before_.log) {
        known.insert(id_of(record));
    }
    const auto again = static_cast<size_t>(std::ranges::count_if(
        news.records, [&known](const sel_record &record) { return known.contains(id_of(record)); }));
    if (again != 0) {
        news.remarks.push_back(counted(again, "record id") + " used again for other records");
    }
    if (survivors < before_.log.size() && info_.last_erase == before_.info.last_erase && !before_.wrapped) {
        news.remarks.push_back("the SEL has wrapped: new records overwrite the oldest");
        place_.wrapped = true;
    }
}

void Look::take(std::optional<uint16_t> next_id) {
    if (!next_id || !append(*next_id)) {
        read_all();
        compare();
    }
    if (before_.started) {
        remark_what_came();
    }
    if (!news.records.empty()) {
        place_.newest_id = id_of(news.records.back());
    }
    place_.started = true;
    place_.info = info_;
}

void remark_fullness(const SelInfo &before, const SelInfo &now, std::vector<std::string> &remarks) {
    if (now.overflow && !before.overflow) {
        remarks.push_back("the SEL has overflowed: events were lost for want of room");
    } else if (now.free_bytes == 0 && before.free_bytes != 0) {
        remarks.push_back("the SEL is full");
    }
}

} // namespace

uint16_t id_of(const sel_record &record) {
    return static_cast<uint16_t>(little_endian(record.record_id));
}

bool same(const sel_record &a, const sel_record &b) {
    return memcmp(&a, &b, sizeof a) == 0;
}

// The id of the record behind the last known one; none when that one is gone, or when all is to be read again.
std::optional<uint16_t> SelFollower::next_id(SelSource &source, const SelInfo &info) const {
    if (place_.log.empty() || !place_.settled || info.last_erase != place_.info.last_erase) {
        return std::nullopt;
    }
    const std::optional<SelEntry> last = source.sel_entry(id_of(place_.log.back()));
    return last && same(last->record, place_.log.back()) ? std::optional(last->next_id) : std::nullopt;
}

SelNews SelFollower::look(SelSource &source) {
    const SelInfo info = source.sel_info();
    const std::optional<uint16_t> next = next_id(source, info);
    const bool still_empty = place_.log.empty() && info.entries == 0;
    SelNews news;
    if (place_.started && info.same_log(place_.info) && (next == no_record || still_empty)) {
        remark_fullness(place_.info, info, news.remarks);
        place_.info = info;
        return news;
    }
    Look found(place_, source, info);
    found.take(next);
    news = std::move(found.news);
    remark_fullness(place_.info, info, news.remarks);
    place_ = found.take_place();
    return news;
}

} // namespace bmc
