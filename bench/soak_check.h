// The checker of the soak, in the place of the entity filter and the broadcaster. Both are called with
// fe_write_buf_mutex held, one event after the other, so it needs no lock of its own: at each dispatch it draws the next
// event of that source, compares, and lets the model say what the engine has to broadcast.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "fault_engine/fault_record.h"
#include "fault_engine/fault_request.h"

struct SoakCounts {
    std::atomic<uint64_t> sent[2];       // by source, all events
    std::atomic<uint64_t> dispatched[2]; // by source, those that reached the entity filter
    std::atomic<uint64_t> broadcasts;
    std::atomic<uint64_t> created, repeated, cleared; // among the broadcasts
    std::atomic<uint64_t> differences;
    std::atomic<uint64_t> sweeps;                      // duplicate passes that have ended
    std::atomic<uint64_t> sweeps_before_last_dispatch; // of Source::sel
    std::atomic<uint64_t> stale_passes;                // of the thread that runs nothing else
    std::atomic<uint64_t> fill_from[2];                // by source: the number of the first event of the last stretch
};
SoakCounts &counts();

// Something is not as it must be. The first of them are printed.
void difference(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Where the storage status is; before the engine starts. A fault that is created or cleared before the walk is over is
// counted there as well.
void check_status_in(const std::string &file);

// In the place of the entity filter's handlers and of broadcast_fe_faults().
int32_t check_dispatch(fe_read_buf *request, fe_write_buf *record);
void check_broadcast(const fe_write_buf &record);

// After the engine has stopped: table in memory, its index, and the files against the model.
void check_end(const char *entry_file, const char *count_file);

// The part of a record that the engine must leave alone, as a number.
uint64_t seal_of(const fe_write_buf &record);
uint64_t seal_in(const fe_write_buf &record);
