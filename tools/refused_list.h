// Records that became no fault, the serious ones first.
#pragma once

#include <cstddef>
#include <vector>

#include "tools/story.h"

class RefusedList {
public:
    void add(const story::Refused &refused) { refused_.push_back(refused); }

    // A line each, or grouped by what they say and why; nothing when there are none.
    void print(bool each, size_t line_width) const;

private:
    std::vector<story::Refused> refused_;
};
