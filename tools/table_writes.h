// Writes of the table files that failed. The engine does not look, so fectl stands in front of the write() that it calls.
#pragma once

#include <string>

// The first table file that could not be written whole and why, or an empty text. After the engine has stopped.
std::string table_write_failure();
