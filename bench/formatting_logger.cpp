#include <cstdarg>
#include <cstdio>

#include "bench/logger.h"
#include "platform/fe_core/fe_core.h"

const bool logger::formats = true;

namespace {

thread_local uint64_t lines_formatted;

} // namespace

uint64_t logger::lines() {
    return lines_formatted;
}

void fe_logger(const char *format, ...) {
    thread_local char line[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    ++lines_formatted;
}
