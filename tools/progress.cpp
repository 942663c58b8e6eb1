#include "tools/progress.h"

#include <unistd.h>

#include <cstdio>

namespace {

constexpr size_t long_capture = 2000;
constexpr size_t records_per_update = 500;

} // namespace

void Progress::start(size_t total) {
    total_ = total >= long_capture && isatty(STDERR_FILENO) ? total : 0;
}

void Progress::step() {
    if (total_ == 0 || ++done_ % records_per_update != 0)
        return;
    fprintf(stderr, "\r%zu of %zu records", done_, total_);
    shown_ = true;
}

void Progress::erase() {
    if (shown_)
        fputs("\r\033[K", stderr);
    shown_ = false;
}
