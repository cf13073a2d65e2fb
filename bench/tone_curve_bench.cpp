// Luminance mapping and the two tone-mapping cores over a full 17^3 set of
// planes, with the default tuning. Each iteration restores the input first
// (untimed): the stages work in place.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_planes.h"
#include "hdr_tm.h"

namespace {

TMParams defaultParams(uint32_t version) {
    TMParams params{};
    set_default_vals(&params);
    params.grid_size = 17;
    params.clipLuma = 1000.0f;
    params.sat_enable = 1;
    if (version == 1) {
        CalCurveLUT(&params);
        params.version = 1;
    }
    return params;
}

void BM_LuminanceMapping(benchmark::State& state) {
    TMParams params = defaultParams(static_cast<uint32_t>(state.range(0)));
    BenchPlanes input;
    input.fill(0.05f);
    std::vector<float> out(BenchPlanes::kCount);
    for (auto _ : state) {
        yTM(&params, input.g.data(), out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * BenchPlanes::kCount);
}
BENCHMARK(BM_LuminanceMapping)->Arg(0)->Arg(1)->ArgName("table");

template <typename Core>
void runCore(benchmark::State& state, float inputScale, Core core) {
    TMParams params = defaultParams(static_cast<uint32_t>(state.range(0)));
    BenchPlanes input;
    input.fill(inputScale);
    BenchPlanes work;
    for (auto _ : state) {
        state.PauseTiming();
        work.copyFrom(input);
        state.ResumeTiming();
        core(&params, work.planes);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * BenchPlanes::kCount);
}

void BM_ToneMappingCore(benchmark::State& state) { runCore(state, 1.0f, tone_mapping_core); }
BENCHMARK(BM_ToneMappingCore)->Arg(0)->Arg(1)->ArgName("table");

void BM_InverseToneMappingCore(benchmark::State& state) {
    runCore(state, 1.0f, inverse_tone_mapping_core);
}
BENCHMARK(BM_InverseToneMappingCore)->Arg(0)->Arg(1)->ArgName("table");

}  // namespace
