#include "tools/view.h"

#include <cstdio>

#include "tools/cli.h"

void add_view_options(CLI::App &app, ViewOptions &options) {
    app.add_option("--format", options.format, "text, json (one object a line) or csv (the active faults)")
        ->type_name("WORD")
        ->check(CLI::IsMember({"text", "json", "csv"}));
}

std::unique_ptr<View> make_view(const ViewOptions &options) {
    if (options.format == "json")
        return make_json_view(options);
    return options.format == "csv" ? make_csv_view(options) : make_text_view(options);
}

void warn(const std::string &text) {
    fprintf(stderr, "fectl: warning: %s\n", text.c_str());
}
