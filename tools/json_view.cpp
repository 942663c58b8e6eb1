#include <cstdio>

#include "tools/story_filter.h"
#include "tools/story_json.h"
#include "tools/view.h"

namespace {

class JsonView : public View {
public:
    explicit JsonView(const ViewOptions &options) : options_(options), lines_(options.capture) {}

    void change(const story::Change &change) override {
        if (!options_.ending_only && options_.filter.passes(change)) {
            print(lines_.change(change));
        }
    }
    void refused(const story::Refused &refused) override {
        if (!options_.ending_only && options_.refused != "none" && options_.filter.passes(refused)) {
            print(lines_.refused(refused));
        }
    }
    void end(const story::Ending &ending, const RequestsSeen *requests) override {
        table(ending.active);
        print(lines_.summary(ending, requests));
    }
    void table(const std::vector<story::Fault> &faults) override {
        for (const story::Fault &fault : options_.filter.select(faults)) {
            print(lines_.fault(fault));
        }
    }

private:
    static void print(const std::string &line) { puts(line.c_str()); }

    ViewOptions options_;
    story::JsonLines lines_;
};

} // namespace

std::unique_ptr<View> make_json_view(const ViewOptions &options) {
    return std::make_unique<JsonView>(options);
}
