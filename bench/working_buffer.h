// A write buffer published in the place of the fault processor's.
#pragma once

#include "fault_engine/fault_request.h"

class WorkingBuffer {
public:
    WorkingBuffer() {
        block_.fe_write_buf = &record_;
        pthread_mutex_init(&block_.fe_write_buf_mutex, nullptr);
        fe_write_buf_struct_ptr = &block_;
    }
    ~WorkingBuffer() {
        fe_write_buf_struct_ptr = nullptr;
        pthread_mutex_destroy(&block_.fe_write_buf_mutex);
    }
    WorkingBuffer(const WorkingBuffer &) = delete;
    WorkingBuffer &operator=(const WorkingBuffer &) = delete;

private:
    fe_write_buf record_{};
    fe_write_buf_struct block_{};
};
