// Changes of the table by a record, for those who hold its lock.
#pragma once

#include "base/thread_safety.h"
#include "fault_engine/fault_record.h"
#include "fault_table/table.h"

// What update_fe_database() does inside its lock, with the same results.
int32_t change_fault_table(fe_write_buf &record) FE_REQUIRES(table_lock);

// Turns a copy of a stored record into one that clears the fault, as an event would.
inline void make_clearing(fe_write_buf &copy) {
    copy.prev_vemoFaultCode = 0;
    copy.vemoFaultSeverity = FE_SEVERITY_CLEARED;
    copy.PreviousSeverity = FE_SEVERITY_CLEARED;
}

// Whether a sensor's present state no longer reports a fault: `state` is the current state word of a sensor of that event/reading type code and sensor type.
bool is_stale(uint32_t event_type_code, uint32_t sensor_type_code, uint32_t state);
