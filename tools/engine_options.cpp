#include "tools/engine_options.h"

#include "tools/cli.h"

void add_engine_options(CLI::App &app, EngineOptions &options, const std::string &file_directory_help) {
    cli::add_text(app, "--log", "FILE", options.log, "write the engine's log there");
    cli::add_flag(app, "--real-time", options.real_time, "keep the engine's pauses of 5 and 30 seconds");
    cli::add_directory(app, "--file-dir", options.file_directory, file_directory_help);
}
