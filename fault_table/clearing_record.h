// Clearing records: with them the clean-up passes clear a fault as an event would.
#pragma once

#include "fault_engine/fault_record.h"

// Turns a copy of a stored record into one that clears the fault.
inline void make_clearing(fe_write_buf &copy) {
    copy.prev_vemoFaultCode = 0;
    copy.vemoFaultSeverity = FE_SEVERITY_CLEARED;
    copy.PreviousSeverity = FE_SEVERITY_CLEARED;
}
