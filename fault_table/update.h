#pragma once

#include "fault_engine/fault_record.h"

// What update_fe_database() does inside its lock, with the same results; the caller holds fe_table_mutex.
int32_t change_fault_table(fe_write_buf &record);
