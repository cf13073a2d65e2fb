// Times pieces of work in turn, within every iteration, on the thread's CPU
// clock: a pipeline or entry call beside its maths floor (the replay of its
// recorded trace through the C library's functions, one call a sample) and
// beside the replay of the same maths through the library's own plane forms.
// Taken in turn, the pieces meet the same load on a shared machine, so their
// ratio holds when the machine is busy.
#pragma once

#include <benchmark/benchmark.h>

#include <ctime>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "maths_trace.h"

struct TimedPiece {
    std::string name;  // the counter: "<name>_us", microseconds a call
    std::function<void()> work;
};

inline double threadCpuSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Reading the thread's CPU clock costs about a microsecond; an empty piece
// timed in every iteration measures it, and it is taken off every piece.
inline void timeInTurn(benchmark::State& state, const std::vector<TimedPiece>& pieces) {
    std::vector<double> seconds(pieces.size(), 0.0);
    double clockSeconds = 0.0;
    for (auto _ : state) {
        for (size_t i = 0; i < pieces.size(); ++i) {
            const double start = threadCpuSeconds();
            pieces[i].work();
            benchmark::ClobberMemory();
            seconds[i] += threadCpuSeconds() - start;
        }
        const double start = threadCpuSeconds();
        benchmark::ClobberMemory();
        clockSeconds += threadCpuSeconds() - start;
    }
    for (size_t i = 0; i < pieces.size(); ++i) {
        state.counters[pieces[i].name + "_us"] = benchmark::Counter(
            (seconds[i] - clockSeconds) * 1e6, benchmark::Counter::kAvgIterations);
    }
    state.counters["clock_us"] =
        benchmark::Counter(clockSeconds * 1e6, benchmark::Counter::kAvgIterations);
}

// The replays of a recorded trace: the floor, the library's own maths, and
// the copies that replay makes (taken off it); `sink` and `scratch` receive
// the results.
inline std::vector<TimedPiece> floorPieces(const mathstrace::Trace& trace, std::vector<float>& sink,
                                           std::vector<float>& scratch) {
    return {{"floor", [&trace, &sink] { mathstrace::replayThroughCLibrary(trace, sink); }},
            {"own_maths", [&trace, &scratch] { mathstrace::replayThroughOwnMaths(trace, scratch); }},
            {"own_maths_copies", [&trace, &scratch] { mathstrace::replayCopiesOnly(trace, scratch); }}};
}
