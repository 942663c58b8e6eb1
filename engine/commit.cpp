#include "engine/commit.h"

#include <cstring>
#include <iterator>
#include <string_view>

#include "fault_engine/classify.h"
#include "fault_engine/engine.h"
#include "fault_engine/fault_table.h"
#include "platform/fe_core/fe_core.h"

namespace {

void write_severity_word(fe_write_buf *record, int32_t severity) {
    static constexpr std::string_view words[] = {"cleared", "info", {}, "warning", "minor", "major", "critical"};
    const auto code = static_cast<uint32_t>(severity);
    if (code < std::size(words) && !words[code].empty()) {
        memcpy(record->severity_word, words[code].data(), words[code].size() + 1);
    }
}

} // namespace

int32_t fill_record(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    const int32_t result = process_write_buf(request, wbuf);
    write_severity_word(wbuf->fe_write_buf, request->vemoFaultSeverity);
    return result;
}

void complete_record(fe_write_buf *record) {
    lookup_fill_related_threshold_fault_code(record);
    dump_record(*record);
}

void broadcast_record(fe_write_buf_struct *wbuf, int32_t result) {
    if (result != FE_TABLE_CHANGED && result != FE_TABLE_REPEATED_STORAGE) {
        return;
    }
    if (result == FE_TABLE_REPEATED_STORAGE) {
        fe_set_flag(&syslog_filter, 1);
    }
    broadcast_fe_faults(wbuf);
}

void clear_record(fe_write_buf *record) {
    memset(record, 0, sizeof *record);
}
