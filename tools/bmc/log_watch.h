// A BMC's log for as long as it is watched: what is new goes down the road to the engine, the place up to which the engine
// has come is kept, and a session that is lost is made again.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "tools/bmc/bmc.h"
#include "tools/bmc/place_file.h"
#include "tools/bmc/road.h"

namespace bmc {

class LogWatch {
public:
    // What was read at the start, and how to go on.
    struct Start {
        SelFollower follower;
        SdrTimes sdr_times;
        const PlaceFile *place_file; // null: the place is not kept
        std::chrono::seconds interval;
        std::function<void(const std::string &)> say;
        std::function<bool(std::chrono::milliseconds)> sleep; // true when told to stop
    };
    LogWatch(LiveBmc &bmc, Road &road, Start start) : bmc_(bmc), road_(road), start_(std::move(start)) {}

    // Returns when to look next. What the BMC cannot do is said, and tried again then.
    std::chrono::milliseconds look();

    const SelPlace &place() const { return start_.follower.place(); }

    // Unless it is kept already. Records that the engine has not told yet are left out. Throws Failure.
    void keep_place();

private:
    void connect_again();
    void take(const SelNews &news);
    void check_sdr();

    LiveBmc &bmc_;
    Road &road_;
    Start start_;
    bool connected_ = true;
    bool place_is_kept_ = false;
    bool sdr_check_is_due_ = false;
    bool sdr_change_said_ = false;
    std::chrono::seconds pause_after_failure_{1};
};

} // namespace bmc
