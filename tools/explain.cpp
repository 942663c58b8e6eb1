// fectl explain: how faults came about.
#include <algorithm>
#include <deque>
#include <memory>
#include <tuple>

#include "tools/cli.h"
#include "tools/fault_list.h"
#include "tools/fectl.h"
#include "tools/replay_run.h"
#include "tools/story_words.h"
#include "tools/text_table.h"
#include "tools/text_time.h"

namespace {

using namespace story;

// What is kept of a change.
struct Step {
    std::optional<Record> record;
    std::string what; // "created", "worse", ...
    std::string words;
    int32_t severity;
    std::optional<uint32_t> time;
};

struct Timeline {
    std::tuple<uint8_t, int32_t, uint32_t, int32_t> key;
    Fault fault; // as it was last
    std::vector<Step> steps;
};

std::string step_word(const Change &change) {
    if (change.kind != ChangeKind::repeated || change.before->severity == change.after->severity) {
        return change_word(change.kind);
    }
    return change.after->severity > change.before->severity ? "worse" : "better";
}

std::string step_words(const Change &change) {
    const bool renamed = change.before != nullptr && change.before->sensor != change.after->sensor;
    return change_words(change) + (renamed ? " (of " + change.after->sensor + ')' : "");
}

// All levels of a measurement are one fault. One that comes again after it was cleared goes on in the same timeline.
class Timelines : public Listener {
public:
    explicit Timelines(const Filter &filter) : filter_(filter) {}

    void change(const Change &change) override {
        const Fault &fault = *change.after;
        if (!filter_.passes(change)) {
            return;
        }
        const std::tuple key{fault.entity_id, fault.table_instance, fault.sensor_number,
                             measurement_code(fault.table_code)};
        auto found = std::ranges::find(timelines_, key, &Timeline::key);
        if (found == timelines_.end()) {
            found = timelines_.insert(timelines_.end(), {key, fault, {}});
        }
        found->fault = fault;
        found->steps.push_back({change.record, step_word(change), step_words(change), fault.severity,
                                change.record ? change.record->time : fault.last_time});
    }

    void print(size_t line_width) const {
        for (const Timeline &timeline : timelines_) {
            printf("%s%s, %s: %s\n", &timeline == &timelines_.front() ? "" : "\n", sensor_words(timeline.fault).c_str(),
                   entity_words(timeline.fault).c_str(), fault_name(timeline.fault).c_str());
            print_steps(timeline, line_width);
        }
        if (timelines_.empty()) {
            puts("no record made such a fault");
        }
    }

private:
    static void print_steps(const Timeline &timeline, size_t line_width) {
        TextTable table({{"RECORD", 7, true}, {"TIME", 19}, {"CHANGE", 8}, {"SEVERITY", 8}, {"EVENT", 5}}, line_width);
        table.print_head(stdout);
        for (const Step &step : timeline.steps) {
            char id[8] = "-";
            if (step.record) {
                snprintf(id, sizeof id, "%x", step.record->id);
            }
            table.print(stdout, {id, time_words(step.time), step.what, severity_word(step.severity), step.words}, 3,
                        severity_colour(step.severity));
        }
    }

    const Filter &filter_;
    std::deque<Timeline> timelines_; // in order of their first step
};

int explain(const ReplayOptions &chosen) {
    const std::vector<CaptureFiles> captures = chosen.capture.captures();
    if (captures.size() != 1 || captures[0].sdr.empty() || captures[0].sel.empty()) {
        throw Refusal("explain: one capture is needed, or --sdr FILE and --sel FILE; see fectl help explain");
    }
    if (chosen.view.format != "text") {
        return replay_and_print(captures[0], chosen);
    }
    Timelines timelines(chosen.view.filter);
    const Replayed replayed = replay(captures[0], chosen.engine, chosen.live, timelines);
    timelines.print(chosen.view.line_width());
    return replayed.files_are_good ? exit_ok : exit_failed;
}

} // namespace

Run prepare_explain(CLI::App &app) {
    const auto chosen = std::make_shared<ReplayOptions>();
    chosen->view.refused = "none";
    chosen->view.filter.sort = "time";
    add_capture_operands(app, chosen->capture);
    add_part_options(app, chosen->view.filter);
    cli::add_number(app, "--fault", chosen->view.filter.code, INT32_MIN, INT32_MAX, "of this fault code alone");
    add_replay_options(app, *chosen);
    add_format_options(app, chosen->view);
    return [chosen] { return explain(*chosen); };
}
