#include "tools/bmc/road.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "tools/fectl.h"

namespace bmc {

using std::chrono::steady_clock;
constexpr std::chrono::milliseconds between_checks{5};
constexpr std::chrono::seconds longest_silence{1};

void Road::send(const std::vector<sel_record> &records) {
    for (const sel_record &record : records) {
        waiting_.push_back(record);
        if (!write_(record)) {
            throw Failure(std::string("cannot hand a record to the engine: ") + strerror(errno));
        }
    }
}

bool Road::all_done() {
    for (; done_ < processed_ && !waiting_.empty(); ++done_) {
        waiting_.pop_front();
    }
    return waiting_.empty();
}

void Road::drain(const std::function<bool(std::chrono::milliseconds)> &sleep) {
    size_t told = done_;
    for (auto end = steady_clock::now() + longest_silence; !all_done() && steady_clock::now() < end;) {
        if (sleep(between_checks)) {
            return;
        }
        if (std::exchange(told, done_) != done_) {
            end = steady_clock::now() + longest_silence;
        }
    }
}

SelPlace Road::place_of(SelPlace place) {
    if (!all_done()) {
        std::erase_if(place.log, [this](const sel_record &record) {
            return std::ranges::any_of(waiting_, [&](const auto &waiting) { return same(waiting, record); });
        });
    }
    return place;
}

} // namespace bmc
