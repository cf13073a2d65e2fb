// Fuzzes the playback entry: up to three calls of HDR_playback_strategies on
// random records (blend space, hardware path, layer count, each layer's
// content class, primaries, transfer and mastering metadata, missing
// descriptors and LUT buffers), with a fuzzed tuning file named by the
// property and scripted colour-manager faults. Each input starts from a
// fresh process state: no tuning loaded, no manager held, a reset panel.
//
// Input layout (little-endian; every field past the end reads 0):
//   u8  tuning: 0 no property, 1 a missing file, 2 the input's tail as the
//       file, 3 a directory (readable, not loadable)
//   u8  faults: bit 0 acquisition fails, bit 1 PCC read fails, bit 2 push
//       fails, bit 3 the panel answers with the coefficients below
//   i32 PCC read status (bit 1; 0 reads as -1), i32 push status (bit 2; same)
//   33 x f64 PCC coefficients (bit 3)
//   u8  calls, 1 + value % 3; then per call:
//     blend space (u8, or 0xF0.. then u32), u8 hw_enable, u8 num_layers
//     (below 0xF0: modulo 5), u8 bits 0-3 layer i has no descriptor and
//     bits 4-7 no LUT buffer, u32 what the LUT buffers hold beforehand,
//     then 4 layers: content class (u8 or u32), primaries (u8 modulo 12, or
//     u32), transfer (u8 modulo 19, or u32), u32 mastering maximum, u8 CLL
//     present, u32 max CLL
//   the rest: the tuning file
#include <krel/color_manager_sim.h>
#include <cutils/properties.h>

#include <cstring>
#include <string>
#include <vector>

#include "fuzz_harness.h"
#include "fuzz_input.h"
#include "hdr_tm.h"
#include "tm_common.h"

namespace hdrtm_fuzz {
namespace {

constexpr const char* kTuningProperty = "ro.vendor.display.hdr.config";
constexpr const char* kMissingTuningFile = "/nonexistent/hdr_tuning.xml";
constexpr const char* kUnloadableTuningFile = "/";  // readable, but not a file
constexpr int kMaxCalls = 3;
constexpr unsigned int kLutEntries = hdrtm::kLutPoints;
constexpr uint32_t kCallerBitsMask = 0xC0000000u;  // bits 30-31 of a packed entry
constexpr uint16_t kLutDim = kGridPointsPerAxis;
constexpr uint32_t kMax12BitCode = 4095;
constexpr uint32_t kLutRecordEntriesOffset = 16;
constexpr uint32_t kLutEntryWords = 6;  // in_r, in_g, in_b, out_r, out_g, out_b

enum TuningMode : unsigned int { kNoProperty, kMissingFile, kFuzzedFile, kUnloadable, kModes };

int32_t failureStatus(int32_t status) { return status != 0 ? status : -1; }

// The caller's side of one call: records, descriptors and LUT buffers.
struct Call {
    HdrPlaybackInfo info{};
    HdrLayerColorInfo layers[kMaxLayers]{};
    HdrLayerLut descriptors[kMaxLayers]{};
    HdrLayerLut blend{};
    uint8_t applied[2 * kMaxLayers] = {};  // room past the last layer, to see it stays untouched
    std::vector<uint32_t> entries[kMaxLayers];
    HdrLutSet luts{};
    uint32_t fill = 0;

    explicit Call(FuzzInput& in) {
        info.blend_space = in.smallOrRaw(4);
        info.hw_enable = in.take<uint8_t>();
        const uint8_t layers8 = in.take<uint8_t>();
        info.num_layers = layers8 < 0xF0 ? layers8 % (kMaxLayers + 1) : layers8;
        const uint8_t missing = in.take<uint8_t>();
        fill = in.take<uint32_t>();
        for (int i = 0; i < kMaxLayers; ++i) {
            HdrLayerColorInfo& l = layers[i];
            l.content_class = in.smallOrRaw(4);
            l.primaries = in.smallOrRaw(12);
            l.transfer = in.smallOrRaw(19);
            l.master_max_luminance = in.take<uint32_t>();
            l.cll_present = in.take<uint8_t>();
            l.max_cll = in.take<uint32_t>();
            std::memset(&descriptors[i], 0x5A, sizeof(descriptors[i]));
            descriptors[i].entries = nullptr;
            if (!(missing & (0x10 << i))) {
                entries[i].assign(kLutEntries, fill);
                descriptors[i].entries = entries[i].data();
            }
            luts.layer_luts[i] = (missing & (1 << i)) ? nullptr : &descriptors[i];
        }
        std::memset(&blend, 0x5A, sizeof(blend));
        std::memset(applied, 0xA5, sizeof(applied));
        info.layers = layers;
        luts.layer_lut_applied = applied;
        luts.blend_lut = &blend;
        luts.blend_lut_applied = 0xA5;
    }
};

// Bytes of a descriptor the entry may write.
bool sameUnlistedBytes(const HdrLayerLut& a, const HdrLayerLut& b) {
    HdrLayerLut x = a, y = b;
    x.dim_x = y.dim_x = 0;
    x.dim_y = y.dim_y = 0;
    x.enabled = y.enabled = 0;
    x.reserved_flag = y.reserved_flag = 0;
    return std::memcmp(&x, &y, sizeof(x)) == 0;
}

void checkCall(const Call& before, const Call& after, int result) {
    HDRTM_FUZZ_CHECK(result == 0 || result == 1);
    const int count = std::min<int>(after.info.num_layers, kMaxLayers);
    for (int i = 0; i < kMaxLayers; ++i) {
        const HdrLayerLut& d = after.descriptors[i];
        const bool touched = i < count && after.luts.layer_luts[i] != nullptr;
        if (!touched) {
            HDRTM_FUZZ_CHECK(std::memcmp(&d, &before.descriptors[i], sizeof(d)) == 0);
            HDRTM_FUZZ_CHECK(after.applied[i] == before.applied[i]);
            HDRTM_FUZZ_CHECK(after.entries[i] == before.entries[i]);
            continue;
        }
        HDRTM_FUZZ_CHECK(sameUnlistedBytes(d, before.descriptors[i]));
        HDRTM_FUZZ_CHECK(d.reserved_flag == 0);
        HDRTM_FUZZ_CHECK(d.enabled == after.applied[i]);
        if (d.enabled == 1) {
            HDRTM_FUZZ_CHECK(d.dim_x == kLutDim && d.dim_y == kLutDim);
            for (uint32_t e : after.entries[i]) {
                HDRTM_FUZZ_CHECK((e & kCallerBitsMask) == (after.fill & kCallerBitsMask));
            }
        } else {
            HDRTM_FUZZ_CHECK(d.enabled == 0);
            HDRTM_FUZZ_CHECK(after.entries[i] == before.entries[i]);
        }
    }
    for (int i = kMaxLayers; i < 2 * kMaxLayers; ++i) {
        HDRTM_FUZZ_CHECK(after.applied[i] == before.applied[i]);
    }
    HDRTM_FUZZ_CHECK(sameUnlistedBytes(after.blend, before.blend));
    if (after.blend.enabled == 1) {
        HDRTM_FUZZ_CHECK(after.luts.blend_lut_applied == 1);
        HDRTM_FUZZ_CHECK(after.blend.dim_x == kLutDim && after.blend.dim_y == kLutDim);
    }
    // A call that ran to its end has released the colour manager.
    if (result == 1) HDRTM_FUZZ_CHECK(!krel::sim::Held());
}

// Every pushed LUT holds 4913 12-bit outputs.
void checkPushes() {
    for (const krel::sim::Push& push : krel::sim::Pushes()) {
        HDRTM_FUZZ_CHECK(push.request_word0 == 1 && push.request_word1 == 0);
        HDRTM_FUZZ_CHECK(push.record.size() == krel::sim::kLutRecordBytes);
        uint32_t numEntries;
        std::memcpy(&numEntries, push.record.data() + 12, sizeof(numEntries));
        HDRTM_FUZZ_CHECK(numEntries == kLutEntries);
        for (uint32_t k = 0; k < kLutEntries; ++k) {
            uint32_t words[kLutEntryWords];
            std::memcpy(words, push.record.data() + kLutRecordEntriesOffset + k * sizeof(words),
                        sizeof(words));
            for (int c = 3; c < 6; ++c) HDRTM_FUZZ_CHECK(words[c] <= kMax12BitCode);
        }
    }
}

// A refusal keeps the manager for the next call; one completed call with no
// layers hands it back, as the display service's next call would.
void releaseHeldManager() {
    if (!krel::sim::Held()) return;
    HdrLayerColorInfo layers[2]{};
    HdrLayerLut blend{};
    uint8_t applied[kMaxLayers] = {};
    HdrPlaybackInfo info{};
    info.layers = layers;
    HdrLutSet luts{};
    luts.layer_lut_applied = applied;
    luts.blend_lut = &blend;
    HDRTM_FUZZ_CHECK(HDR_playback_strategies(&info, &luts) == 1);
    HDRTM_FUZZ_CHECK(!krel::sim::Held());
}

}  // namespace

int fuzzEntry(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    // A fresh process: nothing loaded, no manager, an identity panel.
    releaseHeldManager();
    krel::sim::Reset();
    std::memset(&g_params, 0, sizeof(g_params));
    std::memset(&g_pcc, 0, sizeof(g_pcc));
    g_params_ready = 0;

    const auto tuning = static_cast<TuningMode>(in.pick(kModes));
    const uint8_t faults = in.take<uint8_t>();
    const int32_t pccStatus = in.take<int32_t>();
    const int32_t pushStatus = in.take<int32_t>();
    if (faults & 1) krel::sim::FailAcquire(true);
    if (faults & 2) krel::sim::FailPccRead(failureStatus(pccStatus));
    if (faults & 4) krel::sim::FailPush(failureStatus(pushStatus));
    if (faults & 8) {
        double pcc[krel::sim::kPccCoefficientCount];
        in.fill(pcc, sizeof(pcc));
        krel::sim::SetPcc(pcc);
    }

    const int calls = 1 + in.pick(kMaxCalls);
    std::vector<Call> records;
    records.reserve(calls);
    for (int c = 0; c < calls; ++c) records.emplace_back(in);

    const std::string_view file = in.rest();
    switch (tuning) {
        case kNoProperty:
            property_set(kTuningProperty, "");
            break;
        case kMissingFile:
            property_set(kTuningProperty, kMissingTuningFile);
            break;
        case kFuzzedFile: {
            static const ScratchFile scratch("entry_fuzz");
            if (!scratch.write(file)) return 0;
            property_set(kTuningProperty, scratch.path());
            break;
        }
        case kUnloadable:
        case kModes:
            property_set(kTuningProperty, kUnloadableTuningFile);
            break;
    }

    for (Call& call : records) {
        // The caller's side as it was; the copy's pointers still lead to the
        // originals, and only the bytes it holds itself are compared.
        const Call before = call;
        const int result = HDR_playback_strategies(&call.info, &call.luts);
        checkCall(before, call, result);
    }
    checkPushes();
    releaseHeldManager();
    return 0;
}

}  // namespace hdrtm_fuzz

HDRTM_FUZZ_TARGET(hdrtm_fuzz::fuzzEntry)
