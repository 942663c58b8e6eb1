// The engine for as long as one input lasts, which answers its neighbours' calls.
#pragma once

#include <memory>

#include "fault_engine/fault_table.h"
#include "fault_engine/sel.h"
#include "fuzz/input.h"
#include "platform/fe_core/fe_core.h"

class Engine {
public:
    // Takes a byte: bit 0, start-up is over; bit 1, there is no write buffer; bit 2, instances count from 1.
    explicit Engine(Input &input);
    ~Engine(); // empties the table
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    // Nothing is locked, the working record is zero, the table keeps its invariants.
    void check() const;

private:
    const std::unique_ptr<fe_write_buf> record_ = std::make_unique<fe_write_buf>();
    fe_write_buf_struct buffer_{};
};
