// The signals that tell to stop. They wait in the process from the moment this is made; threads made later don't see them
// either. SIGHUP is left out where it was ignored, as under nohup; not the others, since shells ignore SIGINT for whatever
// they start in the background.
#pragma once

#include <pthread.h>

#include <csignal>
#include <ctime>

class StopSignals {
public:
    StopSignals() {
        sigemptyset(&set_);
        for (const int signal_number : {SIGINT, SIGTERM, wake_up}) {
            sigaddset(&set_, signal_number);
        }
        struct sigaction hang_up {};
        if (sigaction(SIGHUP, nullptr, &hang_up) == 0 && hang_up.sa_handler != SIG_IGN) {
            sigaddset(&set_, SIGHUP);
        }
        pthread_sigmask(SIG_BLOCK, &set_, nullptr);
    }

    // True for a signal, false when `gives_up` says so, which is asked four times a second and at each wake().
    template <class Condition>
    bool await(Condition gives_up) const {
        constexpr timespec between_checks{.tv_sec = 0, .tv_nsec = 250'000'000};
        for (;;) {
            const int signal_number = sigtimedwait(&set_, nullptr, &between_checks);
            if (signal_number > 0 && signal_number != wake_up) {
                return true;
            }
            if (gives_up()) {
                return false;
            }
        }
    }
    static void wake(pthread_t waiting) { pthread_kill(waiting, wake_up); }

private:
    static constexpr int wake_up = SIGURG; // does nothing to a thread that does not wait any more

    sigset_t set_;
};
