#include "bench/logger.h"
#include "platform/fe_core/fe_core.h"

const bool logger::formats = false;

uint64_t logger::lines() {
    return 0;
}

void fe_logger(const char *, ...) {}
