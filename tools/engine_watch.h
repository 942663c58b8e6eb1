// What the engine does with each SEL record and each fault request, seen from outside: the result of process_sel_data(),
// in front of which fectl stands, and the formats of the engine's log lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

enum class Change { none, created, repeated, cleared };

struct Totals {
    size_t records = 0;
    size_t ignored = 0;                // result 0 without a dispatch
    size_t dispatched = 0;             // what became of them is in the next two and in the faults
    std::map<int32_t, size_t> refused; // by result
    size_t left_out = 0;               // because of a stop; counted nowhere else
    size_t requests = 0;
    size_t requests_dispatched = 0; // likewise
    size_t nothing_to_clear = 0;    // records and requests
    size_t not_stored = 0;
    size_t created = 0; // faults, clean-up passes included
    size_t repeated = 0;
    size_t cleared = 0;
};

// From now on records and requests are counted, the entity filter's time is that of the SEL record in hand, and
// `after_record` is called after each. Before the engine starts.
void watch_engine(void (*after_record)());

// What the record or request that the calling thread has in hand did to the fault table; for use in a broadcast.
Change change_in_hand();

// Ahead of a stop: from now on the records of the start-up walk are left out, so that it is soon over. Returns when the
// record in hand, if any, has been processed.
void finish_record_in_hand();

Totals engine_totals();
