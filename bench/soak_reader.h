// A reader of the table files, in a process of its own: record locks belong to a process, so a thread of the engine's own
// process would not be kept out, and by closing its files would free the engine's locks.
#pragma once

#include <atomic>
#include <cstdint>
#include <sys/types.h>

// In memory that the processes share.
struct ReaderCounts {
    std::atomic<uint64_t> passed;  // pairs that fit, with all of their records right
    std::atomic<uint64_t> retried; // pairs that did not fit, or were not there yet
    std::atomic<uint64_t> wrong;   // pairs that fit, but not their records
    std::atomic<bool> stop;
};

// Forks; the caller has no other thread yet.
pid_t start_reader(const char *entry_file, const char *count_file, ReaderCounts &counts);
