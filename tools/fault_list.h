// Faults as lines of columns. On a terminal the severity has a colour, unless NO_COLOR is set, and fault names are
// shortened in the middle to fit the line; anywhere else lines are as long as they are.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

#include "fault_engine/fault_record.h"

class FaultList {
public:
    explicit FaultList(FILE *out);

    // Lines of what happens to faults as it happens; `change` is what did.
    void print_change_header();
    void print_change(const fe_write_buf &record, const char *change);

    // A table of faults with their causes.
    void print_table(std::span<const fe_write_buf> faults);

private:
    void print_line(const fe_write_buf &record, const char *fifth, int fifth_width);

    FILE *out_;
    bool colour_;
    size_t line_width_; // 0: as long as it takes
};

// Name of a record's fault code; of a code that has none, what the record itself calls the fault.
std::string fault_name(const fe_write_buf &record);
