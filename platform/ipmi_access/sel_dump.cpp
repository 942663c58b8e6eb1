#include "platform/ipmi_access/sel_dump.h"

#include <algorithm>
#include <cstring>

#include "base/ipmi.h"
#include "platform/ipmi_access/capture_file.h"

namespace ipmi_access {
namespace {

constexpr uint8_t event_revisions[] = {0x03, 0x04}; // IPMI 1.0; 1.5 and later

bool of_known_type(const sel_record &record) {
    return sel_record_type::is_known(record.record_type);
}

bool plausible(const sel_record &record) {
    return of_known_type(record) &&
           (record.record_type != sel_record_type::system_event ||
            std::ranges::find(event_revisions, record.format_revision) != std::end(event_revisions));
}

} // namespace

std::vector<sel_record> parse_sel_dump(std::span<const uint8_t> dump, const std::string &path, Warnings &warnings) {
    std::vector<sel_record> records(dump.size() / sizeof(sel_record));
    if (!records.empty()) {
        memcpy(records.data(), dump.data(), records.size() * sizeof(sel_record));
    }
    // A record that was cut in the middle of the file shows in the records behind it, which are out of step.
    const size_t rest = dump.size() % sizeof(sel_record);
    if (rest != 0) {
        const auto torn = std::ranges::find_if_not(records, plausible) - records.begin();
        fail_at(path, static_cast<size_t>(torn) * sizeof(sel_record),
                "the record is cut short: the file is " + std::to_string(rest) + " bytes longer than its " +
                    std::to_string(records.size()) + " records of 16");
    }
    const auto known = static_cast<size_t>(std::ranges::count_if(records, of_known_type));
    if (known < records.size() - known) {
        const auto first = std::ranges::find_if_not(records, of_known_type) - records.begin();
        fail_at(path, static_cast<size_t>(first) * sizeof(sel_record), "this is no SEL record, and most are none");
    }
    for (size_t position = 0; position < records.size(); ++position) {
        if (!of_known_type(records[position])) {
            warn_at(warnings, path, position * sizeof(sel_record), "this is no SEL record; it is passed over");
        }
    }
    std::erase_if(records, [](const sel_record &record) { return !of_known_type(record); });
    return records;
}

} // namespace ipmi_access
