// Each LUT pipeline on a full 17^3 grid in every configuration of
// pipelineConfigs(), timed in turn with its floor: the same pipeline's
// maths-library calls, on the same arguments, and nothing else, straight and
// through the binary's forwarding functions. Counters pipeline_us, floor_us
// and forwarded_us give CPU microseconds a call. A pipeline starts from the
// grid every time, so no input is restored between iterations.
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
    std::vector<float> sink;
    std::vector<TimedPiece> pieces = floorPieces(trace, sink);
    pieces.insert(pieces.begin(), {"pipeline", [&] { c.pipeline(&setup.params, planes.planes); }});
    timeInTurn(state, pieces);
    state.counters["maths_calls"] = static_cast<double>(trace.calls());
}

const bool kRegistered = (registerForEveryConfig("Pipeline", runPipelineAndFloor), true);

}  // namespace
