// Times a maths floor: the replay of a recorded trace, straight to the maths
// library or through the bench binary's forwarding functions.
#pragma once

#include <benchmark/benchmark.h>

#include <vector>

#include "maths_trace.h"

inline void timeFloor(benchmark::State& state, const mathstrace::Trace& trace,
                      bool throughForwarders) {
    std::vector<float> sink;
    for (auto _ : state) {
        if (throughForwarders) {
            mathstrace::replayThroughForwarders(trace, sink);
        } else {
            mathstrace::replay(trace, sink);
        }
        benchmark::ClobberMemory();
    }
    state.counters["maths_calls"] = static_cast<double>(trace.calls());
}
