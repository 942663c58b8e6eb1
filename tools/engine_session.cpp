#include "tools/engine_session.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "fault_engine/fault_table.h"
#include "platform/entity_filter/entity_filter_host.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/engine_files.h"
#include "tools/engine_watch.h"
#include "tools/fectl.h"

namespace {

EngineSession *session = nullptr;

FILE *open_log(const std::string &path) {
    FILE *log = path.empty() ? nullptr : fopen(path.c_str(), "w");
    if (log == nullptr && !path.empty())
        throw Refusal(path + ": cannot write: " + strerror(errno));
    return log;
}

const char *change_word(Change change) {
    constexpr const char *words[] = {"-", "created", "repeated", "cleared"};
    return words[static_cast<size_t>(change)];
}

std::vector<fe_write_buf> active_faults() {
    std::vector<fe_write_buf> faults;
    pthread_mutex_lock(&fe_table_mutex);
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next)
        faults.push_back(entry->record);
    pthread_mutex_unlock(&fe_table_mutex);
    return faults;
}

const char *result_meaning(int32_t result) {
    switch (result) {
    case -1: return "not an event that raises a fault";
    case -102: return "no text";
    case -105: return "no sensor data record";
    case -108: return "OEM record, or not of the sensor's type";
    default: return "unexpected";
    }
}

void print_records(const Totals &totals) {
    size_t refused = 0;
    for (const auto &[result, count] : totals.refused)
        refused += count;
    printf("\nrecords    %6zu read: %zu processed, %zu ignored, %zu refused\n", totals.records, totals.dispatched,
           totals.ignored, refused);
    for (auto row = totals.refused.rbegin(); row != totals.refused.rend(); ++row)
        printf("           %6zu refused with %d: %s\n", row->second, row->first, result_meaning(row->first));
    if (totals.left_out != 0)
        printf("           %6zu left out because of the stop\n", totals.left_out);
}

void print_requests(const Totals &totals, const RequestsSeen &requests) {
    printf("requests   %6zu taken: %zu processed, %zu refused\n", requests.counts.taken, totals.requests_dispatched,
           totals.requests - totals.requests_dispatched);
    if (requests.counts.wrong_size != 0)
        printf("           %6zu dropped: not 52 bytes\n", requests.counts.wrong_size);
    if (const size_t left = requests.left + requests.counts.not_taken; left != 0)
        printf("           %6zu not taken before the stop\n", left);
}

void print_faults(const Totals &totals, size_t active) {
    if (totals.nothing_to_clear + totals.not_stored != 0)
        printf("           %6zu processed with nothing to clear, %zu not dispatched or not stored\n",
               totals.nothing_to_clear, totals.not_stored);
    printf("faults     %6zu created, %zu repeated, %zu cleared, %zu evicted, %zu active\n", totals.created,
           totals.repeated, totals.cleared, totals.created - totals.cleared - active, active);
}

} // namespace

EngineSession::EngineSession(const EngineOptions &options, std::chrono::milliseconds longest_pause)
    : log_path_(options.log), log_(open_log(options.log)) {
    session = this;
    redirect_engine_files(options.file_directory);
    fe_core::log_to(log_.get());
    fe_core::limit_pauses(options.real_time ? std::chrono::milliseconds::max() : longest_pause);
    fe_core::hooks.broadcast = show_broadcast;
    entity_filter::hooks.sensor_rank = ipmi_access::sensor_rank;
    watch_engine([] { session->progress_.step(); });
}

EngineSession::~EngineSession() {
    fe_core::log_to(nullptr);
    fe_core::hooks.broadcast = nullptr;
    session = nullptr;
}

void EngineSession::show_broadcast(fe_write_buf_struct *write_buffer) {
    session->progress_.erase();
    if (session->lines_++ == 0)
        session->list_.print_change_header();
    session->list_.print_change(*write_buffer->fe_write_buf, change_word(change_in_hand()));
}

void EngineSession::print_end(const RequestsSeen *requests) {
    progress_.erase();
    if (lines_ != 0)
        putchar('\n');
    const std::vector<fe_write_buf> faults = active_faults();
    const Totals totals = engine_totals();
    list_.print_table(faults);
    print_records(totals);
    if (requests != nullptr)
        print_requests(totals, *requests);
    print_faults(totals, faults.size());
    report_failed_files();
}

void EngineSession::report_failed_files() {
    if (log_ && fflush(log_.get()) != 0)
        fprintf(stderr, "fectl: %s: cannot write: %s\n", log_path_.c_str(), strerror(errno));
    if (const std::string failure = table_file_failure(); !failure.empty())
        fprintf(stderr, "fectl: the table files are not current: %s\n", failure.c_str());
}
