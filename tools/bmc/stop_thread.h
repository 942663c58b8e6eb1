// Waits for the signals that tell to stop, beside whoever works meanwhile.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "tools/stop_signals.h"

namespace bmc {

class StopThread {
public:
    // `on_stop` is called in the thread that waits.
    StopThread(const StopSignals &signals, std::function<void()> on_stop)
        : thread_([this, &signals, on_stop = std::move(on_stop)](const std::stop_token &over) {
              if (signals.await([&over] { return over.stop_requested(); })) {
                  give();
                  on_stop();
              }
          }) {}
    ~StopThread() {
        thread_.request_stop();
        StopSignals::wake(thread_.native_handle());
    }
    StopThread(const StopThread &) = delete;
    StopThread &operator=(const StopThread &) = delete;

    // True when it is told to stop before that time is over.
    bool sleep(std::chrono::milliseconds time) {
        std::unique_lock lock(lock_);
        return told_now_.wait_for(lock, time, [this] { return told_; });
    }

private:
    void give() {
        const std::lock_guard lock(lock_);
        told_ = true;
        told_now_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable told_now_;
    bool told_ = false;
    std::jthread thread_; // the last, so that it finds the others
};

} // namespace bmc
