#include "tools/engine_session.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "fault_engine/engine.h"
#include "fault_engine/sel.h"
#include "platform/entity_filter/entity_filter_host.h"
#include "platform/fe_core/fe_core_host.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/engine_files.h"
#include "tools/engine_watch.h"
#include "tools/fectl.h"
#include "tools/table_writes.h"

namespace {

FILE *open_log(const std::string &path) {
    FILE *log = path.empty() ? nullptr : fopen(path.c_str(), "w");
    if (log == nullptr && !path.empty()) {
        throw Refusal(path + ": cannot write: " + strerror(errno));
    }
    return log;
}

// The write buffer, which the fault processor thread would own; published for as long as it lives.
class WriteBuffer {
public:
    WriteBuffer() {
        block_.fe_write_buf = &record_;
        pthread_mutex_init(&block_.fe_write_buf_mutex, nullptr);
        pthread_cond_init(&block_.fe_write_buf_cond, nullptr);
        fe_write_buf_struct_ptr = &block_;
    }
    ~WriteBuffer() {
        fe_write_buf_struct_ptr = nullptr;
        pthread_cond_destroy(&block_.fe_write_buf_cond);
        pthread_mutex_destroy(&block_.fe_write_buf_mutex);
    }
    WriteBuffer(const WriteBuffer &) = delete;
    WriteBuffer &operator=(const WriteBuffer &) = delete;

private:
    fe_write_buf record_{};
    fe_write_buf_struct block_{};
};

} // namespace

EngineSession::EngineSession(const EngineOptions &options, std::chrono::milliseconds longest_pause,
                             story::Listener &listener)
    : log_path_(options.log), log_(open_log(options.log)) {
    redirect_engine_files(options.file_directory);
    fe_core::log_to(log_.get());
    fe_core::limit_pauses(options.real_time ? std::chrono::milliseconds::max() : longest_pause);
    entity_filter::hooks.sensor_rank = ipmi_access::sensor_rank;
    watch_engine(&listener);
}

EngineSession::~EngineSession() {
    fe_core::log_to(nullptr);
    watch_engine(nullptr);
}

bool EngineSession::files_are_good() const {
    bool good = true;
    if (log_ && (fflush(log_.get()) != 0 || ferror(log_.get()) != 0)) {
        fprintf(stderr, "fectl: %s: cannot write all of it\n", log_path_.c_str());
        good = false;
    }
    for (const std::string &failure : {table_file_failure(), table_write_failure()}) {
        if (!failure.empty()) {
            fprintf(stderr, "fectl: the table files are not current: %s\n", failure.c_str());
            good = false;
        }
    }
    return good;
}

void replay_served_capture(size_t live) {
    const std::vector<sel_record> &records = ipmi_access::served().records;
    const size_t walked = records.size() - live;
    ipmi_access::limit_walk(walked);
    const WriteBuffer write_buffer;
    init_sdr_lookup();
    init_event_thread();
    for (size_t position = walked; position < records.size(); ++position) {
        process_sel_data(reinterpret_cast<const uint8_t *>(&records[position]));
    }
}
