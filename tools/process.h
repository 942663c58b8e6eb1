// Work in a process of its own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/fectl.h"

struct Finished {
    int code;
    std::vector<std::string> complaints; // lines on standard error
};

// Runs it in a child, and gives `take_line` each line of its standard output as it comes. Throws Failure if there can be
// no child. In a process that has no threads.
Finished run_apart(const Run &run, const std::function<void(const std::string &)> &take_line);
