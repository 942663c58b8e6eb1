// fectl table: the fault table that an engine published.
#include "tools/fault_list.h"
#include "tools/fectl.h"
#include "tools/options.h"
#include "tools/table_files.h"

namespace {

constexpr char help[] = R"(usage: fectl table [--file-dir DIR]

Prints the faults of fe_table.entry and fe_table.sz, newest first.

  --file-dir DIR   where the two files are (default: /tmp)
  -h, --help       this text
)";

constexpr option options[] = {
    {"file-dir", required_argument, nullptr, 'd'},
    {"help", no_argument, nullptr, 'h'},
    {},
};

} // namespace

int run_table(int argc, char **argv) {
    std::string directory = "/tmp";
    bool wants_help = false;
    parse_options(argc, argv, options, [&](int found, const char *argument) {
        if (found == 'h')
            wants_help = true;
        else
            directory = checked_directory(argument);
    });
    if (wants_help) {
        fputs(help, stdout);
        return exit_ok;
    }
    const std::vector<fe_write_buf> faults = read_table_files(directory);
    FaultList(stdout).print_table(faults);
    printf("%zu active fault%s\n", faults.size(), faults.size() == 1 ? "" : "s");
    return exit_ok;
}
