// Each LUT pipeline on a full 17^3 grid, set up as the playback entry sets it
// (default tuning, identity panel correction). A pipeline starts from the grid
// every time, so no input is restored between iterations.
#include <benchmark/benchmark.h>

#include <cstring>

#include "bench_planes.h"
#include "hdr_tm.h"
#include "lut3d.h"

namespace {

struct PipelineSetup {
    PipelineSetup(uint8_t outBitDepth, uint8_t gamutMode, uint32_t inverseBt2020Luma) {
        set_default_vals(&params);
        params.grid_size = 17;
        params.clipLuma = 1000.0f;
        params.out_bit_depth = outBitDepth;
        params.gamut_mode = gamutMode;
        params.inverse_bt2020_luma = inverseBt2020Luma;
        params.pcc_enable = 1;
        params.pcc = &pcc;
        for (int c = 0; c < 3; ++c) pcc.row[c][kPccR + c] = 1.0;
        for (int axis = 0; axis < 3; ++axis) {
            std::memcpy(params.grid_points[0][axis], hdrtm::kNonUniformGridCodes,
                        sizeof(hdrtm::kNonUniformGridCodes));
            std::memcpy(params.grid_points[1][axis], hdrtm::kUniformGridCodes,
                        sizeof(hdrtm::kUniformGridCodes));
        }
    }
    PipelineSetup(const PipelineSetup&) = delete;  // params points at this pcc
    PipelineSetup& operator=(const PipelineSetup&) = delete;
    TMParams params{};
    PccCoefficients pcc{};
};

void runPipeline(benchmark::State& state, void (*pipeline)(TMParams*, float**),
                 uint8_t outBitDepth, uint8_t gamutMode, uint32_t inverseBt2020Luma = 0) {
    PipelineSetup setup(outBitDepth, gamutMode, inverseBt2020Luma);
    BenchPlanes planes;
    for (auto _ : state) {
        pipeline(&setup.params, planes.planes);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * BenchPlanes::kCount);
}

// Forward pipelines: 12-bit output, gamut mapping by rgb2rgb_gmap.
void BM_PqForwardPipeline(benchmark::State& state) {
    runPipeline(state, lut3d_process, 12, 2);
}
void BM_HlgForwardPipeline(benchmark::State& state) {
    runPipeline(state, HLG_lut3d_process, 12, 2);
}
// Inverse pipelines: 10-bit output, no gamut stage.
void BM_SdrToPqPipeline(benchmark::State& state) {
    runPipeline(state, inverse_lut3d_process, 10, 0);
}
void BM_HlgToPqPipeline(benchmark::State& state) {
    runPipeline(state, inverse_lut3d_process, 10, 0, 1);
}
void BM_SdrToHlgPipeline(benchmark::State& state) {
    runPipeline(state, HLG_inverse_lut3d_process, 10, 0);
}

}  // namespace

BENCHMARK(BM_PqForwardPipeline);
BENCHMARK(BM_HlgForwardPipeline);
BENCHMARK(BM_SdrToPqPipeline);
BENCHMARK(BM_HlgToPqPipeline);
BENCHMARK(BM_SdrToHlgPipeline);
