// Each LUT pipeline on a full 17^3 grid, set up as the playback entry sets it
// (default tuning, identity panel correction), and beside it its floor: the
// same pipeline's maths-library calls, on the same arguments, and nothing
// else. A pipeline starts from the grid every time, so no input is restored
// between iterations.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_planes.h"
#include "floor_timing.h"
#include "maths_trace.h"
#include "pipeline_setup.h"

namespace {

void runPipeline(benchmark::State& state, const PipelineCase& c) {
    PipelineSetup setup(c.outBitDepth, c.gamutMode, c.inverseBt2020Luma);
    BenchPlanes planes;
    for (auto _ : state) {
        c.pipeline(&setup.params, planes.planes);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * BenchPlanes::kCount);
}

void runFloor(benchmark::State& state, const PipelineCase& c, bool throughForwarders = false) {
    PipelineSetup setup(c.outBitDepth, c.gamutMode, c.inverseBt2020Luma);
    BenchPlanes planes;
    const mathstrace::Trace trace =
        mathstrace::record([&] { c.pipeline(&setup.params, planes.planes); });
    timeFloor(state, trace, throughForwarders);
    state.SetItemsProcessed(state.iterations() * BenchPlanes::kCount);
}

void BM_PqForwardPipeline(benchmark::State& state) { runPipeline(state, kPqForwardCase); }
void BM_HlgForwardPipeline(benchmark::State& state) { runPipeline(state, kHlgForwardCase); }
void BM_SdrToPqPipeline(benchmark::State& state) { runPipeline(state, kSdrToPqCase); }
void BM_HlgToPqPipeline(benchmark::State& state) { runPipeline(state, kHlgToPqCase); }
void BM_SdrToHlgPipeline(benchmark::State& state) { runPipeline(state, kSdrToHlgCase); }

void BM_PqForwardPipelineFloor(benchmark::State& state) { runFloor(state, kPqForwardCase); }
void BM_HlgForwardPipelineFloor(benchmark::State& state) { runFloor(state, kHlgForwardCase); }
void BM_SdrToPqPipelineFloor(benchmark::State& state) { runFloor(state, kSdrToPqCase); }
void BM_HlgToPqPipelineFloor(benchmark::State& state) { runFloor(state, kHlgToPqCase); }
void BM_SdrToHlgPipelineFloor(benchmark::State& state) { runFloor(state, kSdrToHlgCase); }

// The floors again through the binary's forwarding maths functions.
void BM_PqForwardPipelineForwardedFloor(benchmark::State& state) {
    runFloor(state, kPqForwardCase, true);
}
void BM_HlgForwardPipelineForwardedFloor(benchmark::State& state) {
    runFloor(state, kHlgForwardCase, true);
}
void BM_SdrToPqPipelineForwardedFloor(benchmark::State& state) {
    runFloor(state, kSdrToPqCase, true);
}
void BM_HlgToPqPipelineForwardedFloor(benchmark::State& state) {
    runFloor(state, kHlgToPqCase, true);
}
void BM_SdrToHlgPipelineForwardedFloor(benchmark::State& state) {
    runFloor(state, kSdrToHlgCase, true);
}

}  // namespace

BENCHMARK(BM_PqForwardPipeline);
BENCHMARK(BM_PqForwardPipelineFloor);
BENCHMARK(BM_PqForwardPipelineForwardedFloor);
BENCHMARK(BM_HlgForwardPipeline);
BENCHMARK(BM_HlgForwardPipelineFloor);
BENCHMARK(BM_HlgForwardPipelineForwardedFloor);
BENCHMARK(BM_SdrToPqPipeline);
BENCHMARK(BM_SdrToPqPipelineFloor);
BENCHMARK(BM_SdrToPqPipelineForwardedFloor);
BENCHMARK(BM_HlgToPqPipeline);
BENCHMARK(BM_HlgToPqPipelineFloor);
BENCHMARK(BM_HlgToPqPipelineForwardedFloor);
BENCHMARK(BM_SdrToHlgPipeline);
BENCHMARK(BM_SdrToHlgPipelineFloor);
BENCHMARK(BM_SdrToHlgPipelineForwardedFloor);
