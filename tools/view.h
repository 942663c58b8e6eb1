// What is printed of a story. Output goes to standard output, warnings to standard error.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/fe_core/fe_core_host.h"
#include "tools/story.h"
#include "tools/story_filter.h"

namespace CLI {
class App;
}

struct RequestsSeen {
    fe_core::RequestCounts counts{};
    size_t left = 0;         // in the socket when the engine stopped
    size_t records_left = 0; // in the FIFO

    size_t not_taken() const { return left + counts.not_taken; }
};

struct ViewOptions {
    std::string format = "text";
    std::string refused = "summary";
    std::optional<size_t> width; // of lines; 0: as long as they are
    story::Filter filter;
    std::optional<int32_t> fail_on;
    std::string capture;      // names it in each line of JSON
    bool ending_only = false; // of JSON: faults and the summary

    size_t line_width() const;
};
void add_format_options(CLI::App &app, ViewOptions &options); // --format, --width
void add_fail_on_option(CLI::App &app, ViewOptions &options); // --fail-on
void add_refused_option(CLI::App &app, ViewOptions &options); // --refused
void add_view_options(CLI::App &app, ViewOptions &options);   // these and those of the filter

// What --fail-on makes of the active faults.
int exit_code(const ViewOptions &options, const std::vector<story::Fault> &active);

class View : public story::Listener {
public:
    // After the engine has stopped; `requests` is null where requests and the FIFO were not counted.
    virtual void end(const story::Ending &ending, const RequestsSeen *requests) = 0;

    // Faults without a story, out of table files.
    virtual void table(const std::vector<story::Fault> &faults) = 0;
};

std::unique_ptr<View> make_text_view(const ViewOptions &options);
std::unique_ptr<View> make_json_view(const ViewOptions &options);
std::unique_ptr<View> make_csv_view(const ViewOptions &options);
std::unique_ptr<View> make_view(const ViewOptions &options); // one of these

void warn(const std::string &text);
