// Each LUT pipeline on a full 17^3 grid in every configuration of
// pipelineConfigs(), and beside each its floor: the same pipeline's
// maths-library calls, on the same arguments, and nothing else, straight and
// through the binary's forwarding functions. A pipeline starts from the grid
// every time, so no input is restored between iterations.
//
// Names: BM_Pipeline/<config>, BM_PipelineFloor/<config>,
// BM_PipelineForwardedFloor/<config>.
#include <benchmark/benchmark.h>

#include "bench_planes.h"
#include "floor_timing.h"
#include "maths_trace.h"
#include "pipeline_setup.h"

namespace {

// Long enough for a median over a few hundred calls a repetition, short
// enough that the whole set runs in well under a minute.
constexpr double kMinSeconds = 0.1;

void runPipeline(benchmark::State& state, const PipelineConfig& c) {
    PipelineSetup setup(c);
    BenchPlanes planes;
    for (auto _ : state) {
        c.pipeline(&setup.params, planes.planes);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * BenchPlanes::kCount);
}

void runFloor(benchmark::State& state, const PipelineConfig& c, bool throughForwarders) {
    PipelineSetup setup(c);
    BenchPlanes planes;
    const mathstrace::Trace trace =
        mathstrace::record([&] { c.pipeline(&setup.params, planes.planes); });
    timeFloor(state, trace, throughForwarders);
    state.SetItemsProcessed(state.iterations() * BenchPlanes::kCount);
}

const bool kRegistered = [] {
    for (const PipelineConfig& c : pipelineConfigs()) {
        const std::string name = c.name();
        benchmark::RegisterBenchmark(("BM_Pipeline/" + name).c_str(),
                                     [c](benchmark::State& s) { runPipeline(s, c); })
            ->MinTime(kMinSeconds)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("BM_PipelineFloor/" + name).c_str(),
                                     [c](benchmark::State& s) { runFloor(s, c, false); })
            ->MinTime(kMinSeconds)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("BM_PipelineForwardedFloor/" + name).c_str(),
                                     [c](benchmark::State& s) { runFloor(s, c, true); })
            ->MinTime(kMinSeconds)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
