#include <cstdio>
#include <string>

#include "tools/story_words.h"
#include "tools/text_time.h"
#include "tools/view.h"

namespace {

std::string quoted(const std::string &text) {
    if (text.find_first_of(",\"\r\n") == text.npos) {
        return text;
    }
    std::string inside;
    for (const char c : text) {
        inside += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return '"' + inside + '"';
}

class CsvView : public View {
public:
    explicit CsvView(const ViewOptions &options) : options_(options) {}

    void end(const story::Ending &ending, const RequestsSeen *) override { table(ending.active); }
    void table(const std::vector<story::Fault> &faults) override {
        puts("severity,sensor,sensor_number,entity,entity_id,entity_instance,event,cause,code,name,count,first_time,"
             "last_time");
        for (const story::Fault &fault : options_.filter.select(faults)) {
            printf("%s,%s,%u,%s,%u,%d,%s,%s,%d,%s,%llu,%s,%s\n", story::severity_word(fault.severity).c_str(),
                   quoted(fault.sensor).c_str(), fault.sensor_number, quoted(story::entity_words(fault)).c_str(),
                   fault.entity_id, fault.entity_instance, quoted(story::event_words(fault)).c_str(),
                   story::cause_word(fault), story::base_code(fault), quoted(story::fault_name(fault)).c_str(),
                   static_cast<unsigned long long>(fault.count), time_words(fault.first_time).c_str(),
                   time_words(fault.last_time).c_str());
        }
    }

private:
    ViewOptions options_;
};

} // namespace

std::unique_ptr<View> make_csv_view(const ViewOptions &options) {
    return std::make_unique<CsvView>(options);
}
