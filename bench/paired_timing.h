#ifndef TAVMMS_BENCH_PAIRED_TIMING_H
#define TAVMMS_BENCH_PAIRED_TIMING_H

#include <benchmark/benchmark.h>

#include <chrono>

// Times a library call and its raw counterpart in turn, alternating which goes first, so that both
// meet the same disk: a sync's time on a disk shared with other work varies far more than either
// side's own cost.
class PairedTiming
{
public:
    // Runs both once; false as soon as one fails.
    template <typename Library, typename Raw> bool run(Library library, Raw raw)
    {
        libraryFirst_ = !libraryFirst_;
        bool ok = true;
        for (const bool isLibrary : {libraryFirst_, !libraryFirst_}) {
            const Clock::time_point start = Clock::now();
            ok = ok && (isLibrary ? library() : raw());
            spent_[isLibrary] += Clock::now() - start;
        }
        return ok;
    }

    // Runs both once for every iteration of `state`, stopping with `failure` as soon as one
    // fails, then reports.
    template <typename Library, typename Raw>
    void runAll(benchmark::State& state, Library library, Raw raw, const char* failure)
    {
        for (auto _ : state) {
            if (!run(library, raw)) {
                state.SkipWithError(failure);
                break;
            }
        }
        report(state);
    }

    // Each side's average per iteration ("library_us", "raw_us") and their ratio.
    void report(benchmark::State& state) const;

private:
    using Clock = std::chrono::steady_clock;
    Clock::duration spent_[2] = {}; // [0] raw, [1] library
    bool libraryFirst_ = false;
};

#endif
