// Transfer functions, the OOTF and the grid functions over a full 17^3 set of
// planes. Each iteration restores the input first (untimed): the functions
// work in place.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench_planes.h"
#include "lut3d.h"
#include "tm_stages.h"
#include "transfer_functions.h"

namespace {

template <typename Run>
void runOnPlanes(benchmark::State& state, float inputScale, Run run) {
    BenchPlanes input;
    input.fill(inputScale);
    BenchPlanes work;
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(input.r.begin(), input.r.end(), work.r.begin());
        std::copy(input.g.begin(), input.g.end(), work.g.begin());
        std::copy(input.b.begin(), input.b.end(), work.b.begin());
        state.ResumeTiming();
        run(work.planes);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 3 * BenchPlanes::kCount);
}

constexpr unsigned int kCount = BenchPlanes::kCount;

void BM_St2084Inverse(benchmark::State& state) {
    runOnPlanes(state, 1023.0f, [](float** p) { st2084_inverse_tf(p, kCount, 3, 1023, 10000); });
}
void BM_St2084Forward(benchmark::State& state) {
    runOnPlanes(state, 10000.0f, [](float** p) { st2084_forward_tf(p, kCount, 10000, 1); });
}
void BM_HlgForward(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { HLG_forward_tf(p, kCount, 3, 1, 1); });
}
void BM_HlgInverse(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { HLG_inverse_tf(p, kCount, 1, 1); });
}
void BM_Bt709Forward(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { bt709_forward_tf(p, kCount, 3, 1, 1); });
}
void BM_Bt709Inverse(benchmark::State& state) {
    runOnPlanes(state, 255.0f, [](float** p) { bt709_inverse_tf(p, kCount, 255, 1); });
}
void BM_SrgbForward(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { sRGB_forward_tf(p, kCount, 3, 1, 1); });
}
void BM_SrgbInverse(benchmark::State& state) {
    runOnPlanes(state, 1023.0f, [](float** p) { sRGB_inverse_tf(p, kCount, 1023, 1); });
}
void BM_Gamma2p2Forward(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { gamma2p2_forward_tf(p, kCount, 3, 1, 1); });
}
void BM_Gamma2p2Inverse(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { gamma2p2_inverse_tf(p, kCount, 3, 1, 1); });
}
void BM_GammaCustomForward(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { gamma_custom_forward_tf(2.4f, p, kCount, 3, 1, 1); });
}
void BM_Clipping(benchmark::State& state) {
    runOnPlanes(state, 2.0f, [](float** p) {
        for (int c = 0; c < 3; ++c) {
            for (unsigned int i = 0; i < kCount; ++i) p[c][i] = Clipping(p[c][i], 0.25f, 1.0f);
        }
    });
}
void BM_OotfForward(benchmark::State& state) {
    runOnPlanes(state, 1.0f, [](float** p) { OOTF_forward_tf(p, kCount, 0, 0, 1000.0f); });
}
void BM_OotfInverse(benchmark::State& state) {
    runOnPlanes(state, 0.1f, [](float** p) { OOTF_inverse_tf(p, kCount, 0, 0, 1000.0f); });
}

void BM_InputGen(benchmark::State& state) {
    unsigned int grid[3][kGridPointsPerAxis];
    for (auto& row : grid) std::copy(std::begin(hdrtm::kNonUniformGridCodes),
                                     std::end(hdrtm::kNonUniformGridCodes), row);
    runOnPlanes(state, 1.0f, [&grid](float** p) { input_gen(grid, p, kGridPointsPerAxis); });
}

void BM_NonuniformityMapping(benchmark::State& state) {
    unsigned int grid[3][kGridPointsPerAxis];
    for (auto& row : grid) std::copy(std::begin(hdrtm::kNonUniformGridCodes),
                                     std::end(hdrtm::kNonUniformGridCodes), row);
    Color10Bit out[129] = {};
    for (auto _ : state) {
        nonuniformity_mapping(grid, out);
        benchmark::DoNotOptimize(out);
    }
}

}  // namespace

BENCHMARK(BM_St2084Inverse);
BENCHMARK(BM_St2084Forward);
BENCHMARK(BM_HlgForward);
BENCHMARK(BM_HlgInverse);
BENCHMARK(BM_Bt709Forward);
BENCHMARK(BM_Bt709Inverse);
BENCHMARK(BM_SrgbForward);
BENCHMARK(BM_SrgbInverse);
BENCHMARK(BM_Gamma2p2Forward);
BENCHMARK(BM_Gamma2p2Inverse);
BENCHMARK(BM_GammaCustomForward);
BENCHMARK(BM_Clipping);
BENCHMARK(BM_OotfForward);
BENCHMARK(BM_OotfInverse);
BENCHMARK(BM_InputGen);
BENCHMARK(BM_NonuniformityMapping);
