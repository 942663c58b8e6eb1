#include "tools/text_table.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace {

constexpr size_t usual_line_width = 120;
constexpr size_t least_last_width = 24;
constexpr char no_colour[] = "\033[0m";

// By severity code.
constexpr const char *colours[] = {"\033[32m", "\033[36m", "", "\033[33m", "\033[33m", "\033[31m", "\033[1;31m"};

bool continues(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Cut in the middle: related names differ at their ends.
std::string shortened(const std::string &text, size_t width) {
    if (text_width(text) <= width) {
        return text;
    }
    const size_t tail = width * 2 / 3;
    size_t head_end = 0;
    for (size_t seen = 0; seen + 1 < width - tail; seen += !continues(text[head_end])) {
        ++head_end;
    }
    size_t tail_start = text.size();
    for (size_t seen = 0; seen < tail; seen += !continues(text[tail_start])) {
        --tail_start;
    }
    return text.substr(0, head_end) + '~' + text.substr(tail_start);
}

std::string padded(const std::string &text, const Column &column) {
    const std::string blanks(column.width - std::min(column.width, text_width(text)), ' ');
    return column.right ? blanks + text : text + blanks;
}

} // namespace

TextTable::TextTable(std::vector<Column> columns, size_t line_width)
    : columns_(std::move(columns)), shown_(columns_.size(), true), line_width_(line_width) {}

void TextTable::fit(const Cells &cells) {
    for (size_t i = 0; i < cells.size(); ++i) {
        columns_[i].width = std::max(columns_[i].width, text_width(cells[i]));
    }
}

size_t TextTable::width_before_last() const {
    size_t width = 0;
    for (size_t i = 0; i + 1 < columns_.size(); ++i) {
        width += shown_[i] ? std::max(columns_[i].width, text_width(columns_[i].head)) + 1 : 0;
    }
    return width;
}

void TextTable::drop_columns() {
    if (std::exchange(dropped_, true) || line_width_ == 0) {
        return;
    }
    const size_t last = std::max(columns_.back().width, least_last_width);
    for (int turn = 1; turn <= static_cast<int>(columns_.size()); ++turn) {
        for (size_t i = 0; i < columns_.size(); ++i) {
            if (columns_[i].goes == turn && width_before_last() + last > line_width_) {
                shown_[i] = false;
            }
        }
    }
}

void TextTable::print_head(FILE *out) {
    Cells heads;
    for (const Column &column : columns_) {
        heads.emplace_back(column.head);
    }
    print(out, heads, columns_.size(), "");
}

void TextTable::print(FILE *out, const Cells &cells, size_t coloured_column, const char *colour) {
    drop_columns();
    std::string line;
    for (size_t i = 0; i + 1 < columns_.size(); ++i) {
        if (!shown_[i]) {
            continue;
        }
        const bool coloured = i == coloured_column && *colour != '\0';
        const std::string cell = padded(cells[i], columns_[i]);
        line += (coloured ? colour + cell + no_colour : cell) + ' ';
    }
    const size_t used = width_before_last();
    const size_t room = line_width_ > used + least_last_width ? line_width_ - used : least_last_width;
    line += line_width_ == 0 ? cells.back() : shortened(cells.back(), room);
    line.erase(line.find_last_not_of(' ') + 1);
    fprintf(out, "%s\n", line.c_str());
}

size_t text_width(const std::string &text) {
    return static_cast<size_t>(std::ranges::count_if(text, [](char c) { return !continues(c); }));
}

size_t terminal_width() {
    winsize window{};
    if (!isatty(STDOUT_FILENO)) {
        return 0;
    }
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col != 0 ? window.ws_col : usual_line_width;
}

const char *severity_colour(int32_t severity) {
    static const bool wanted = [] {
        const char *unwanted = getenv("NO_COLOR");
        return isatty(STDOUT_FILENO) && (unwanted == nullptr || *unwanted == '\0');
    }();
    const auto code = static_cast<uint32_t>(severity);
    return wanted && code < std::size(colours) ? colours[code] : "";
}
