#pragma once

#include <cstddef>
#include <ctime>

#include <benchmark/benchmark.h>

#include "MemoryMeter.hpp"

namespace Bench {

/// The number of objects that each operation is measured with.
inline void AllSizes(benchmark::internal::Benchmark* measured) {
    measured->Arg(1000)->Arg(8000)->Arg(32766)->Unit(benchmark::kNanosecond);
}

/// For operations that use up what they work on: each round is prepared outside the time that counts.
inline void AllSizesManually(benchmark::internal::Benchmark* measured) {
    AllSizes(measured);
    measured->UseManualTime();
}

/// For what is counted, not timed.
inline void AllSizesOnce(benchmark::internal::Benchmark* measured) {
    AllSizes(measured);
    measured->Iterations(1);
}

inline std::size_t SizeOf(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

/// Time that this process has had of the processor, in seconds: what others do on the machine meanwhile is not in it.
inline double GetProcessorTime() {
    std::timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Lets \p call, and nothing else, count as one round of the benchmark.
template <class Call>
void TimeRound(benchmark::State& state, Call&& call) {
    const double start = GetProcessorTime();
    call();
    state.SetIterationTime(GetProcessorTime() - start);
}

/// Says how many things one round did: the counter "each" gives the time of one, in seconds.
inline void CountItems(benchmark::State& state, std::size_t itemsPerRound) {
    const auto perRound = static_cast<double>(itemsPerRound);
    state.counters["each"] =
        benchmark::Counter(perRound, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// Reports what \p build takes of the heap for each of the state's objects; \p build returns what holds them.
template <class Build>
void ReportMemory(benchmark::State& state, Build&& build) {
    for (auto _ : state) {
        const MemoryMeter meter;
        const auto built = build();
        state.counters["bytes"] = static_cast<double>(meter.GetBytes()) / static_cast<double>(SizeOf(state));
        benchmark::DoNotOptimize(&built);
    }
}

}   // namespace Bench
