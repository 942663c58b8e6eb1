// The pair of files in which an engine publishes its fault table.
#pragma once

#include <string>
#include <vector>

#include "fault_engine/fault_record.h"

// The faults of DIR/fe_table.entry and DIR/fe_table.sz, newest first, read with both files locked in the engine's
// order. Throws Refusal when they cannot be read or don't belong together.
std::vector<fe_write_buf> read_table_files(const std::string &directory);
