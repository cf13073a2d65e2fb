// Each LUT pipeline on a full 17^3 grid in every configuration of
// pipelineConfigs(), timed in turn with its floor: the same pipeline's maths,
// on the same arguments, through the C library's functions one call a sample
// and nothing else; and with its own maths replayed alone. Counters
// pipeline_us, floor_us, own_maths_us and own_maths_copies_us give CPU
// microseconds a call. A pipeline starts from the grid every time, so no
// input is restored between iterations.
#include <benchmark/benchmark.h>

#include "bench_planes.h"
#include "floor_timing.h"
#include "maths_trace.h"
#include "pipeline_setup.h"

namespace {

void runPipelineAndFloor(benchmark::State& state, const PipelineConfig& c) {
    PipelineSetup setup(c);
    BenchPlanes planes;
    const mathstrace::Trace trace =
        mathstrace::record([&] { c.pipeline(&setup.params, planes.planes); });
    std::vector<float> sink, scratch;
    std::vector<TimedPiece> pieces = floorPieces(trace, sink, scratch);
    pieces.insert(pieces.begin(), {"pipeline", [&] { c.pipeline(&setup.params, planes.planes); }});
    timeInTurn(state, pieces);
    state.counters["maths_calls"] = static_cast<double>(trace.samples());
}

const bool kRegistered = (registerForEveryConfig("Pipeline", runPipelineAndFloor), true);

}  // namespace
