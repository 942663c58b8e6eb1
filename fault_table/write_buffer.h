// A write buffer with its record, both zero; mutex and condition are left to whoever needs them.
#pragma once

#include "fault_engine/fault_request.h"

// Null when out of memory.
fe_write_buf_struct *allocate_write_buffer();
void free_write_buffer(fe_write_buf_struct *wbuf);
