// Every record exactly once, whatever the log does between two looks, and while it is looked at.
#include <algorithm>
#include <deque>
#include <random>

#include <unistd.h>

#include <gtest/gtest.h>

#include "tools/bmc/bmc_error.h"
#include "tools/bmc/place_file.h"
#include "tools/bmc/sel_follower.h"

namespace bmc {
namespace {

enum class LogKind { stops_when_full, ring_with_new_ids, ring_of_places, ring_of_places_read_in_their_order };

constexpr size_t capacity = 12;
constexpr uint16_t last_id = 40; // small, so that ids come again

bool holds(const std::deque<sel_record> &records, const sel_record &wanted) {
    return std::ranges::any_of(records, [&](const sel_record &record) { return same(record, wanted); });
}

// A BMC's SEL.
class ModelSel : public SelSource {
public:
    ModelSel(LogKind kind, std::mt19937 &random, bool busy) : kind_(kind), random_(random), busy_(busy) {}

    bool chance(int of) { return random_() % static_cast<unsigned>(of) == 0; }

    void add() {
        if (log_.size() == capacity) {
            info_.overflow = kind_ == LogKind::stops_when_full;
            if (info_.overflow) {
                return;
            }
            log_.pop_front();
        }
        sel_record record{};
        record.record_id[0] = static_cast<uint8_t>(added_ % (places() ? capacity : last_id) + 1);
        std::erase_if(log_, [&](const sel_record &old) { return id_of(old) == id_of(record); });
        if (added_++ % 3 == 0) {
            ++clock_;
        }
        record.timestamp[0] = static_cast<uint8_t>(clock_);
        record.timestamp[1] = static_cast<uint8_t>(clock_ >> 8);
        record.event_data[0] = static_cast<uint8_t>(random_() % 2);
        log_.push_back(record);
        owed_.push_back(record);
        info_.last_addition = clock_;
    }
    void wait_a_second() { ++clock_; }
    void clear() {
        log_.clear();
        added_ = places() || chance(2) ? 0 : added_;
        info_.last_erase = clock_++;
    }
    void remove_one() {
        if (log_.empty()) {
            return;
        }
        log_.erase(log_.begin() + static_cast<ptrdiff_t>(random_() % log_.size()));
        info_.last_erase = clock_++;
    }
    bool has_room_unseen() const { return owed().size() + 2 < capacity; }

    SelInfo sel_info() override {
        disturb();
        info_.entries = static_cast<uint16_t>(log_.size());
        return info_;
    }
    std::optional<SelEntry> sel_entry(uint16_t id) override {
        disturb();
        std::deque<sel_record> listed = log_;
        if (kind_ == LogKind::ring_of_places_read_in_their_order) {
            std::ranges::sort(listed, {}, id_of);
        }
        const auto found = id == first_record ? listed.begin() : std::ranges::find(listed, id, id_of);
        if (found == listed.end()) {
            return std::nullopt;
        }
        return SelEntry{*found, found + 1 == listed.end() ? no_record : id_of(found[1])};
    }

    // Records that no look has brought yet, and still can.
    std::deque<sel_record> owed() const {
        std::deque<sel_record> there;
        std::ranges::copy_if(owed_, std::back_inserter(there),
                             [this](const auto &record) { return holds(log_, record); });
        return there;
    }
    // False for one that was never added, or was brought before.
    bool give(const sel_record &record) {
        return std::erase_if(owed_, [&](const sel_record &each) { return same(each, record); }) == 1;
    }
    void calm_down() { busy_ = false; }

private:
    bool places() const {
        return kind_ == LogKind::ring_of_places || kind_ == LogKind::ring_of_places_read_in_their_order;
    }
    void disturb() {
        if (busy_ && chance(9)) {
            throw BmcError(BmcError::Kind::network, "lost");
        }
        if (busy_ && chance(6) && has_room_unseen()) {
            add();
        }
    }

    LogKind kind_;
    std::mt19937 &random_;
    bool busy_;
    std::deque<sel_record> log_;  // oldest first
    std::deque<sel_record> owed_; // added, and brought by no look yet
    SelInfo info_;
    uint32_t clock_ = 1000;
    size_t added_ = 0;
};

using History = std::tuple<LogKind, bool>;
class EveryRecord : public testing::TestWithParam<History> {
protected:
    // What a look brings was added and is new. Without disturbance it brings all there is, oldest first.
    void look(bool busy) {
        const std::deque<sel_record> owed = sel_.owed();
        SelNews news;
        try {
            news = follower_.look(sel_);
        } catch (const BmcError &) {
            return;
        }
        for (const sel_record &record : news.records) {
            EXPECT_TRUE(sel_.give(record));
        }
        if (!busy) {
            EXPECT_TRUE(std::ranges::equal(news.records, owed, same));
        }
    }

    void change() {
        switch (random_() % 12) {
        case 0: sel_.clear(); break;
        case 1: sel_.remove_one(); break;
        case 2:
            place_file_.write(follower_.place());
            follower_ = SelFollower(*place_file_.read());
            break;
        default:
            for (auto count = random_() % 5; count > 0 && sel_.has_room_unseen(); --count) {
                sel_.add();
            }
        }
    }

    std::mt19937 random_{12};
    ModelSel sel_{std::get<LogKind>(GetParam()), random_, std::get<bool>(GetParam())};
    SelFollower follower_;
    std::string path_ = testing::TempDir() + "place_" + std::to_string(getpid());
    PlaceFile place_file_{path_, "host"};
};

TEST_P(EveryRecord, ExactlyOnce) {
    for (int round = 0; round < 1000 && !HasFailure(); ++round) {
        sel_.wait_a_second();
        change();
        look(std::get<bool>(GetParam()));
    }
    sel_.calm_down();
    sel_.wait_a_second();
    look(true);
    look(true);
    EXPECT_TRUE(sel_.owed().empty());
    unlink(path_.c_str());
}

INSTANTIATE_TEST_SUITE_P(Sel, EveryRecord,
                         testing::Combine(testing::Values(LogKind::stops_when_full, LogKind::ring_with_new_ids,
                                                          LogKind::ring_of_places,
                                                          LogKind::ring_of_places_read_in_their_order),
                                          testing::Bool()));

// Each said once, in one line.
TEST(SelFollower, SaysWhatBecomesOfTheLog) {
    struct Case {
        LogKind kind;
        void (*change)(ModelSel &);
        std::vector<std::string> remarks;
    };
    const auto add = [](ModelSel &sel) { sel.add(); };
    const Case cases[] = {
        {LogKind::ring_with_new_ids, add, {"the SEL has wrapped: new records overwrite the oldest"}},
        {LogKind::ring_of_places,
         add,
         {"1 record id used again for other records", "the SEL has wrapped: new records overwrite the oldest"}},
        {LogKind::stops_when_full, add, {"the SEL has overflowed: events were lost for want of room"}},
        {LogKind::ring_of_places, [](ModelSel &sel) { sel.clear(); }, {"the SEL was cleared"}},
        {LogKind::ring_of_places, [](ModelSel &sel) { sel.remove_one(); }, {"1 record was deleted from the SEL"}},
    };
    for (const Case &each : cases) {
        std::mt19937 random;
        ModelSel sel(each.kind, random, false);
        for (size_t i = 0; i < capacity; ++i) {
            sel.add();
        }
        SelFollower follower;
        EXPECT_TRUE(follower.look(sel).remarks.empty());
        sel.wait_a_second();
        each.change(sel);
        EXPECT_EQ(follower.look(sel).remarks, each.remarks);
        EXPECT_TRUE(follower.look(sel).remarks.empty());
    }
}

} // namespace
} // namespace bmc
