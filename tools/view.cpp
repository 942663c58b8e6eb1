#include "tools/view.h"

#include <algorithm>
#include <cstdio>

#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/text_table.h"

size_t ViewOptions::line_width() const {
    return width.value_or(terminal_width());
}

void add_format_options(CLI::App &app, ViewOptions &options) {
    cli::add_text(app, "--format", "WORD", options.format, "text, json (one object a line) or csv (the faults)")
        .one_of({"text", "json", "csv"});
    cli::add_parsed(
        app, "--width", "N",
        [&options](const std::string &text) {
            options.width = static_cast<size_t>(cli::parse_number("--width", text, 0, UINT16_MAX));
        },
        "fit lines of text to N columns; 0: as long as they are (default: the terminal's)");
}

void add_fail_on_option(CLI::App &app, ViewOptions &options) {
    cli::add_parsed(
        app, "--fail-on", "SEVERITY",
        [&options](const std::string &text) { options.fail_on = cli::parse_severity("--fail-on", text); },
        "exit with 3 if a fault of that severity or above is active");
}

void add_refused_option(CLI::App &app, ViewOptions &options) {
    cli::add_text(app, "--refused", "WORD", options.refused,
                  "records that became no fault: a line each (all), grouped (summary, the default) or none")
        .one_of({"all", "summary", "none"});
}

void add_view_options(CLI::App &app, ViewOptions &options) {
    add_format_options(app, options);
    add_fail_on_option(app, options);
    add_filter_options(app, options.filter);
}

int exit_code(const ViewOptions &options, const std::vector<story::Fault> &active) {
    const bool found = options.fail_on && std::ranges::any_of(active, [&](const story::Fault &fault) {
                           return fault.severity >= *options.fail_on;
                       });
    return found ? exit_fault_found : exit_ok;
}

std::unique_ptr<View> make_view(const ViewOptions &options) {
    if (options.format == "json") {
        return make_json_view(options);
    }
    return options.format == "csv" ? make_csv_view(options) : make_text_view(options);
}

void warn(const std::string &text) {
    fprintf(stderr, "fectl: warning: %s\n", text.c_str());
}
