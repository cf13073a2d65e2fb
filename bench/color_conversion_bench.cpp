// Colour conversion, gamut mapping and panel correction over a full 17^3 grid.
#include <benchmark/benchmark.h>

#include "bench_planes.h"
#include "hdr_tm.h"

namespace {

// Times `stage(params, source, destination)` on a 17^3 grid, the source filled
// over [0, 1]. In-place stages work on the source and leave it in range.
template <typename Stage>
void runOnGrid(benchmark::State& state, Stage stage) {
    TMParams params{};
    params.grid_size = 17;
    params.panel_color_mode = SPACE_DCIP3;
    BenchPlanes source, destination;
    source.fill(1.0f);
    for (auto _ : state) {
        stage(&params, source, destination);
        benchmark::DoNotOptimize(source.r.data());
        benchmark::DoNotOptimize(destination.r.data());
    }
}

void BM_Rgb2RgbConv(benchmark::State& state) {
    // There and back, so repeated runs stay in range.
    runOnGrid(state, [](TMParams*, BenchPlanes& planes, BenchPlanes&) {
        rgb2rgb_conv(planes.planes, BT2020_TO_P3, BenchPlanes::kCount);
        rgb2rgb_conv(planes.planes, P3_TO_BT2020, BenchPlanes::kCount);
    });
}
BENCHMARK(BM_Rgb2RgbConv);

void BM_Rgb2Xyz(benchmark::State& state) {
    runOnGrid(state, [](TMParams* params, BenchPlanes& rgb, BenchPlanes& xyz) {
        rgb2xyz(params, 3, rgb.planes, xyz.planes);
    });
}
BENCHMARK(BM_Rgb2Xyz);

void BM_Xyz2Rgb(benchmark::State& state) {
    runOnGrid(state, [](TMParams* params, BenchPlanes& xyz, BenchPlanes& rgb) {
        xyz2rgb(params, 2, xyz.planes, rgb.planes);
    });
}
BENCHMARK(BM_Xyz2Rgb);

void BM_Xyz2Lab(benchmark::State& state) {
    runOnGrid(state, [](TMParams* params, BenchPlanes& xyz, BenchPlanes& lab) {
        xyz2lab(params, xyz.planes, lab.planes);
    });
}
BENCHMARK(BM_Xyz2Lab);

void BM_XYZ2rgb(benchmark::State& state) {
    // The X plane stands in for the mapped luminance.
    runOnGrid(state, [](TMParams* params, BenchPlanes& xyz, BenchPlanes& rgb) {
        XYZ2rgb(params, xyz.g.data(), xyz.r.data(), xyz.planes, rgb.planes);
    });
}
BENCHMARK(BM_XYZ2rgb);

void BM_Rgb2RgbGmap(benchmark::State& state) {
    // Mapping to a smaller gamut widens the values, so each run starts afresh.
    runOnGrid(state, [&state](TMParams* params, BenchPlanes& planes, BenchPlanes&) {
        state.PauseTiming();
        planes.fill(1.0f);
        state.ResumeTiming();
        rgb2rgb_gmap(params, planes.planes);
    });
}
BENCHMARK(BM_Rgb2RgbGmap);

void BM_PanelMappingPcc(benchmark::State& state) {
    PccCoefficients pcc{};
    for (int channel = 0; channel < 3; ++channel) {
        pcc.row[channel][kPccR + channel] = 0.98;
        pcc.row[channel][kPccRGB] = 0.01;
    }
    // The output stays clamped to [0, 1].
    runOnGrid(state, [&pcc](TMParams* params, BenchPlanes& planes, BenchPlanes&) {
        params->pcc = &pcc;
        panel_mapping_PCC(params, planes.planes);
    });
}
BENCHMARK(BM_PanelMappingPcc);

}  // namespace
