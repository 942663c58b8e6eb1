// Options that replay and serve share: what the engine finds around it, and where its files go.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "tools/options.h"

struct EngineOptions {
    std::string sdr, sel, readings, log, file_directory;
    bool real_time = false;

    bool take(int found, const char *argument); // false: not one of these options
    void load_captures() const;                 // throws what the files are refused for
};

// Of all shared options but --sdr and --sel, which mean something else to each.
constexpr char engine_options_help[] =
    R"(  --readings FILE   present states of sensors, "0x2e 0x0008" a line; without one, none can be read
  --log FILE        write the engine's log there
  --real-time       keep the engine's pauses of 5 and 30 seconds
  --file-dir DIR    where the engine's files go (default: its own /tmp and /var)
  -h, --help        this text
)";

std::vector<option> with_engine_options(std::initializer_list<option> own);
