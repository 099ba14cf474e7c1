// The measure of all benchmarks: the time of a task as a multiple of the time for copying its output. Both are measured
// alternately in one run, so that a noisy machine slows both.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <vector>

namespace bench {

// Returns the CPU time (user + system) of this thread in seconds. On a shared machine, elapsed time depends on others.
inline double now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Returns the least of the times, for work that allocates fresh memory, whose time varies more on a shared machine.
inline double fastest(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

// Runs work repeatedly, with a copy of outputBytes after each run. Reports the median ratio as the counter "ratio".
template <typename Work>
void againstCopy(benchmark::State& state, std::size_t outputBytes, Work work) {
    std::vector<unsigned char> from(outputBytes, 1);
    std::vector<unsigned char> to(outputBytes, 2);
    std::vector<double> workTimes;
    std::vector<double> copyTimes;
    for (auto _ : state) {
        double start = now();
        work();
        workTimes.push_back(now() - start);
        state.SetIterationTime(workTimes.back());
        start = now();
        std::memcpy(to.data(), from.data(), outputBytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        copyTimes.push_back(now() - start);
    }
    state.counters["ratio"] = median(workTimes) / median(copyTimes);
    state.SetBytesProcessed(static_cast<std::int64_t>(outputBytes) * static_cast<std::int64_t>(state.iterations()));
}

}  // namespace bench
