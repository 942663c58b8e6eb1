// Whatever a BMC fails to answer, what a watch has told and what the next one will tell are all records, each once.
#include <algorithm>
#include <filesystem>

#include <unistd.h>

#include <gtest/gtest.h>

#include "tools/bmc/log_watch.h"
#include "tools/bmc/server_reader.h"
#include "tools/fectl.h"

namespace bmc {
namespace {

enum class Fault { network, busy, called_off };

// Answers all questions but one, or none at all.
class FaultyBmc : public LiveBmc {
public:
    void add() {
        sel_record record{};
        record.record_id[0] = static_cast<uint8_t>(++info_.last_addition);
        log_.push_back(record);
    }
    void clear() {
        log_.clear();
        info_.last_erase = info_.last_addition;
    }
    void fail_at(int question, Fault fault) {
        questions_left_ = question;
        fault_ = fault;
    }
    void set_dead(bool dead) { dead_ = dead; }
    void change_sdr() { ++sdr_times_.last_addition; }
    void change_sdr_while_read(int times) { sdr_changes_ahead_ = times; }

    void connect() override { answer(); }
    SelInfo sel_info() override {
        answer();
        info_.entries = static_cast<uint16_t>(log_.size());
        return info_;
    }
    std::optional<SelEntry> sel_entry(uint16_t id) override {
        answer();
        const auto found = id == first_record ? log_.begin() : std::ranges::find(log_, id, id_of);
        if (found == log_.end()) {
            return std::nullopt;
        }
        return SelEntry{*found, found + 1 == log_.end() ? no_record : id_of(found[1])};
    }
    Bytes sdr(const SdrProgress &) override {
        if (sdr_changes_ahead_ == 0) {
            return {};
        }
        --sdr_changes_ahead_;
        change_sdr();
        throw BmcError(BmcError::Kind::busy, "changed meanwhile");
    }
    SdrTimes sdr_times() override {
        answer();
        return sdr_times_;
    }
    std::optional<States> states(SensorAddress, std::string &) override { return std::nullopt; }

private:
    void answer() {
        if (!dead_ && questions_left_-- != 0) {
            return;
        }
        if (fault_ == Fault::called_off) {
            throw CalledOff();
        }
        throw BmcError(fault_ == Fault::network ? BmcError::Kind::network : BmcError::Kind::busy, "fails");
    }

    std::vector<sel_record> log_;
    SelInfo info_;
    SdrTimes sdr_times_;
    int sdr_changes_ahead_ = 0;
    int questions_left_ = -1; // until one fails
    Fault fault_ = Fault::network;
    bool dead_ = false;
};

class LogWatchTest : public testing::Test {
protected:
    // Two records are known from the start.
    LogWatch start() {
        bmc_.add();
        bmc_.add();
        SelFollower follower;
        const Server server = read_server(bmc_, follower);
        LogWatch log(bmc_, road_,
                     {.follower = follower,
                      .sdr_times = server.sdr_times,
                      .place_file = &place_file_,
                      .interval = interval,
                      .say = [this](const std::string &text) { said_.push_back(text); },
                      .sleep = [](auto) { return true; }});
        log.keep_place();
        return log;
    }
    size_t news_of_next_watch() {
        bmc_.fail_at(-1, Fault::network);
        return SelFollower(*place_file_.read()).look(bmc_).records.size();
    }
    ~LogWatchTest() override { unlink(path_.c_str()); }

    static constexpr std::chrono::seconds interval{5};
    FaultyBmc bmc_;
    std::vector<std::string> said_;
    size_t sent_ = 0;
    std::atomic<size_t> processed_ = 100; // more than are ever sent
    Road road_{[this](const sel_record &) { return ++sent_ != 0; }, processed_};
    std::string path_ = testing::TempDir() + "watch_" + std::to_string(getpid());
    PlaceFile place_file_{path_, "host"};
};

class AnyFault : public LogWatchTest, public testing::WithParamInterface<std::tuple<Fault, int, bool>> {};

TEST_P(AnyFault, LosesAndRepeatsNothing) {
    const auto &[fault, question, cleared] = GetParam();
    LogWatch log = start();
    if (cleared) {
        bmc_.clear();
    }
    bmc_.add();
    bmc_.add();
    bmc_.fail_at(question, fault);
    log.look();
    EXPECT_EQ(sent_ + news_of_next_watch(), 2U);
    if (fault != Fault::called_off) {
        log.look();
        EXPECT_EQ(sent_, 2U);
        EXPECT_EQ(std::ranges::count(said_, "the SEL was cleared"), cleared);
        EXPECT_EQ(news_of_next_watch(), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(Bmc, AnyFault,
                         testing::Combine(testing::Values(Fault::network, Fault::busy, Fault::called_off),
                                          testing::Range(0, 7), testing::Bool()));

TEST_F(LogWatchTest, LeavesToTheNextWhatTheEngineHasNotTold) {
    LogWatch log = start();
    processed_ = 1;
    bmc_.add();
    bmc_.add();
    log.look();
    EXPECT_EQ(news_of_next_watch(), 1U);
    processed_ = 2;
    log.look();
    EXPECT_EQ(news_of_next_watch(), 0U);
}

TEST_F(LogWatchTest, TakesSensorDataRecordsAsTheyAreAtTheStart) {
    bmc_.change_sdr_while_read(2);
    LogWatch log = start();
    bmc_.add();
    log.look();
    EXPECT_EQ(said_, std::vector<std::string>());
    bmc_.change_sdr();
    for (int look = 0; look < 2; ++look) { // said once
        bmc_.add();
        log.look();
        EXPECT_EQ(said_,
                  std::vector<std::string>{"the sensor data records have changed; a new start of watch takes them"});
    }
    bmc_.change_sdr_while_read(3);
    SelFollower follower;
    EXPECT_THROW(read_server(bmc_, follower), BmcError);
}

TEST_F(LogWatchTest, TriesAgainLaterAndLater) {
    LogWatch log = start();
    for (int outage = 0; outage < 2; ++outage) {
        bmc_.set_dead(true);
        for (const int pause : {1, 2, 4, 8, 16, 32, 60, 60}) {
            EXPECT_EQ(log.look(), std::chrono::seconds(pause));
        }
        bmc_.set_dead(false);
        EXPECT_EQ(log.look(), interval);
    }
}

TEST_F(LogWatchTest, TakesNoPlaceThatIsCut) {
    start();
    for (auto size = std::filesystem::file_size(path_) - 1; size-- > 0;) { // the last line end may be missing
        std::filesystem::resize_file(path_, size);
        EXPECT_THROW(place_file_.read(), Refusal) << size;
    }
}

} // namespace

} // namespace bmc
