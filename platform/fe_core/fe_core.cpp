#include "platform/fe_core/fe_core.h"

#include <cstdarg>

#include "platform/fe_core/fe_core_host.h"

int32_t fe_not_running = 0;
int32_t fe_read_complete = 0;
int32_t sel_init_complete = 0;
int32_t syslog_filter = 0;
int32_t fe_sdr_instance_array[256] = {};

fe_core::Hooks fe_core::hooks;

using fe_core::hooks;

void fe_init_interface(fe_read_buf_struct *read_buffer) {
    if (hooks.interface != nullptr) {
        hooks.interface(read_buffer);
    }
}

void fe_init_broadcaster(void) {
    if (hooks.broadcaster != nullptr) {
        hooks.broadcaster();
    }
}

void broadcast_fe_faults(fe_write_buf_struct *write_buffer) {
    if (hooks.broadcast != nullptr) {
        hooks.broadcast(write_buffer);
    }
}

void fe_logger(const char *format, ...) {
    if (hooks.log == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    hooks.log(format, arguments);
    va_end(arguments);
}

void FEthreadSleep(int32_t seconds, int32_t nanoseconds) {
    if (hooks.pause != nullptr) {
        hooks.pause(seconds, nanoseconds);
    }
}
