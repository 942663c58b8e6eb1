// A comparison: what the engine does, and the floor, the least that must be done for it. Both run in turns, so that
// whatever else happens on the machine happens to both, and their medians are compared.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <string>
#include <vector>

// The names under which compare() hands its results to the report.
namespace result {
constexpr char time[] = "time";       // seconds an operation
constexpr char floor[] = "floor";     // seconds an operation
constexpr char faults[] = "faults";   // size of the table, where the comparison is one of a series over it
constexpr char on_disk[] = "on_disk"; // which of the two series
} // namespace result

template <class Work>
double seconds_of(Work &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> &values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// One iteration of `state` is a round: each side once. A call of either side makes `operations` operations.
template <class Subject, class Floor>
void compare(benchmark::State &state, double operations, Subject subject, Floor floor) {
    std::vector<double> subject_times;
    std::vector<double> floor_times;
    subject();
    floor();
    for ([[maybe_unused]] auto round : state) {
        const bool floor_first = subject_times.size() % 2 != 0;
        if (floor_first) {
            floor_times.push_back(seconds_of(floor));
        }
        subject_times.push_back(seconds_of(subject));
        if (!floor_first) {
            floor_times.push_back(seconds_of(floor));
        }
        state.SetIterationTime(subject_times.back());
    }
    state.counters[result::time] = median(subject_times) / operations;
    state.counters[result::floor] = median(floor_times) / operations;
}

// Registers a comparison of so many rounds under the name that it has in the table.
template <class Function>
void add_comparison(const std::string &name, int rounds, Function function) {
    benchmark::RegisterBenchmark(name.c_str(), function)->UseManualTime()->Iterations(rounds);
}

// One for each subject, in its own file.
void add_table_change();
void add_table_update();
void add_classification();
void add_sel_road();
void add_start_up_walk();
void add_cleanup();
