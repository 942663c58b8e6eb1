// What the benchmarks print: one table, each time beside its floor.
#pragma once

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

struct Row {
    std::string what;
    double time;  // seconds
    double floor; // seconds
    int faults;   // 0: not one of a series over the size of the table
    bool on_disk;
};

class TableReporter : public benchmark::BenchmarkReporter {
public:
    explicit TableReporter(bool with_heading) : with_heading_(with_heading) {}

    bool ReportContext(const Context &context) override;
    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

    const std::vector<Row> &rows() const { return rows_; }
    bool all_measured() const { return failed_ == 0; }

private:
    bool with_heading_;
    std::vector<Row> rows_;
    int failed_ = 0;
};

// "12.3 us", three digits.
std::string in_words(double seconds);

// The cost of a change against the size of the table, with the floor under it.
std::string draw_change_series(const std::vector<Row> &rows);
