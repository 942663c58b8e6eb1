#include "platform/fe_core/fe_core.h"

#include <algorithm>
#include <cstdarg>

#include "fault_engine/fault_request.h"
#include "platform/fe_core/fe_core_host.h"
#include "platform/fe_core/stop_event.h"

int32_t fe_not_running = 0;
int32_t fe_read_complete = 0;
int32_t sel_init_complete = 0;
int32_t syslog_filter = 0;
int32_t fe_sdr_instance_array[256] = {};

namespace {

FILE *log_stream = nullptr;
void (*log_observer)(const char *format) = nullptr;
void (*broadcast_receiver)(const fe_write_buf &record) = nullptr;
std::chrono::milliseconds longest_pause{0};

} // namespace

namespace fe_core {

void log_to(FILE *stream) {
    log_stream = stream;
}

void observe_log(void (*observer)(const char *format)) {
    log_observer = observer;
}

void on_broadcast(void (*receiver)(const fe_write_buf &record)) {
    broadcast_receiver = receiver;
}

void limit_pauses(std::chrono::milliseconds longest) {
    longest_pause = longest;
}

void end_pauses() {
    pauses_end.give();
}

void stop() {
    engine_stop.give();
}

} // namespace fe_core

void fe_init_broadcaster(void) {
    fe_core::engine_stop.await(-1);
}

void broadcast_fe_faults(fe_write_buf_struct *write_buffer) {
    if (broadcast_receiver != nullptr)
        broadcast_receiver(*write_buffer->fe_write_buf);
}

void fe_logger(const char *format, ...) {
    if (log_observer != nullptr)
        log_observer(format);
    if (log_stream == nullptr)
        return;
    va_list arguments;
    va_start(arguments, format);
    vfprintf(log_stream, format, arguments);
    va_end(arguments);
}

void FEthreadSleep(int32_t seconds, int32_t nanoseconds) {
    const auto pause = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::seconds(seconds) +
                                                                    std::chrono::nanoseconds(nanoseconds));
    fe_core::pauses_end.await(static_cast<int>(std::min(pause, longest_pause).count()));
}
