// fectl replay: what the engine makes of a captured SEL.
#include <chrono>

#include "fault_engine/engine.h"
#include "fault_engine/sel.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/engine_session.h"
#include "tools/fectl.h"

namespace {

constexpr char help[] = R"(usage: fectl replay --sdr FILE --sel FILE [options]

Starts the engine on a captured SEL and shows the faults that it then holds.

  --sdr FILE        sensor data records, as written by "ipmitool sdr dump"
  --sel FILE        the event log, as written by "ipmitool sel writeraw"
  --live N          keep the last N records for after the start, and show what each does (default: 0)
)";

struct ReplayOptions {
    EngineOptions engine;
    size_t live = 0;
    bool help = false;
};

ReplayOptions read_options(int argc, char **argv) {
    ReplayOptions chosen;
    const std::vector<option> options = with_engine_options({{"live", required_argument, nullptr, 'l'}});
    parse_options(argc, argv, options.data(), [&chosen](int found, const char *argument) {
        if (found == 'l')
            chosen.live = static_cast<size_t>(parse_number("--live", argument, 0, INT32_MAX));
        else if (!chosen.engine.take(found, argument))
            chosen.help = true;
    });
    if (!chosen.help && (chosen.engine.sdr.empty() || chosen.engine.sel.empty()))
        throw Refusal("replay: both --sdr FILE and --sel FILE are needed; see fectl replay --help");
    return chosen;
}

// All that can be wrong with the input shows here, before the engine touches anything.
void load_capture(const ReplayOptions &chosen) {
    chosen.engine.load_captures();
    const size_t records = ipmi_access::sel_size();
    if (chosen.live > records)
        throw Refusal("--live " + std::to_string(chosen.live) + ": " + chosen.engine.sel + " holds " +
                      std::to_string(records) + " records");
    if (records - chosen.live > ipmi_access::max_walk_records)
        throw Refusal(chosen.engine.sel + ": " + std::to_string(records) + " records, but the start-up walk takes " +
                      std::to_string(ipmi_access::max_walk_records) + "; --live " +
                      std::to_string(records - ipmi_access::max_walk_records) + " keeps the rest for afterwards");
    ipmi_access::limit_walk(records - chosen.live);
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

void run_engine(size_t live) {
    const WriteBuffer write_buffer;
    init_sdr_lookup();
    init_event_thread();
    const size_t records = ipmi_access::sel_size();
    for (size_t position = records - live; position < records; position++)
        process_sel_data(ipmi_access::record_at(position));
}

} // namespace

int run_replay(int argc, char **argv) {
    const auto start = std::chrono::steady_clock::now();
    const ReplayOptions chosen = read_options(argc, argv);
    if (chosen.help) {
        printf("%s%s", help, engine_options_help);
        return exit_ok;
    }
    load_capture(chosen);
    EngineSession session(chosen.engine, std::chrono::milliseconds(0));
    session.show_progress(ipmi_access::sel_size());

    run_engine(chosen.live);

    session.print_end(nullptr);
    const std::chrono::duration<double> wall_time = std::chrono::steady_clock::now() - start;
    printf("wall time  %6.3f s\n", wall_time.count());
    return exit_ok;
}
