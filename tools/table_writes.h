// Writes of the table files that failed. The engine does not look, so fectl stands in front of the write() that it calls.
#pragma once

#include <string>

// The table file that could not be written whole at the last change of the table, and why; empty when both were. After the
// engine has stopped.
std::string table_write_failure();
