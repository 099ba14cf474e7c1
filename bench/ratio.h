// The measure of all benchmarks: the time of a piece of work against the time of copying its output, taken in turn in
// one run, so that a noisy machine slows both.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <vector>

namespace bench {

inline double seconds(std::chrono::steady_clock::time_point from) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - from).count();
}

inline double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Runs work over and over, a copy of outputBytes after each run. Reports the median ratio as the counter "ratio".
template <typename Work>
void againstCopy(benchmark::State& state, std::size_t outputBytes, Work work) {
    std::vector<unsigned char> from(outputBytes, 1);
    std::vector<unsigned char> to(outputBytes, 2);
    std::vector<double> workTimes;
    std::vector<double> copyTimes;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        work();
        workTimes.push_back(seconds(start));
        state.SetIterationTime(workTimes.back());
        start = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), outputBytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        copyTimes.push_back(seconds(start));
    }
    state.counters["ratio"] = median(workTimes) / median(copyTimes);
    state.SetBytesProcessed(static_cast<std::int64_t>(outputBytes) * static_cast<std::int64_t>(state.iterations()));
}

}  // namespace bench
