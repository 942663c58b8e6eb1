// What the fault table must be after the soak's events, kept in another way than the engine keeps it: one list of
// faults, newest first, each of which remembers when it came.
#pragma once

#include <array>
#include <list>

#include "bench/soak_schedule.h"

enum class Change { none, created, repeated, cleared };

struct ModelFault {
    uint8_t entity;
    int32_t instance;
    int32_t code;
    int32_t severity;
    uint8_t occurrences;
    int32_t time;
    int32_t previous_time;
    uint64_t created; // older faults of an instance are found first
};

struct Outcome {
    Change change = Change::none;
    ModelFault fault{}; // as the broadcast says it
};

class Model {
public:
    Outcome apply(const Event &event, int32_t time);
    void sweep_twins(uint8_t entity, int32_t instance); // as the duplicate pass does

    const std::list<ModelFault> &faults() const { return faults_; } // newest first
    uint8_t storage_status() const;
    uint64_t evicted() const { return evicted_; }

private:
    using Place = std::list<ModelFault>::iterator;

    Place find(const Event &event);
    Outcome create(const Event &event, int32_t time);
    Outcome repeat(Place fault, const Event &event, int32_t time);
    Outcome clear(Place fault, const Event &event, int32_t time);

    std::list<ModelFault> faults_;
    std::array<unsigned, 4> storage_counts_{};
    uint64_t created_ = 0;
    uint64_t evicted_ = 0;
};
