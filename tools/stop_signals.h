// The signals that tell to stop, without those that the process was told to ignore, as by nohup. They wait in the process
// from the moment this is made; threads made later don't see them either.
#pragma once

#include <pthread.h>

#include <csignal>
#include <ctime>

class StopSignals {
public:
    StopSignals() {
        sigemptyset(&set_);
        for (const int signal_number : {SIGINT, SIGTERM, SIGHUP}) {
            struct sigaction before {};
            if (sigaction(signal_number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
                sigaddset(&set_, signal_number);
            }
        }
        sigaddset(&set_, wake_up);
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
