// The steps that every road to a fault shares, in the order in which the roads take them. They work on the write
// buffer's record; the caller holds fe_write_buf_mutex from the first to the last.
#pragma once

#include "fault_engine/fault_request.h"

// Has the entity filter fill the record and, whatever it says, writes the severity word of the request as the filter
// left it. Returns the dispatch's result.
int32_t fill_record(fe_read_buf *request, fe_write_buf_struct *wbuf);

// Completes a record that was filled with success: related threshold codes, dump to the log.
void complete_record(fe_write_buf *record);

// Broadcasts the record if `result` is FE_TABLE_CHANGED or FE_TABLE_REPEATED_STORAGE. It is the table update's or, where the
// dispatch failed, the dispatch's: one that returns 2 counts as the latter.
void broadcast_record(fe_write_buf_struct *wbuf, int32_t result);

void clear_record(fe_write_buf *record);

// Logs 31 fields, one a line, as they stand before the table update. The lines are fixed: severity word, sensor number and the
// opaque fields have none.
void dump_record(const fe_write_buf &record);
