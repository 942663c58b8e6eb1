// The road from a BMC's log into the engine, and how far the engine has come on it.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <vector>

#include "tools/bmc/sel_follower.h"

namespace bmc {

class Road {
public:
    // `write` is false with errno set when it fails; `processed` counts the records that the engine has told.
    Road(std::function<bool(const sel_record &)> write, const std::atomic<size_t> &processed)
        : write_(std::move(write)), processed_(processed) {}

    // Throws Failure.
    void send(const std::vector<sel_record> &records);

    // Whether the engine has processed all that was sent.
    bool all_done();

    // Waits for that; gives up when the engine has told of no record for a second, or when `sleep` is true.
    void drain(const std::function<bool(std::chrono::milliseconds)> &sleep);

    // Without the records that the engine has not come to: they are news to the next watch.
    SelPlace place_of(SelPlace place);

private:
    std::function<bool(const sel_record &)> write_;
    const std::atomic<size_t> &processed_;
    std::deque<sel_record> waiting_; // for the engine, as far as is known
    size_t done_ = 0;
};

} // namespace bmc
