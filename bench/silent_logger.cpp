#include "bench/logger.h"

const bool logger::formats = false;

uint64_t logger::lines() {
    return 0;
}
