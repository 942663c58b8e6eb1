// Blocks of the kind of the read and the write buffer, each with the request or record that it points to.
#pragma once

#include <cstdlib>

#include "fault_engine/fault_request.h"

inline fe_read_buf *&content_of(fe_read_buf_struct &block) {
    return block.fe_read_buf;
}

inline fe_write_buf *&content_of(fe_write_buf_struct &block) {
    return block.fe_write_buf;
}

template <class T>
bool allocate_zeroed(T *&place) {
    place = static_cast<T *>(calloc(1, sizeof(T)));
    return place != nullptr;
}

// Block and content, both zero; mutexes and conditions are left to whoever needs them. Null when out of memory.
template <class Block>
Block *allocate_block() {
    Block *block = nullptr;
    if (!allocate_zeroed(block)) {
        return nullptr;
    }
    if (!allocate_zeroed(content_of(*block))) {
        free(block);
        return nullptr;
    }
    return block;
}

template <class Block>
void free_block(Block *block) {
    free(content_of(*block));
    content_of(*block) = nullptr;
    free(block);
}
