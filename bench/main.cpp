// benchmarks [--svg FILE] [--rows-only] [Google Benchmark's options, as --benchmark_filter=REGEX]
//
// Runs the comparisons and prints one table, with --rows-only without its heading. Fails when one of them could not be
// made. benchmarks_formatting is the same program with the other logger; it runs what the logger has a part in.
#include <cstdio>
#include <fstream>

#include "bench/compare.h"
#include "bench/logger.h"
#include "bench/report.h"
#include "bench/table_fill.h"

namespace {

struct Options {
    std::string svg;
    bool rows_only = false;
};

// Takes our own options out of the arguments.
Options take_options(int &argc, char **argv) {
    Options options;
    int kept = 0;
    for (int i = 0; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--svg" && i + 1 < argc) {
            options.svg = argv[++i];
        } else if (argument == "--rows-only") {
            options.rows_only = true;
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    return options;
}

void add_comparisons() {
    describe_all_sensors();
    if (logger::formats) {
        add_sel_road();
        return;
    }
    add_table_change();
    add_table_update();
    add_classification();
    add_cleanup();
    add_start_up_walk();
    add_sel_road();
}

} // namespace

int main(int argc, char **argv) {
    const Options options = take_options(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    add_comparisons();
    TableReporter reporter(!options.rows_only);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    if (!options.svg.empty() && !(std::ofstream(options.svg) << draw_change_series(reporter.rows()) << std::flush)) {
        fprintf(stderr, "benchmarks: cannot write %s\n", options.svg.c_str());
        return 1;
    }
    return reporter.all_measured() ? 0 : 1;
}
