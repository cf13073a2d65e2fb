// Colour conversion, gamut mapping and panel correction over a full 17^3 grid.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_planes.h"
#include "hdr_tm.h"

namespace {

TMParams gridParams() {
    TMParams params{};
    params.grid_size = 17;
    params.panel_color_mode = SPACE_DCIP3;
    return params;
}

void BM_Rgb2RgbConv(benchmark::State& state) {
    BenchPlanes planes;
    planes.fill(1.0f);
    // There and back, so repeated runs stay in range.
    for (auto _ : state) {
        rgb2rgb_conv(planes.planes, BT2020_TO_P3, BenchPlanes::kCount);
        rgb2rgb_conv(planes.planes, P3_TO_BT2020, BenchPlanes::kCount);
        benchmark::DoNotOptimize(planes.r.data());
    }
}
BENCHMARK(BM_Rgb2RgbConv);

void BM_Rgb2Xyz(benchmark::State& state) {
    TMParams params = gridParams();
    BenchPlanes rgb, xyz;
    rgb.fill(1.0f);
    for (auto _ : state) {
        rgb2xyz(&params, 3, rgb.planes, xyz.planes);
        benchmark::DoNotOptimize(xyz.r.data());
    }
}
BENCHMARK(BM_Rgb2Xyz);

void BM_Xyz2Rgb(benchmark::State& state) {
    TMParams params = gridParams();
    BenchPlanes xyz, rgb;
    xyz.fill(1.0f);
    for (auto _ : state) {
        xyz2rgb(&params, 2, xyz.planes, rgb.planes);
        benchmark::DoNotOptimize(rgb.r.data());
    }
}
BENCHMARK(BM_Xyz2Rgb);

void BM_Xyz2Lab(benchmark::State& state) {
    TMParams params = gridParams();
    BenchPlanes xyz, lab;
    xyz.fill(1.0f);
    for (auto _ : state) {
        xyz2lab(&params, xyz.planes, lab.planes);
        benchmark::DoNotOptimize(lab.r.data());
    }
}
BENCHMARK(BM_Xyz2Lab);

void BM_XYZ2rgb(benchmark::State& state) {
    TMParams params = gridParams();
    BenchPlanes xyz, rgb;
    xyz.fill(1.0f);
    std::vector<float> after(xyz.g);
    for (float& y : after) y *= 0.5f;
    for (auto _ : state) {
        XYZ2rgb(&params, xyz.g.data(), after.data(), xyz.planes, rgb.planes);
        benchmark::DoNotOptimize(rgb.r.data());
    }
}
BENCHMARK(BM_XYZ2rgb);

void BM_Rgb2RgbGmap(benchmark::State& state) {
    TMParams params = gridParams();
    BenchPlanes planes;
    for (auto _ : state) {
        state.PauseTiming();
        planes.fill(1.0f);
        state.ResumeTiming();
        rgb2rgb_gmap(&params, planes.planes);
        benchmark::DoNotOptimize(planes.r.data());
    }
}
BENCHMARK(BM_Rgb2RgbGmap);

void BM_PanelMappingPcc(benchmark::State& state) {
    PccCoefficients pcc{};
    for (int channel = 0; channel < 3; ++channel) {
        pcc.row[channel][kPccR + channel] = 0.98;
        pcc.row[channel][kPccRGB] = 0.01;
    }
    TMParams params = gridParams();
    params.pcc = &pcc;
    BenchPlanes planes;
    planes.fill(1.0f);
    for (auto _ : state) {  // the output stays clamped to [0, 1]
        panel_mapping_PCC(&params, planes.planes);
        benchmark::DoNotOptimize(planes.r.data());
    }
}
BENCHMARK(BM_PanelMappingPcc);

}  // namespace
