// What is printed of a story. Output goes to standard output, warnings to standard error.
#pragma once

#include <memory>
#include <string>

#include "platform/fe_core/fe_core_host.h"
#include "tools/story.h"

namespace CLI {
class App;
}

struct RequestsSeen {
    fe_core::RequestCounts counts;
    size_t left; // in the socket when the engine stopped
};

struct ViewOptions {
    std::string format = "text";
};
void add_view_options(CLI::App &app, ViewOptions &options);

class View : public story::Listener {
public:
    // After the engine has stopped; `requests` is null for an engine that took none.
    virtual void end(const story::Ending &ending, const RequestsSeen *requests) = 0;

    // Faults without a story, out of table files.
    virtual void table(const std::vector<story::Fault> &faults) = 0;
};

std::unique_ptr<View> make_text_view(const ViewOptions &options);
std::unique_ptr<View> make_json_view(const ViewOptions &options);
std::unique_ptr<View> make_csv_view(const ViewOptions &options);
std::unique_ptr<View> make_view(const ViewOptions &options); // one of these

void warn(const std::string &text);
