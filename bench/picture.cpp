// The picture of the series: one panel for each place of the files, since their scales have nothing in common.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "bench/report.h"
#include "fault_engine/fault_table.h"

namespace {

constexpr int width = 760, height = 330, top = 56, bottom = 54, panel_width = 300;
constexpr int lefts[] = {70, 440};
constexpr char blue[] = "#1f5fa8", band[] = "#c9ccd3", grey[] = "#646a73";

std::string format(const char *text, ...) __attribute__((format(printf, 1, 2)));

std::string format(const char *text, ...) {
    char buffer[512];
    va_list arguments;
    va_start(arguments, text);
    vsnprintf(buffer, sizeof buffer, text, arguments);
    va_end(arguments);
    return buffer;
}

// The next of 1, 2, 5, 10, ... times a power of ten.
double round_up(double value) {
    const double power = std::pow(10, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (value <= step * power) {
            return step * power;
        }
    }
    return 10 * power;
}

class Panel {
public:
    Panel(int left, const char *title, std::vector<Row> rows) : left_(left), title_(title), rows_(std::move(rows)) {
        double most = 0;
        for (const Row &row : rows_) {
            most = std::max({most, row.time, row.floor});
        }
        step_ = round_up(most / 5);
        top_value_ = step_ * std::ceil(most / step_);
    }

    std::string draw() const {
        std::string svg = format("<text x='%d' y='%d' class='title'>%s</text>\n", left_, top - 16, title_);
        for (double value = 0; value <= top_value_ * 1.001; value += step_) {
            svg +=
                format("<path class='grid' d='M%d %.1fh%d'/><text x='%d' y='%.1f' text-anchor='end'>%s</text>\n", left_,
                       y(value), panel_width, left_ - 8, y(value) + 4, value > 0 ? in_words(value).c_str() : "0");
        }
        for (const int faults : {0, 256, 512, 768, int{FE_TABLE_MAX_FAULTS}}) {
            svg += format("<text x='%.1f' y='%d' text-anchor='middle'>%d</text>\n", x(faults), height - bottom + 18,
                          faults);
        }
        svg += format("<text x='%d' y='%d' text-anchor='middle'>faults in the table</text>\n", left_ + panel_width / 2,
                      height - bottom + 40);
        return svg + line(band, 9, &Row::floor) + line(blue, 2, &Row::time); // the lines may lie on each other
    }

private:
    double x(double faults) const { return left_ + panel_width * faults / int{FE_TABLE_MAX_FAULTS}; }
    double y(double value) const { return height - bottom - (height - bottom - top) * value / top_value_; }

    std::string line(const char *colour, int stroke_width, double Row::*value) const {
        std::string path;
        std::string dots;
        for (const Row &row : rows_) {
            path += format("%s%.1f %.1f", path.empty() ? "M" : "L", x(row.faults), y(row.*value));
            dots += format("<circle cx='%.1f' cy='%.1f' r='%.1f' fill='%s'/>", x(row.faults), y(row.*value),
                           2 + stroke_width / 2.0, colour);
        }
        return format("<path fill='none' stroke='%s' stroke-width='%d' d='", colour, stroke_width) + path + "'/>" +
               dots + "\n";
    }

    int left_;
    const char *title_;
    std::vector<Row> rows_;
    double step_;
    double top_value_;
};

std::vector<Row> series(const std::vector<Row> &rows, bool on_disk) {
    std::vector<Row> chosen;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(chosen),
                 [=](const Row &row) { return row.faults > 0 && row.on_disk == on_disk; });
    return chosen;
}

} // namespace

std::string draw_change_series(const std::vector<Row> &rows) {
    std::string svg = format("<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %d %d' width='%d' height='%d'>\n"
                             "<style>text{font:12px sans-serif;fill:#222}.title{font-weight:bold}"
                             ".grid{stroke:#ddd}</style>\n"
                             "<rect width='%d' height='%d' fill='white'/>\n",
                             width, height, width, height, width, height);
    svg += format("<text x='%d' y='20'>one change of the table: <tspan fill='%s' font-weight='bold'>the engine</tspan>"
                  " <tspan fill='%s' font-weight='bold'>over the same system calls alone</tspan></text>\n",
                  lefts[0], blue, grey);
    int panel = 0;
    for (const bool on_disk : {true, false}) {
        const std::vector<Row> chosen = series(rows, on_disk);
        if (!chosen.empty()) {
            svg += Panel(lefts[panel++], on_disk ? "files on disk" : "files in memory", chosen).draw();
        }
    }
    return svg + "</svg>\n";
}
