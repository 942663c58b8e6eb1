// fectl table: the fault table that an engine published.
#include <memory>

#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/published_table.h"
#include "tools/view.h"

namespace {

struct TableOptions {
    std::string directory = "/tmp";
    ViewOptions view;
};

int print_table(const TableOptions &chosen) {
    const std::vector<story::Fault> faults = read_published_table(chosen.directory);
    make_view(chosen.view)->table(faults);
    return exit_code(chosen.view, faults);
}

} // namespace

Run prepare_table(CLI::App &app) {
    const auto chosen = std::make_shared<TableOptions>();
    cli::describe(app, "Prints the faults of fe_table.entry and fe_table.sz.");
    cli::add_directory(app, "--file-dir", chosen->directory, "where the two files are (default: /tmp)");
    add_view_options(app, chosen->view);
    return [chosen] { return print_table(*chosen); };
}
