// The engine for as long as one input lasts, which answers its neighbours' calls.
#pragma once

#include "fault_engine/fault_table.h"
#include "fault_engine/sel.h"
#include "fuzz/input.h"
#include "platform/fe_core/fe_core.h"

class Engine {
public:
    explicit Engine(
        Input &input); // takes a byte: whether start-up is over, there is a write buffer, instances start at 0
    ~Engine();         // empties the table
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    // Nothing is locked, the working record is zero, the table keeps its invariants.
    void check() const;

private:
    fe_write_buf record_{};
    fe_write_buf_struct buffer_{
        .fe_write_buf = &record_, .fe_write_buf_mutex = PTHREAD_MUTEX_INITIALIZER, .fe_write_buf_cond{}};
};
