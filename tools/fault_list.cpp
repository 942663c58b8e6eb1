#include "tools/fault_list.h"

#include <algorithm>
#include <utility>

#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/story_words.h"
#include "tools/text_time.h"

namespace {

using namespace story;

constexpr size_t severity_column = 1;

// The width of the longest sensor name, so that the columns of changes are aligned while they are printed.
size_t sensor_width() {
    size_t width = 12;
    for (const auto &sensor : ipmi_access::served().sensors) {
        width = std::max(width, sensor ? text_width(sensor->label) : 0);
    }
    return width;
}

std::string code_text(const Fault &fault) {
    return is_catalogue_code(base_code(fault)) ? std::to_string(base_code(fault)) : "-";
}

std::optional<uint32_t> time_of(const Change &change) {
    return change.record ? change.record->time : change.after->last_time;
}

TextTable change_table(size_t line_width) {
    return {{{"TIME", 19},
             {"SEVERITY", 8},
             {"CHANGE", 8},
             {"SENSOR", sensor_width()},
             {"ENTITY", 15},
             {"COUNT", 5, true, 3},
             {"CODE", 4, true, 1},
             {"FAULT", 30, false, 2},
             {"EVENT", 28}},
            line_width};
}

} // namespace

std::string change_words(const Change &change) {
    switch (change.origin) {
    case Origin::stale_pass: return "the sensor has recovered";
    case Origin::duplicate_pass: return "a duplicate of another fault";
    default: break;
    }
    if (cleared_by_another_event(change)) {
        return event_words(*change.after) + " (raised by " + ipmi_access::event_words(*change.before->raised_by) + ')';
    }
    return event_words(*change.after);
}

void ChangeList::print(const Change &change) {
    if (!table_) {
        table_ = change_table(line_width_);
        table_->print_head(stdout);
    }
    const Fault &fault = *change.after;
    table_->print(stdout,
                  {time_words(time_of(change)), severity_word(fault.severity), change_word(change.kind),
                   sensor_words(fault), entity_words(fault), std::to_string(fault.count), code_text(fault),
                   fault_name(fault), change_words(change)},
                  severity_column, severity_colour(fault.severity));
}

void print_fault_list(FILE *out, std::span<const Fault> faults, size_t line_width) {
    const bool have_events = std::ranges::any_of(faults, [](const Fault &fault) { return fault.event.has_value(); });
    std::vector<Column> columns = {{"LAST", 19},           {"SEVERITY", 8},       {"SENSOR", 6},
                                   {"ENTITY", 6},          {"COUNT", 5, true, 5}, {"FIRST", 5, false, 4},
                                   {"CAUSE", 5, false, 1}, {"CODE", 4, true, 2},  {"FAULT", 5, false, 3}};
    if (have_events) {
        columns.push_back({"EVENT", 5});
    }
    TextTable table(columns, line_width);
    std::vector<Cells> lines;
    for (const Fault &fault : faults) {
        Cells cells = {time_words(fault.last_time),
                       severity_word(fault.severity),
                       sensor_words(fault),
                       entity_words(fault),
                       std::to_string(fault.count),
                       time_words(fault.first_time),
                       cause_word(fault),
                       code_text(fault),
                       fault_name(fault)};
        if (have_events) {
            cells.push_back(event_words(fault));
        }
        table.fit(cells);
        lines.push_back(std::move(cells));
    }
    if (lines.empty()) {
        fputs("no active faults\n", out);
    } else {
        table.print_head(out);
    }
    for (size_t i = 0; i < lines.size(); ++i) {
        table.print(out, lines[i], severity_column, severity_colour(faults[i].severity));
    }
}
