#include "tools/progress.h"

#include <unistd.h>

#include <cstdio>

void Progress::step(const char *what) {
    constexpr std::chrono::milliseconds between{200};
    constexpr size_t steps_between_looks = 64;
    if (++done_ % steps_between_looks != 0 && total_ > steps_between_looks * 64) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now < next_ || isatty(STDERR_FILENO) == 0) {
        return;
    }
    next_ = now + between;
    fprintf(stderr, "\r%zu of %zu %s", done_, total_, what);
    shown_ = true;
}

void Progress::erase() {
    if (shown_) {
        fputs("\r\033[K", stderr);
    }
    shown_ = false;
}
