#include <cstdio>
#include <string>

#include "tools/csv.h"
#include "tools/story_words.h"
#include "tools/text_time.h"
#include "tools/view.h"

namespace {

class CsvView : public View {
public:
    explicit CsvView(const ViewOptions &options) : options_(options) {}

    void end(const story::Ending &ending, const RequestsSeen *) override { table(ending.active); }
    void table(const std::vector<story::Fault> &faults) override {
        puts("severity,sensor,sensor_number,entity,entity_id,entity_instance,event,cause,code,name,count,first_time,"
             "last_time");
        for (const story::Fault &fault : options_.filter.select(faults)) {
            puts(csv_line({story::severity_word(fault.severity), fault.sensor, std::to_string(fault.sensor_number),
                           story::entity_words(fault), std::to_string(fault.entity_id),
                           std::to_string(fault.entity_instance), story::event_words(fault), story::cause_word(fault),
                           std::to_string(story::base_code(fault)), story::fault_name(fault),
                           std::to_string(fault.count), time_words(fault.first_time), time_words(fault.last_time)})
                     .c_str());
        }
    }

private:
    ViewOptions options_;
};

} // namespace

std::unique_ptr<View> make_csv_view(const ViewOptions &options) {
    return std::make_unique<CsvView>(options);
}
