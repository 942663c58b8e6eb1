#include "bench/report.h"

#include <cstdio>
#include <cstdlib>

#include "bench/compare.h"

namespace {

void print_row(const std::string &what, const std::string &time, const std::string &floor, const std::string &ratio) {
    printf("| %-50s | %8s | %8s | %6s |\n", what.c_str(), time.c_str(), floor.c_str(), ratio.c_str());
    fflush(stdout);
}

// Three digits, but never fewer than those before the point.
std::string three_digits(double value) {
    char text[32];
    snprintf(text, sizeof text, "%.*f", value < 9.995 ? 2 : value < 99.95 ? 1 : 0, value);
    return text;
}

void print_load(const char *when) {
    double load = 0;
    getloadavg(&load, 1);
    fprintf(stderr, "load average at the %s: %.2f\n", when, load);
}

} // namespace

bool TableReporter::ReportContext(const Context &) {
    print_load("start");
    if (with_heading_) {
        print_row("what", "time", "floor", "ratio");
        print_row(std::string(50, '-'), "-------:", "-------:", "-----:");
    }
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run> &runs) {
    for (const Run &run : runs) {
        const auto counter = [&](const char *name) {
            const auto found = run.counters.find(name);
            return found != run.counters.end() ? found->second.value : 0;
        };
        const Row row = {run.run_name.function_name, counter(result::time), counter(result::floor),
                         static_cast<int>(counter(result::faults)), counter(result::on_disk) != 0};
        if (row.time <= 0 || row.floor <= 0) {
            print_row(row.what, "failed", "", "");
            ++failed_;
            continue;
        }
        print_row(row.what, in_words(row.time), in_words(row.floor), three_digits(row.time / row.floor));
        rows_.push_back(row);
    }
}

void TableReporter::Finalize() {
    print_load("end");
}

std::string in_words(double seconds) {
    static constexpr struct {
        double size;
        const char *name;
    } units[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    for (const auto &unit : units) {
        if (seconds >= unit.size) {
            return three_digits(seconds / unit.size) + " " + unit.name;
        }
    }
    return "0";
}
