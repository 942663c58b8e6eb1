#include "fault_table/write_buffer.h"

#include <cstdlib>

fe_write_buf_struct *allocate_write_buffer() {
    auto *wbuf = static_cast<fe_write_buf_struct *>(calloc(1, sizeof(fe_write_buf_struct)));
    if (wbuf == nullptr) {
        return nullptr;
    }
    wbuf->fe_write_buf = static_cast<fe_write_buf *>(calloc(1, sizeof(fe_write_buf)));
    if (wbuf->fe_write_buf == nullptr) {
        free(wbuf);
        return nullptr;
    }
    return wbuf;
}

void free_write_buffer(fe_write_buf_struct *wbuf) {
    free(wbuf->fe_write_buf);
    wbuf->fe_write_buf = nullptr;
    free(wbuf);
}
