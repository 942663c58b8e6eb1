// The log and the pauses of a host program.
#include <algorithm>

#include "platform/fe_core/fe_core_host.h"
#include "platform/fe_core/stop_event.h"

namespace fe_core {
namespace {

FILE *log_stream = nullptr;
std::chrono::milliseconds longest_pause{0};

__attribute__((format(printf, 1, 0))) void log(const char *format, va_list arguments) {
    if (log_stream != nullptr) {
        vfprintf(log_stream, format, arguments);
    }
}

void pause(int32_t seconds, int32_t nanoseconds) {
    const auto asked = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::seconds(seconds) +
                                                                    std::chrono::nanoseconds(nanoseconds));
    pauses_end.await(static_cast<int>(std::min(asked, longest_pause).count()));
}

} // namespace

void log_to(FILE *stream) {
    log_stream = stream;
    hooks.log = log;
}

void limit_pauses(std::chrono::milliseconds longest) {
    longest_pause = longest;
    hooks.pause = pause;
}

void end_pauses() {
    pauses_end.give();
}

void stop() {
    engine_stop.give();
}

} // namespace fe_core
