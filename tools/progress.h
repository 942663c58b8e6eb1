// A line on stderr that tells how far a long replay is; only where a person sees it.
#pragma once

#include <cstddef>

class Progress {
public:
    void start(size_t total);
    void step();  // one record more
    void erase(); // before anything else is printed, and at the end

private:
    size_t total_ = 0; // 0: shows nothing
    size_t done_ = 0;
    bool shown_ = false;
};
