// The playback entry, one case per row of the per-layer decision table that
// runs a pipeline, timed in turn (floor_timing.h) four ways: with log lines
// formatted and discarded (logged_us; the heap counters give what a call
// takes through operator new: the entry's PCC block and sample planes, plus
// any scratch of the stages; hardware rows also count the copies the
// colour-manager simulator keeps), with logging silenced so that no line is
// formatted (silent_us), and as its floor: the maths one entry call makes, on
// the same arguments, through the C library's functions one call a sample and
// nothing else (floor_us; own_maths_us less own_maths_copies_us is the same
// maths through the library's plane forms). Hardware rows also
// time the host colour-manager simulator's share of a call (simulator_us),
// which the report takes off: on a device the colour manager is the vendor's.
// Each row runs on the built-in defaults and again on a version 2.0 tuning
// file (the table curve, brightness and saturation sections on), which the
// entry loads on its first tuned call and copies on every later one.
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

bool selectTuning(benchmark::State& state, Tuning tuning) {
    const char* path = tuning == Tuning::kDefaults ? "" : HDRTM_BENCH_TUNING_FILE;
    if (property_set(kTuningProperty, path) == 0) return true;
    state.SkipWithError("tuning path longer than a property value");
    return false;
}

constexpr unsigned kEntries = 17 * 17 * 17;
// Long enough for a median over a few hundred calls a repetition, short
// enough that every row runs in well under a minute.
constexpr double kMinSeconds = 0.1;

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

// What the host colour-manager simulator does in one hardware-row call:
// acquire, Virtual PCC read, a 3D LUT push (it keeps a copy of every record)
// and release.
class SimulatorCall {
public:
    SimulatorCall() {
        request_.record = record_.data();
        std::memset(attributes_.panel_name, 0, sizeof(attributes_.panel_name));
    }
    void run() {
        krel::ColorManager* manager =
            krel::ColorManager::AcquireColorManager(krel::kPrimary, attributes_);
        benchmark::DoNotOptimize(
            manager->ColorIntfGetActiveColorParam(krel::sim::kFeatureVirtualPcc, 0, pcc_));
        benchmark::DoNotOptimize(
            manager->ColorIntfSetActiveColorParam(krel::sim::kFeature3dLut, 0, &request_));
        krel::ColorManager::ReleaseColorManager(krel::kPrimary);
    }

private:
    std::vector<uint8_t> record_ = std::vector<uint8_t>(krel::sim::kLutRecordBytes);
    struct {
        uint32_t one = 1, zero = 0;
        uint8_t* record;
        uint64_t tail = 0;
    } request_;
    uint8_t pcc_[krel::sim::kPccPayloadBytes] = {};
    krel::PPHWAttributes attributes_;
};

void BM_PlaybackEntry(benchmark::State& state, Tuning tuning, uint32_t blendSpace, uint8_t hw,
                      std::vector<uint32_t> transfers, uint32_t contentClass) {
    if (!selectTuning(state, tuning)) return;
    EntryCall call(blendSpace, hw, transfers, contentClass);
    SimulatorCall simulator;
    __android_log_set_logger(discardLine);
    krel::sim::Reset();
    const mathstrace::Trace trace = mathstrace::record([&call] { call.run(); });
    krel::sim::Reset();
    gHeapBytes = 0;
    gHeapBlocks = 0;
    std::vector<float> sink, scratch;
    std::vector<TimedPiece> pieces = {
        {"logged",
         [&call] {
             gCounting = true;
             benchmark::DoNotOptimize(call.run());
             gCounting = false;
         }},
        {"silent",
         [&call] {
             __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
             benchmark::DoNotOptimize(call.run());
             __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT);
         }},
    };
    for (TimedPiece& piece : floorPieces(trace, sink, scratch)) pieces.push_back(std::move(piece));
    if (hw != 0) pieces.push_back({"simulator", [&simulator] { simulator.run(); }});
    // The simulator keeps a copy of every push; they are dropped after every
    // iteration, in a piece of their own, so that each push meets an empty
    // store as the vendor's colour manager would.
    pieces.push_back({"reset", [] { krel::sim::Reset(); }});
    timeInTurn(state, pieces);
    krel::sim::Reset();
    state.counters["heap_bytes_per_call"] =
        benchmark::Counter(static_cast<double>(gHeapBytes), benchmark::Counter::kAvgIterations);
    state.counters["heap_blocks_per_call"] =
        benchmark::Counter(static_cast<double>(gHeapBlocks), benchmark::Counter::kAvgIterations);
    state.counters["maths_calls"] = static_cast<double>(trace.samples());
    __android_log_set_logger(__android_log_stderr_logger);
}

}  // namespace

void* operator new(size_t size) { return countedAllocation(size); }
void* operator new[](size_t size) { return countedAllocation(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }
void operator delete[](void* block, size_t) noexcept { std::free(block); }

// Each decision row on the defaults and, with the suffix "Tuned", on the
// version 2.0 tuning.
#define HDRTM_ENTRY_ROW(name, ...)                                                \
    BENCHMARK_CAPTURE(BM_PlaybackEntry, name, Tuning::kDefaults, __VA_ARGS__)       \
        ->MinTime(kMinSeconds)                                                    \
        ->Unit(benchmark::kMicrosecond);                                          \
    BENCHMARK_CAPTURE(BM_PlaybackEntry, name##Tuned, Tuning::kVersion2, __VA_ARGS__) \
        ->MinTime(kMinSeconds)                                                    \
        ->Unit(benchmark::kMicrosecond)

HDRTM_ENTRY_ROW(PqPerLayer, 1, 0, {16}, 0);
HDRTM_ENTRY_ROW(PqHardware, 0, 1, {16}, 0);
HDRTM_ENTRY_ROW(HlgUnderPqBlend, 0, 0, {18}, 0);
HDRTM_ENTRY_ROW(HlgPerLayer, 1, 0, {18}, 0);
HDRTM_ENTRY_ROW(HlgHardware, 2, 1, {18}, 0);
HDRTM_ENTRY_ROW(SdrUnderPqBlend, 0, 0, {1}, 2);
HDRTM_ENTRY_ROW(SdrUnderHlgBlend, 2, 0, {1}, 2);
HDRTM_ENTRY_ROW(NoPipeline, 0, 0, {16}, 0);
