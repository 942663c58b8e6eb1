// What ends waits here: an event that is given once and then stays.
#pragma once

namespace fe_core {

enum class Woken { by_event, by_input, by_time };

class StopEvent {
public:
    void arm();        // forgets that it was given; throws std::system_error
    void give() const; // async-signal-safe

    // Waits for the event, or until `input` can be read (or fails), or the time is over; -1 stands for no input, and for no limit of
    // time. The
    // event comes before anything else.
    Woken await(int timeout_ms, int input = -1) const;

private:
    int fd_ = -1; // can be read once the event was given
};

extern StopEvent engine_stop;
extern StopEvent pauses_end;

} // namespace fe_core
