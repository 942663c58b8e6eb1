// The engine with all its threads, as its daemon runs it.
#pragma once

#include <pthread.h>

#include <atomic>
#include <vector>

class RequestSocket;
class SelFifo;

// The two ends have to outlive it.
class LiveEngine {
public:
    LiveEngine(RequestSocket &requests, SelFifo &records) : requests_(requests), records_(records) {}
    ~LiveEngine() { stop(); }
    LiveEngine(const LiveEngine &) = delete;
    LiveEngine &operator=(const LiveEngine &) = delete;

    // In the order of engine.h. Throws std::runtime_error when a thread or a buffer cannot be had.
    void start();

    // True when the engine has stopped, or will, without being told to.
    bool has_given_up() const;

    // Returns when all threads have ended; the start-up walk and pauses are cut short. A second call does nothing.
    void stop();

private:
    using StartFunction = int32_t (*)();

    static void *run_sel_side(void *engine);
    void start_thread(StartFunction start_function, const pthread_t &id, const char *name);
    void start_sel_side();

    RequestSocket &requests_;
    SelFifo &records_;
    std::vector<pthread_t> threads_; // running: listener, broadcaster, fault processor
    pthread_t sel_thread_{};
    bool sel_thread_runs_ = false;
    std::atomic<bool> sel_side_ended_ = false;
};
