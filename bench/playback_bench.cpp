// The playback entry, one case per row of the per-layer decision table that
// runs a pipeline, three ways: with log lines formatted and discarded (the
// counters give the heap a call takes through operator new: the entry's PCC
// block and sample planes, plus any scratch of the stages; hardware rows also
// count the copies the colour-manager simulator keeps), with logging
// silenced so that no line is formatted, and as its floor: the maths-library
// calls one entry call makes, on the same arguments, and nothing else. Each
// row runs on the built-in defaults and again on a version 2.0 tuning file
// (the table curve, brightness and saturation sections on), which the entry
// loads on its first tuned call and copies on every later one.
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <cutils/properties.h>
#include <krel/color_manager.h>
#include <krel/color_manager_sim.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "floor_timing.h"
#include "hdr_tm.h"
#include "maths_trace.h"

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

constexpr const char* kTuningProperty = "ro.vendor.display.hdr.config";

// Where the entry finds its tuning for a row: no property (the defaults) or
// the version 2.0 example tuning.
enum class Tuning { kDefaults, kVersion2 };

void selectTuning(benchmark::State& state, Tuning tuning) {
    const char* path = tuning == Tuning::kDefaults ? "" : HDRTM_BENCH_TUNING_FILE;
    if (property_set(kTuningProperty, path) != 0) state.SkipWithError("tuning path too long");
}

constexpr unsigned kEntries = 17 * 17 * 17;
// Long enough for a median over a few hundred calls a repetition, short
// enough that every row runs in well under a minute.
constexpr double kMinSeconds = 0.1;
constexpr int kResetEvery = 64;  // the simulator keeps a copy of every push

// The interface records of one entry call: up to four layers of one
// transfer code each and their LUT buffers.
class EntryCall {
public:
    EntryCall(uint32_t blendSpace, uint8_t hw, const std::vector<uint32_t>& transfers,
              uint32_t contentClass) {
        for (int i = 0; i < 4; ++i) {
            buffers_[i].assign(kEntries, 0);
            luts_[i].entries = buffers_[i].data();
            set_.layer_luts[i] = &luts_[i];
        }
        set_.layer_lut_applied = applied_;
        set_.blend_lut = &blend_;
        for (size_t i = 0; i < transfers.size(); ++i) {
            layers_[i].transfer = transfers[i];
            layers_[i].primaries = 9;
            layers_[i].content_class = contentClass;
        }
        info_.blend_space = blendSpace;
        info_.hw_enable = hw;
        info_.num_layers = static_cast<uint8_t>(transfers.size());
        info_.layers = layers_;
    }
    EntryCall(const EntryCall&) = delete;  // the records point into this object
    EntryCall& operator=(const EntryCall&) = delete;

    int run() { return HDR_playback_strategies(&info_, &set_); }

private:
    HdrLayerColorInfo layers_[4] = {};
    std::vector<uint32_t> buffers_[4];
    HdrLayerLut luts_[4] = {}, blend_ = {};
    uint8_t applied_[4] = {};
    HdrLutSet set_ = {};
    HdrPlaybackInfo info_ = {};
};

// How the entry's log lines are handled while it is timed.
enum class Logging { kDiscarded, kSilenced };

void BM_PlaybackEntry(benchmark::State& state, Logging logging, Tuning tuning, uint32_t blendSpace,
                      uint8_t hw, std::vector<uint32_t> transfers, uint32_t contentClass) {
    selectTuning(state, tuning);
    EntryCall call(blendSpace, hw, transfers, contentClass);
    __android_log_set_logger(discardLine);
    if (logging == Logging::kSilenced) __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    krel::sim::Reset();
    gHeapBytes = 0;
    gHeapBlocks = 0;
    int calls = 0;
    for (auto _ : state) {
        gCounting = true;
        benchmark::DoNotOptimize(call.run());
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
    __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT);
    __android_log_set_logger(__android_log_stderr_logger);
}

void BM_PlaybackEntryFloor(benchmark::State& state, bool throughForwarders, Tuning tuning,
                           uint32_t blendSpace, uint8_t hw, std::vector<uint32_t> transfers,
                           uint32_t contentClass) {
    selectTuning(state, tuning);
    EntryCall call(blendSpace, hw, transfers, contentClass);
    __android_log_set_logger(discardLine);
    krel::sim::Reset();
    const mathstrace::Trace trace = mathstrace::record([&call] { call.run(); });
    krel::sim::Reset();
    __android_log_set_logger(__android_log_stderr_logger);
    timeFloor(state, trace, throughForwarders);
}

// What the host colour-manager simulator costs one hardware-row call, timed
// alone: acquire, Virtual PCC read, a 3D LUT push (the simulator keeps a copy
// of every record) and release, reset as often as the entry benchmark resets
// it. The report takes it off the hardware rows, whose colour manager on a
// device is the vendor's.
void BM_ColorManagerSimulator(benchmark::State& state) {
    static uint8_t record[krel::sim::kLutRecordBytes];
    std::memset(record, 0, sizeof(record));
    struct {
        uint32_t one = 1, zero = 0;
        uint8_t* record;
        uint64_t tail = 0;
    } request;
    request.record = record;
    uint8_t pcc[krel::sim::kPccPayloadBytes] = {};
    krel::PPHWAttributes attributes;
    std::memset(attributes.panel_name, 0, sizeof(attributes.panel_name));
    krel::sim::Reset();
    int calls = 0;
    for (auto _ : state) {
        krel::ColorManager* manager =
            krel::ColorManager::AcquireColorManager(krel::kPrimary, attributes);
        benchmark::DoNotOptimize(
            manager->ColorIntfGetActiveColorParam(krel::sim::kFeatureVirtualPcc, 0, pcc));
        benchmark::DoNotOptimize(
            manager->ColorIntfSetActiveColorParam(krel::sim::kFeature3dLut, 0, &request));
        krel::ColorManager::ReleaseColorManager(krel::kPrimary);
        if (++calls % kResetEvery == 0) {
            state.PauseTiming();
            krel::sim::Reset();
            state.ResumeTiming();
        }
    }
    krel::sim::Reset();
}

}  // namespace

BENCHMARK(BM_ColorManagerSimulator)->Unit(benchmark::kMicrosecond);

void* operator new(size_t size) { return countedAllocation(size); }
void* operator new[](size_t size) { return countedAllocation(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }
void operator delete[](void* block, size_t) noexcept { std::free(block); }

// Each decision row on each tuning: logged (discarded), silenced, its floor,
// and the floor through the binary's forwarding maths functions. Rows on the
// version 2.0 tuning carry the suffix "Tuned".
#define HDRTM_ENTRY_CASES(name, tuning, ...)                                                    \
    BENCHMARK_CAPTURE(BM_PlaybackEntry, name, Logging::kDiscarded, tuning, __VA_ARGS__)         \
        ->MinTime(kMinSeconds)                                                                  \
        ->Unit(benchmark::kMicrosecond);                                                        \
    BENCHMARK_CAPTURE(BM_PlaybackEntry, name##Silent, Logging::kSilenced, tuning, __VA_ARGS__)  \
        ->MinTime(kMinSeconds)                                                                  \
        ->Unit(benchmark::kMicrosecond);                                                        \
    BENCHMARK_CAPTURE(BM_PlaybackEntryFloor, name, false, tuning, __VA_ARGS__)                  \
        ->MinTime(kMinSeconds)                                                                  \
        ->Unit(benchmark::kMicrosecond);                                                        \
    BENCHMARK_CAPTURE(BM_PlaybackEntryFloor, name##Forwarded, true, tuning, __VA_ARGS__)        \
        ->MinTime(kMinSeconds)                                                                  \
        ->Unit(benchmark::kMicrosecond)
#define HDRTM_ENTRY_ROW(name, ...)                          \
    HDRTM_ENTRY_CASES(name, Tuning::kDefaults, __VA_ARGS__); \
    HDRTM_ENTRY_CASES(name##Tuned, Tuning::kVersion2, __VA_ARGS__)

HDRTM_ENTRY_ROW(PqPerLayer, 1, 0, {16}, 0);
HDRTM_ENTRY_ROW(PqHardware, 0, 1, {16}, 0);
HDRTM_ENTRY_ROW(HlgUnderPqBlend, 0, 0, {18}, 0);
HDRTM_ENTRY_ROW(HlgPerLayer, 1, 0, {18}, 0);
HDRTM_ENTRY_ROW(HlgHardware, 2, 1, {18}, 0);
HDRTM_ENTRY_ROW(SdrUnderPqBlend, 0, 0, {1}, 2);
HDRTM_ENTRY_ROW(SdrUnderHlgBlend, 2, 0, {1}, 2);
HDRTM_ENTRY_ROW(NoPipeline, 0, 0, {16}, 0);
