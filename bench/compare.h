// A comparison: what the engine does, and the bound, the least that must be done for it. Both run in turns, so that
// whatever else happens on the machine happens to both, and their medians are compared.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

using Work = std::function<void()>;
using benchmark::State;

inline void run(const Work &work, std::vector<double> &times) {
    const auto start = std::chrono::steady_clock::now();
    work();
    times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

inline double median(std::vector<double> &values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// One iteration of `state` is a round: each side once. A call of either side makes `operations` operations.
[[gnu::noinline]] inline void compare(State &state, size_t operations, const Work &engine, const Work &bound) {
    std::vector<double> times[2];
    for ([[maybe_unused]] auto round : state) {
        const bool bound_first = times[0].size() % 2 != 0;
        run(bound_first ? bound : engine, times[bound_first]);
        run(bound_first ? engine : bound, times[!bound_first]);
        state.SetIterationTime(times[0].back());
    }
    state.counters["time"] = median(times[0]) / static_cast<double>(operations);
    state.counters["bound"] = median(times[1]) / static_cast<double>(operations);
}

inline void check(State &state, bool ok, const char *otherwise) {
    if (!ok) {
        state.SkipWithError(otherwise);
    }
}

// Adds a row under the name that it has in the table.
template <class Function, class... Arguments>
void add(const std::string &name, Function function, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), function, arguments...)->UseManualTime();
}
