// Options that all who start the engine share: where its files go, its log, its pauses.
#pragma once

#include <string>

namespace CLI {
class App;
}

struct EngineOptions {
    std::string log, file_directory;
    bool real_time = false;
};

void add_engine_options(CLI::App &app, EngineOptions &options, const std::string &file_directory_help);
