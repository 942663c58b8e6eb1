#include <nlohmann/json.hpp>

#include <cstdio>

#include "tools/story_json.h"
#include "tools/view.h"

namespace {

class JsonView : public View {
public:
    void change(const story::Change &change) override { print(story::to_json(change)); }
    void refused(const story::Refused &refused) override { print(story::to_json(refused)); }
    void end(const story::Ending &ending, const RequestsSeen *) override {
        table(ending.active);
        print(story::to_json(ending));
    }

    void table(const std::vector<story::Fault> &faults) override {
        for (const story::Fault &fault : faults)
            print(story::to_json(fault));
    }

private:
    static void print(const nlohmann::ordered_json &json) {
        puts(json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    }
};

} // namespace

std::unique_ptr<View> make_json_view(const ViewOptions &) {
    return std::make_unique<JsonView>();
}
