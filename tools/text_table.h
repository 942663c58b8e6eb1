// Tables of words for a terminal. Where lines are to fit a width, columns that may go go first, then the words of the last
// column are cut.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

struct Column {
    const char *head;
    size_t width; // at least; a cell that is longer pushes the rest of its line
    bool right = false;
    int goes = 0; // 1 goes first, then 2, ...; 0 stays
};

using Cells = std::vector<std::string>; // one for each column, in order

class TextTable {
public:
    // `line_width` is 0 for lines as long as they are.
    TextTable(std::vector<Column> columns, size_t line_width);

    // Makes columns as wide as these cells.
    void fit(const Cells &cells);

    void print_head(FILE *out);
    // `colour` is put around the cell of that column, empty for none.
    void print(FILE *out, const Cells &cells, size_t coloured_column, const char *colour);

private:
    void drop_columns();
    size_t width_before_last() const;

    std::vector<Column> columns_;
    std::vector<bool> shown_;
    size_t line_width_;
    bool dropped_ = false;
};

// How wide a text is on a terminal.
size_t text_width(const std::string &text);

// Of standard output: the terminal's, or 0 where there is none.
size_t terminal_width();

// The colour of a severity code on standard output; empty where there are none.
const char *severity_colour(int32_t severity);
