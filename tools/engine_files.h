// Where the engine's files go. The engine's paths are fixed, so a program that compiles this in stands in front of the
// open() that the engine calls.
#pragma once

#include <sys/types.h>

#include <string>

constexpr char sel_fifo_path[] = "/var/SA_vSEL_FIFO";

// From now on the table files, the storage status file and the SEL FIFO are the files of that name in `directory`,
// unless that is empty. Before the engine starts.
void redirect_engine_files(const std::string &directory);

// Where a path of the engine leads.
std::string engine_file(const char *path);

// The table file that could not be opened at the last change of the table, and why; empty when both could. After the engine
// has stopped.
std::string table_file_failure();

// From now on the engine can always open its SEL FIFO, and the wait for a record ends at once, even if the file is gone:
// for a reader that is to see the stop.
void open_sel_fifo_to_nothing();

// Asked before anybody opens anything; what it returns, unless 0, is the errno with which that fails. Null (the start
// value): all goes on.
extern int (*before_open)(const char *path, int flags, mode_t mode);
