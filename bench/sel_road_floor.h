// The floor under the SEL road: the calls into the neighbours that one record of a known fault costs, in their order,
// with the same arguments, and nothing between them.
#pragma once

#include "fault_engine/fault_table.h"
#include "fault_engine/sel.h"

void call_neighbours(const sel_record &record, fe_write_buf_struct *wbuf);
