#include "tools/fault_list.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "fault_engine/classify.h"
#include "platform/entity_filter/entity_filter_host.h"

namespace {

constexpr int change_width = 8;
constexpr int cause_width = 20;
constexpr size_t usual_line_width = 120;
constexpr size_t time_and_severity_width = 29;
constexpr size_t min_name_width = 20;

// By severity code.
constexpr const char *colours[] = {"\033[32m", "\033[36m", "", "\033[33m", "\033[33m", "\033[31m", "\033[1;31m"};

bool wants_colour(FILE *out) {
    const char *no_colour = getenv("NO_COLOR");
    return isatty(fileno(out)) && (no_colour == nullptr || *no_colour == '\0');
}

size_t line_width(FILE *out) {
    winsize window{};
    if (!isatty(fileno(out)))
        return 0;
    return ioctl(fileno(out), TIOCGWINSZ, &window) == 0 && window.ws_col != 0 ? window.ws_col : usual_line_width;
}

// A text field of a record that may come from anywhere.
template <size_t size>
std::string field_text(const char (&field)[size]) {
    std::string text(field, strnlen(field, size));
    std::ranges::replace_if(
        text, [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

std::string severity_text(const fe_write_buf &record) {
    const std::string word = field_text(record.severity_word);
    return word.empty() ? std::to_string(record.vemoFaultSeverity) : word;
}

std::string shortened(const std::string &text, size_t width) {
    if (width == 0 || text.size() <= width)
        return text;
    const size_t tail = width * 2 / 3; // where related names differ
    return text.substr(0, width - 1 - tail) + '~' + text.substr(text.size() - tail);
}

} // namespace

std::string fault_name(const fe_write_buf &record) {
    const auto code = static_cast<uint32_t>(record.vemoFaultCode % entity_filter::codes_per_rank);
    const char *known = get_fault_code_string(code);
    const std::string own = field_text(record.FaultName);
    return strcmp(known, "Unknown") == 0 && !own.empty() ? own : known;
}

FaultList::FaultList(FILE *out) : out_(out), colour_(wants_colour(out)), line_width_(line_width(out)) {}

void FaultList::print_line(const fe_write_buf &record, const char *fifth, int fifth_width) {
    const auto severity = static_cast<uint32_t>(record.vemoFaultSeverity);
    const bool coloured = colour_ && severity < std::size(colours);
    const std::string entity = std::to_string(record.entity_id) + '.' + std::to_string(record.entity_instance);
    char rest[128];
    const int rest_length =
        snprintf(rest, sizeof rest, "%-19s %-7s %-*s %5u %6d ", field_text(record.sensor_name).c_str(), entity.c_str(),
                 fifth_width, fifth, record.vemoFaultOccur, record.vemoFaultCode);
    const size_t used = time_and_severity_width + static_cast<size_t>(rest_length);
    const size_t room = line_width_ == 0 ? 0 : std::max(min_name_width, line_width_ - std::min(line_width_, used));
    fprintf(out_, "%-19.19s %s%-8.8s%s %s%s\n", field_text(record.TimeOfEvent).c_str(),
            coloured ? colours[severity] : "", severity_text(record).c_str(), coloured ? "\033[0m" : "", rest,
            shortened(fault_name(record), room).c_str());
}

void FaultList::print_change_header() {
    fprintf(out_, "%-19s %-8s %-19s %-7s %-*s %5s %6s %s\n", "TIME", "SEVERITY", "SENSOR", "ENTITY", change_width,
            "CHANGE", "COUNT", "CODE", "FAULT");
}

void FaultList::print_change(const fe_write_buf &record, const char *change) {
    print_line(record, change, change_width);
}

void FaultList::print_table(std::span<const fe_write_buf> faults) {
    fprintf(out_, "%-19s %-8s %-19s %-7s %-*s %5s %6s %s\n", "TIME", "SEVERITY", "SENSOR", "ENTITY", cause_width,
            "CAUSE", "COUNT", "CODE", "FAULT");
    for (const fe_write_buf &fault : faults)
        print_line(fault, get_probable_cause_string(static_cast<uint32_t>(fault.ProbableCause)), cause_width);
}
