// The playback entry, one case per row of the per-layer decision table that
// runs a pipeline, with log lines discarded. Counters give the heap a call
// takes through operator new (the entry's PCC block and sample planes, plus
// any scratch of the stages; hardware rows also count the copies the
// colour-manager simulator keeps).
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <krel/color_manager_sim.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "hdr_tm.h"

namespace {

std::atomic<bool> gCounting{false};
std::atomic<size_t> gHeapBytes{0};
std::atomic<size_t> gHeapBlocks{0};

void* countedAllocation(size_t size) {
    if (gCounting.load(std::memory_order_relaxed)) {
        gHeapBytes += size;
        ++gHeapBlocks;
    }
    if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
    throw std::bad_alloc();
}

void discardLine(const struct __android_logger_data*, const char*) {}

constexpr unsigned kEntries = 17 * 17 * 17;
constexpr int kResetEvery = 64;  // the simulator keeps a copy of every push

void BM_PlaybackEntry(benchmark::State& state, uint32_t blendSpace, uint8_t hw,
                      std::vector<uint32_t> transfers, uint32_t contentClass) {
    HdrLayerColorInfo layers[4] = {};
    std::vector<uint32_t> buffers[4];
    HdrLayerLut luts[4] = {}, blend = {};
    uint8_t applied[4] = {};
    HdrLutSet set = {};
    for (int i = 0; i < 4; ++i) {
        buffers[i].assign(kEntries, 0);
        luts[i].entries = buffers[i].data();
        set.layer_luts[i] = &luts[i];
    }
    set.layer_lut_applied = applied;
    set.blend_lut = &blend;
    for (size_t i = 0; i < transfers.size(); ++i) {
        layers[i].transfer = transfers[i];
        layers[i].primaries = 9;
        layers[i].content_class = contentClass;
    }
    HdrPlaybackInfo info = {};
    info.blend_space = blendSpace;
    info.hw_enable = hw;
    info.num_layers = static_cast<uint8_t>(transfers.size());
    info.layers = layers;

    __android_log_set_logger(discardLine);
    krel::sim::Reset();
    gHeapBytes = 0;
    gHeapBlocks = 0;
    int calls = 0;
    for (auto _ : state) {
        gCounting = true;
        benchmark::DoNotOptimize(HDR_playback_strategies(&info, &set));
        gCounting = false;
        if (++calls % kResetEvery == 0) {
            state.PauseTiming();
            krel::sim::Reset();
            state.ResumeTiming();
        }
    }
    state.counters["heap_bytes_per_call"] =
        benchmark::Counter(static_cast<double>(gHeapBytes), benchmark::Counter::kAvgIterations);
    state.counters["heap_blocks_per_call"] =
        benchmark::Counter(static_cast<double>(gHeapBlocks), benchmark::Counter::kAvgIterations);
    __android_log_set_logger(__android_log_stderr_logger);
}

}  // namespace

void* operator new(size_t size) { return countedAllocation(size); }
void* operator new[](size_t size) { return countedAllocation(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }
void operator delete[](void* block, size_t) noexcept { std::free(block); }

BENCHMARK_CAPTURE(BM_PlaybackEntry, PqPerLayer, 1, 0, {16}, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlaybackEntry, PqHardware, 0, 1, {16}, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlaybackEntry, HlgUnderPqBlend, 0, 0, {18}, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlaybackEntry, HlgPerLayer, 1, 0, {18}, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlaybackEntry, HlgHardware, 2, 1, {18}, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlaybackEntry, SdrUnderPqBlend, 0, 0, {1}, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlaybackEntry, SdrUnderHlgBlend, 2, 0, {1}, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PlaybackEntry, NoPipeline, 0, 0, {16}, 0)->Unit(benchmark::kMicrosecond);
