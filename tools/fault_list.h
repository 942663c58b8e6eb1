// Faults as lines of columns.
#pragma once

#include <cstdio>
#include <optional>
#include <span>
#include <string>

#include "tools/story.h"
#include "tools/text_table.h"

// Lines of what happens to faults as it happens.
class ChangeList {
public:
    explicit ChangeList(size_t line_width) : line_width_(line_width) {}
    void print(const story::Change &change);

private:
    size_t line_width_;
    std::optional<TextTable> table_; // made for the first line
};

// What a change's event says, and what else is to be said of it.
std::string change_words(const story::Change &change);

void print_fault_list(FILE *out, std::span<const story::Fault> faults, size_t line_width);
