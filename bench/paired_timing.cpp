#include "paired_timing.h"

void PairedTiming::report(benchmark::State& state) const
{
    const auto microseconds = [](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count();
    };
    state.counters["library_us"] =
        benchmark::Counter(microseconds(spent_[1]), benchmark::Counter::kAvgIterations);
    state.counters["raw_us"] =
        benchmark::Counter(microseconds(spent_[0]), benchmark::Counter::kAvgIterations);
    state.counters["ratio"] = microseconds(spent_[1]) / microseconds(spent_[0]);
}
