// Faults as lines of columns.
#pragma once

#include <span>

#include "tools/story.h"
#include "tools/text_table.h"

// Lines of what happens to faults as it happens.
class ChangeList {
public:
    explicit ChangeList(size_t line_width);
    void print(const story::Change &change);

private:
    TextTable table_;
    bool head_printed_ = false;
};

void print_fault_list(std::span<const story::Fault> faults, size_t line_width);
