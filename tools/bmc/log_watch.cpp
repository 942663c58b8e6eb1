#include "tools/bmc/log_watch.h"

#include <algorithm>

namespace bmc {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds shortest_pause{1}, longest_pause{60}; // between attempts

milliseconds LogWatch::look() {
    try {
        if (!connected_) {
            connect_again();
        }
        take(start_.follower.look(bmc_));
        pause_after_failure_ = shortest_pause;
        check_sdr();
        return start_.interval;
    } catch (const BmcError &error) {
        connected_ = connected_ && error.kind != BmcError::Kind::network;
        const seconds pause = pause_after_failure_;
        pause_after_failure_ = std::min(2 * pause, longest_pause);
        start_.say(error.what() + ("; next attempt in " + std::to_string(pause.count()) + " s"));
        return pause;
    } catch (const CalledOff &) {
        return milliseconds(0);
    }
}

void LogWatch::connect_again() {
    bmc_.connect();
    connected_ = true;
    sdr_check_is_due_ = true;
    start_.say("connected again");
}

// The follower tells its news once: nothing here may ask the BMC, which may fail, before they are sent and kept.
void LogWatch::take(const SelNews &news) {
    if (!news.records.empty() || !news.remarks.empty()) {
        place_is_kept_ = false;
        sdr_check_is_due_ = true;
    }
    std::ranges::for_each(news.remarks, start_.say);
    road_.send(news.records);
    road_.drain(start_.sleep);
    keep_place();
}

void LogWatch::keep_place() {
    if (start_.place_file != nullptr && !place_is_kept_) {
        const bool all_done = road_.all_done();
        start_.place_file->write(road_.place_of(start_.follower.place()));
        place_is_kept_ = all_done;
    }
}

// A BMC that cannot tell for now, say as it is writing them, is asked again at the next look.
void LogWatch::check_sdr() {
    if (!sdr_check_is_due_ || sdr_change_said_) {
        return;
    }
    try {
        sdr_change_said_ = bmc_.sdr_times() != start_.sdr_times;
        sdr_check_is_due_ = false;
    } catch (const BmcError &error) {
        if (error.kind == BmcError::Kind::network) {
            throw;
        }
    }
    if (sdr_change_said_) {
        start_.say("the sensor data records have changed; a new start of watch takes them");
    }
}

} // namespace bmc
