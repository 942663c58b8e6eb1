// The schedule of the soak: which events its two sources send, in an order that a seed fixes. Whoever makes a Schedule of
// the same source sees the same events, so the sender and the checker need not talk. The sources share no entity
// instance.
#pragma once

#include <atomic>
#include <cstdint>
#include <random>

#include "fault_engine/fault_request.h"
#include "fault_engine/sel.h"

enum class Source { requests, sel };
constexpr Source sources[] = {Source::requests, Source::sel};

struct Event {
    enum class Fate : uint8_t {
        refused,   // never reaches the entity filter
        kept,      // goes into the table
        transient, // goes into the table; a stale pass may take it out at any moment
    };
    Fate fate = Fate::kept;
    bool after_sweep = false; // sent only when a duplicate pass has run since the event before
    uint8_t entity = 0;
    int32_t instance = 0;
    int32_t severity = 0;
    int32_t code = 0;
    int32_t related[3] = {};        // codes that find the same fault; 0: none
    bool catalogue_relates = false; // the engine knows these related codes itself
    uint32_t sensor_number = 0;
    sel_record record{}; // as it comes from the FIFO; Source::sel only
};

constexpr unsigned walk_records = 600; // of the SEL source: those in the SEL when the engine starts
constexpr unsigned fill_events = 700;  // of each source, at the end: new faults, until the table overflows
constexpr uint8_t transient_entity = 20;

class Schedule {
public:
    // From event number `*fill_from` on the source only creates.
    Schedule(Source source, const std::atomic<uint64_t> &fill_from);

    Event next();
    uint64_t sent() const { return sent_; }
    bool may_stop() const { return twin_step_ == 0; } // nothing half done

private:
    Event next_request();
    Event next_sel();
    Event next_of_twins();
    Event fill_event();
    int below(int limit); // a random number from 0 on
    int32_t random_severity();
    int32_t random_storage_severity(int32_t code);

    Source source_;
    const std::atomic<uint64_t> &fill_from_;
    std::minstd_rand random_;
    uint64_t sent_ = 0;
    int twin_step_ = 0;
    int32_t twin_instance_ = 0;
};

constexpr bool is_storage(uint8_t entity) {
    return entity >= 208 && entity <= 215;
}

// Tells the neighbours of the sensors behind the SEL source's events.
void describe_soak_sensors();

fe_read_buf request_of(const Event &event);
