// Playback entry: derives the per-call parameters from the tuning and the
// layers' metadata, picks a LUT pipeline for every layer and hands the result
// to the caller's descriptors or to the colour manager.
#include "playback_driver.h"

#include <cutils/properties.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>

#include "lut3d.h"

namespace hdrtm {
namespace {

constexpr const char* kTuningProperty = "ro.vendor.display.hdr.config";

// Line numbers some messages carry; each is a constant of its message.
constexpr int kLineSettings = 1591;
constexpr int kLinePqHardware = 1785;
constexpr int kLinePqPerLayer = 1852;
constexpr int kLineHlgHardware = 1922;
constexpr int kLineHlgUnderPq = 1988;
constexpr int kLineHlgPerLayer = 2017;

constexpr float kMasteringUnitsPerNit = 10000.0f;  // mastering luminance is in 0.0001 cd/m2
constexpr float kClipLumaUnset = 1.0f;   // below this no layer has given a clipping luminance
constexpr float kClipLumaFloor = 1000.0f;  // nits, lowest clipping luminance from the layers

// Linear scale: the clipping luminance picks a target and a start fraction.
constexpr float kLowTableEnd = 4499.0f;     // nits; LOW table below this, in 500-nit steps
constexpr float kHighTableStart = 4500.0f;  // nits; HIGH table from here, in 1000-nit steps
constexpr float kHighTableEnd = 10000.0f;   // nits; HIGH table up to and including this
constexpr uint32_t kLowTableStep = 500;
constexpr uint32_t kHighTableStep = 1000;
constexpr int kLowTableFirstStep = 2;   // 1000 nits / 500
constexpr int kHighTableFirstStep = 4;  // 4000 nits / 1000
constexpr int kScaleTableSize = 7;
// Linear-scale target, nits, for clipping luminances 1000 .. <4499.
constexpr uint32_t kLowScaleTarget[kScaleTableSize] = {880, 1170, 1375, 1570, 1740, 1920, 2060};
// Linear-scale target, nits, for clipping luminances 4500 .. 10000.
constexpr uint32_t kHighScaleTarget[kScaleTableSize] = {2060, 2285, 2450, 2630, 2725, 2925, 3030};
// Start of the linear scale as a fraction of the panel peak.
constexpr float kScaleStartFraction[kScaleTableSize] = {0.9f, 0.85f, 0.8f, 0.75f,
                                                        0.7f, 0.65f, 0.6f};

constexpr int kLoggedCurvePoints = 17;  // control points printed per call
constexpr uint8_t kGamutModeBits = 0x3;  // gamut_mode: only the low two bits count
constexpr uint8_t kGamutNone = 0;
constexpr uint8_t kGamutMapping = 2;     // rgb2rgb_gmap
constexpr uint8_t kLayerBitDepth = 10;     // layer LUTs
constexpr uint8_t kHardwareBitDepth = 12;  // colour-manager LUT
constexpr uint8_t kGridSize = kGridPointsPerAxis;
constexpr uint16_t kLayerLutDimY = 17;  // layer descriptors get the literal 17
constexpr uint32_t kGridSetTuned = 0;
constexpr uint32_t kGridSetUniform = 1;

// Calls are serialised: the tuning, the colour-manager handle and the shared
// working state are process-wide.
std::mutex gEntryMutex;

using Pipeline = void (*)(TMParams*, float**);
enum class HardwareBranch { kPq, kHlg };
enum class LayerResult { kDone, kRefused };

// Everything one call works on; the colour-manager payload lives here, in
// the entry's own frame.
struct CallState {
    TMParams params;
    float* planes[kPlaneCount];
    HdrLutSet* luts;
    uint32_t blendSpace;
    uint32_t forwardSum;  // checksums of the rows that log "Forward", cumulative
    uint32_t inverseSum;  // checksums of the rows that log "Inverse", cumulative
    HardwareLutRecord record;
    HardwareLutRequest request;
};

// What the linear-scale step printed: table index and target.
struct LinearScaleChoice {
    uint8_t ind = 0;
    uint32_t val = 0;
};

void loadTuningOnce(const char* path, TMParams* work) {
    if (g_params_ready == 0) {
        g_params.pcc = &g_pcc;
        const int result = HDR_load_tone_mapping_xml(path, &g_params);
        // A result whose low 16 bits are all ones (-1) is a failure.
        if ((static_cast<uint32_t>(result) & 0xFFFFu) == 0xFFFFu) {
            HDRTM_LOGE("TMParam loading fails!");
        }
        // The load is tried once per process and never again, even after a
        // failure: intended.
        g_params_ready = 1;
    }
    *work = g_params;
}

// The first BT.2020 PQ layer that gives a value sets the clipping luminance.
void clipLumaFromLayers(TMParams* p, const HdrLayerColorInfo* layers, int count) {
    if (p->fixedClip != 0) return;
    float clip = 0.0f;
    for (int i = 0; i < count; ++i) {
        const HdrLayerColorInfo& layer = layers[i];
        if (layer.transfer != kTransferPq || layer.primaries != kPrimariesBt2020) continue;
        if (clip < kClipLumaUnset && layer.master_max_luminance != 0) {
            clip = static_cast<float>(layer.master_max_luminance) / kMasteringUnitsPerNit;
        } else if (clip < kClipLumaUnset && layer.cll_present != 0) {
            clip = static_cast<float>(layer.max_cll);
        }
    }
    p->clipLuma = maxOf(clip, kClipLumaFloor);
    // Records 0 and 1 are printed whatever num_layers says: intended.
    HDRTM_LOGI("src0: master = %d, content = %d", layers[0].master_max_luminance,
               layers[0].max_cll);
    HDRTM_LOGI("src 1: master = %d, content = %d", layers[1].master_max_luminance,
               layers[1].max_cll);
}

LinearScaleChoice applyLinearScale(TMParams* p) {
    LinearScaleChoice choice;
    if (p->fixedRatio != 0 || p->linearScale != 1) return choice;
    const float peak = static_cast<float>(p->panel_max_luminance);
    const float c = p->clipLuma;
    bool fromTable = false;
    if (p->enableM != 1) {
        if (c < kLowTableEnd) {
            // Computed signed and clamped to the table, so a clipping
            // luminance below 1000 nits takes index 0.
            const int index =
                static_cast<int>(floatToUint32(c) / kLowTableStep) - kLowTableFirstStep;
            choice.ind = static_cast<uint8_t>(std::clamp(index, 0, kScaleTableSize - 1));
            choice.val = kLowScaleTarget[choice.ind];
            fromTable = true;
        } else if (c >= kHighTableStart && c <= kHighTableEnd) {
            choice.ind =
                static_cast<uint8_t>(floatToUint32(c) / kHighTableStep - kHighTableFirstStep);
            choice.val = kHighScaleTarget[choice.ind];
            fromTable = true;
        }
        // 4499 <= c < 4500, above 10000 or NaN: the panel-peak case below.
        // The one-nit gap is intended.
    }
    if (!fromTable) {
        p->scaleStart = peak;
        p->ratio = 1.0f;
        return choice;
    }
    p->scaleStart = kScaleStartFraction[choice.ind] * peak;
    p->ratio = (static_cast<float>(choice.val) - p->scaleStart) / (c - p->scaleStart);
    return choice;
}

void logSettings(const TMParams& p, const LinearScaleChoice& scale) {
    // The control points, one line each, put together without printf.
    if (logLineWanted(ANDROID_LOG_INFO)) {
        const float* const columns[] = {p.curve.points_x, p.curve.points_y};
        const std::string_view labels[] = {"lut_in = ", "lut_out = "};
        for (int column = 0; column < 2; ++column) {
            for (int i = 0; i < kLoggedCurvePoints; ++i) {
                writeLogPieces(ANDROID_LOG_INFO, labels[column], columns[column][i], "  ");
            }
        }
    }
    // The settings, as "%d" and "%f" would print them.
    if (!logLineWanted(ANDROID_LOG_ERROR)) return;
    writeLogPieces(ANDROID_LOG_ERROR, "line = ", kLineSettings, " luma = ",
                   int32_t{p.panel_max_luminance}, " nits blackLevel = ", p.panel_min_luminance,
                   " nits, clipping luma = ", p.clipLuma);
    writeLogPieces(ANDROID_LOG_ERROR, "output color space = ",
                   static_cast<int32_t>(p.panel_color_mode));
    writeLogPieces(ANDROID_LOG_ERROR, "output gamma space = ",
                   static_cast<int32_t>(p.output_gamma_space));
    writeLogPieces(ANDROID_LOG_ERROR, "TM control knobs:T0 = ", p.t0, ", M=", p.sharp,
                   ", lmid =", p.pivot, ", intl = ", p.intl, ", inth = ", p.inth, ", slope =",
                   p.slope);
    writeLogPieces(ANDROID_LOG_ERROR, "linear scale enable = ", int32_t{p.linearScale},
                   ", scale start =", p.scaleStart, " nits, ratio =", p.ratio, ", ind = ",
                   int32_t{scale.ind}, ", val =", static_cast<int32_t>(scale.val));
}

void fillGrids(TMParams* p) {
    const uint32_t* tuned = p->version == 1 ? kNonUniformGridCodes : kUniformGridCodes;
    for (int axis = 0; axis < kPlaneCount; ++axis) {
        std::memcpy(p->grid_points[kGridSetTuned][axis], tuned, sizeof(kUniformGridCodes));
        std::memcpy(p->grid_points[kGridSetUniform][axis], kUniformGridCodes,
                    sizeof(kUniformGridCodes));
    }
    p->grid_size = kGridSize;
}

void setGamutMode(TMParams* p, uint8_t mode) {
    p->gamut_mode = static_cast<uint8_t>((p->gamut_mode & ~kGamutModeBits) | mode);
}

// The fields every pipeline call sets; the rest carries over from the
// previous layer's row on purpose.
void prepare(TMParams* p, uint32_t gridSet, uint8_t bitDepth) {
    p->grid_size = kGridSize;
    p->map_direction = MAP_FORWARD;
    p->grid_set = gridSet;
    p->out_bit_depth = bitDepth;
}

void clearLayer(HdrLutSet* luts, int i) {
    luts->layer_luts[i]->enabled = 0;
    luts->layer_lut_applied[i] = 0;
    luts->layer_luts[i]->reserved_flag = 0;
}

void clearBlend(HdrLutSet* luts) {
    luts->blend_lut->enabled = 0;
    luts->blend_lut->reserved_flag = 0;
    luts->blend_lut_applied = 0;
}

bool blendTaken(const HdrLutSet* luts) { return luts->blend_lut->enabled == 1; }

// Runs the pipeline and packs the planes into layer i's LUT; returns `sum`
// plus the LUT's checksum.
uint32_t layerLut(CallState& s, int i, Pipeline pipeline, uint32_t sum) {
    pipeline(&s.params, s.planes);
    HdrLayerLut* lut = s.luts->layer_luts[i];
    lut->enabled = 1;
    lut->dim_x = s.params.grid_size;
    lut->dim_y = kLayerLutDimY;
    lut->reserved_flag = 0;
    s.luts->layer_lut_applied[i] = 1;
    return packLayerLut(s.planes, lut->entries, s.params.grid_size, sum);
}

// The post-blend LUT: layer i gives up its own LUT, the planes go to the
// colour manager as 12-bit codes.
void hardwareLut(CallState& s, int i, HardwareBranch branch) {
    clearLayer(s.luts, i);
    HdrLayerLut* blend = s.luts->blend_lut;
    blend->enabled = 1;
    blend->reserved_flag = 0;
    s.luts->blend_lut_applied = 1;
    blend->dim_x = s.params.grid_size;
    blend->dim_y = s.params.grid_size;

    const bool pq = branch == HardwareBranch::kPq;
    const uint32_t* inputs = pq && s.params.version == 1 ? kHardwareGridCodes : nullptr;
    buildLutPayload(s.planes, inputs, pq, &s.record, &s.request);
    s.forwardSum = lutChecksum(s.planes, kLutPoints, s.forwardSum);
    if (pq) {
        HDRTM_LOGE("Line: %d Forward checksum is = %d", kLinePqHardware,
                   static_cast<int>(s.forwardSum));
    } else {
        HDRTM_LOGI("Line: %d Forward checksum is = %d", kLineHlgHardware,
                   static_cast<int>(s.forwardSum));
    }
    int status = 0;
    if (!pushLut(&s.request, &status)) return;
    if (pq) {
        HDRTM_LOGI("SetActiveParam for 3D LUt returned = %d", status);
    } else if (status != 0) {
        HDRTM_LOGE("SetActiveParam for 3D LUt returned = %d", status);
    }
}

LayerResult pqLayer(CallState& s, int i) {
    TMParams* p = &s.params;
    if (blendTaken(s.luts)) {
        clearLayer(s.luts, i);
        return LayerResult::kDone;
    }
    if (s.blendSpace == kBlendSpacePerLayer) {
        setGamutMode(p, kGamutMapping);
        p->pcc_enable = 0;
        prepare(p, kGridSetUniform, kLayerBitDepth);
        s.forwardSum = layerLut(s, i, lut3d_process, s.forwardSum);
        clearBlend(s.luts);
        HDRTM_LOGI("Line = %d Forward Tonemap checksum = %d", kLinePqPerLayer,
                   static_cast<int>(s.forwardSum));
    } else if (s.blendSpace == kBlendSpacePq) {
        if (p->pcc_enable == 0) {
            clearLayer(s.luts, i);
            clearBlend(s.luts);
            return LayerResult::kDone;
        }
        setGamutMode(p, kGamutMapping);
        prepare(p, kGridSetTuned, kHardwareBitDepth);
        lut3d_process(p, s.planes);
        hardwareLut(s, i, HardwareBranch::kPq);
    } else {
        return LayerResult::kRefused;  // a PQ layer cannot be blended in HLG space
    }
    return LayerResult::kDone;
}

LayerResult hlgLayer(CallState& s, int i) {
    TMParams* p = &s.params;
    if (s.blendSpace == kBlendSpacePq) {
        setGamutMode(p, kGamutNone);
        p->inverse_bt2020_luma = 1;
        prepare(p, kGridSetUniform, kLayerBitDepth);
        s.inverseSum = layerLut(s, i, inverse_lut3d_process, s.inverseSum);
        HDRTM_LOGE("Line: %d Inverse Checksum = %d", kLineHlgUnderPq,
                   static_cast<int>(s.inverseSum));
    } else if (s.blendSpace == kBlendSpacePerLayer) {
        p->pcc_enable = 0;
        prepare(p, kGridSetTuned, kLayerBitDepth);
        s.inverseSum = layerLut(s, i, HLG_lut3d_process, s.inverseSum);
        // "Inverse" although this is the forward HLG pipeline: intended.
        HDRTM_LOGI("Line: %d Inverse Checksum = %d", kLineHlgPerLayer,
                   static_cast<int>(s.inverseSum));
    } else if (s.blendSpace == kBlendSpaceHlg) {
        if (blendTaken(s.luts)) {
            // Standard output, not the log, and no newline: intended.
            std::printf("blending space can't be SPACE_HLG!");
            return LayerResult::kRefused;
        }
        if (p->pcc_enable == 0) {
            clearLayer(s.luts, i);
            return LayerResult::kDone;
        }
        HDRTM_LOGI("HLG_lut3d_process : peakLuma = %d  blackLevel = %f", p->panel_max_luminance,
                   p->panel_min_luminance);
        setGamutMode(p, kGamutMapping);
        prepare(p, kGridSetTuned, kHardwareBitDepth);
        HLG_lut3d_process(p, s.planes);
        hardwareLut(s, i, HardwareBranch::kHlg);
    }
    return LayerResult::kDone;
}

void sdrLayer(CallState& s, int i) {
    TMParams* p = &s.params;
    if (s.blendSpace != kBlendSpacePq && s.blendSpace != kBlendSpaceHlg) {
        clearLayer(s.luts, i);
        return;
    }
    p->inverse_bt2020_luma = 0;
    prepare(p, kGridSetUniform, kLayerBitDepth);
    s.inverseSum = layerLut(s, i,
                            s.blendSpace == kBlendSpacePq ? inverse_lut3d_process
                                                          : HLG_inverse_lut3d_process,
                            s.inverseSum);
    HDRTM_LOGE("Inverse checksum = %d", static_cast<int>(s.inverseSum));
}

LayerResult runLayer(CallState& s, const HdrLayerColorInfo& layer, int i) {
    if (layer.transfer == kTransferPq) return pqLayer(s, i);
    if (layer.transfer == kTransferHlg) return hlgLayer(s, i);
    if (layer.transfer == kTransferBt709 || layer.content_class == kContentClassSdr) sdrLayer(s, i);
    return LayerResult::kDone;
}

}  // namespace

int playbackStrategies(HdrPlaybackInfo* info, HdrLutSet* luts) {
    // A call without its records cannot be answered: refused before anything
    // is touched.
    if (info == nullptr || luts == nullptr || info->layers == nullptr ||
        luts->layer_lut_applied == nullptr || luts->blend_lut == nullptr) {
        return 0;
    }
    std::lock_guard<std::mutex> lock(gEntryMutex);
    HDRTM_LOGE("HDR_playback_strategies ++++++++++++");
    CallState s;
    std::memset(&s.params, 0, sizeof(s.params));
    TMParams* p = &s.params;
    s.luts = luts;
    s.blendSpace = info->blend_space;
    // More than four layers are treated as four; a layer without a
    // descriptor is skipped.
    const int layerCount = std::min<int>(info->num_layers, kMaxLayers);
    const HdrLayerColorInfo* layers = info->layers;
    for (int i = 0; i < layerCount; ++i) {
        if (luts->layer_luts[i] != nullptr) clearLayer(luts, i);
    }

    char path[PROPERTY_VALUE_MAX];
    bool tuned = false;
    if (property_get(kTuningProperty, path, nullptr) < 1) {
        HDRTM_LOGE("HDR xml File not present, default values are used.");
    } else {
        HDRTM_LOGE("file name: %s", path);
        if (access(path, R_OK) == -1) {
            HDRTM_LOGE("default values are applied");
        } else {
            tuned = true;
        }
    }
    if (tuned) {
        loadTuningOnce(path, p);
        if (p->enableM == 0) clipLumaFromLayers(p, layers, layerCount);
    } else {
        set_default_vals(p);
    }
    const LinearScaleChoice scale = applyLinearScale(p);
    if (p->version == 1) CalCurveLUT(p);
    logSettings(*p, scale);

    p->inverse_bt2020_luma = 0;
    setGamutMode(p, kGamutMapping);
    p->out_bit_depth = kLayerBitDepth;
    p->pcc_enable = info->hw_enable;
    // The per-call PCC block is zero-filled, so a PCC read that fails never
    // feeds uninitialised memory into a LUT.
    auto pcc = std::make_unique<PccCoefficients>();
    p->pcc = pcc.get();

    if (info->hw_enable != 0 && !managerHeld()) acquireManager();
    if (managerHeld()) readVirtualPcc(p->pcc);

    fillGrids(p);
    auto planeBlock = std::make_unique_for_overwrite<float[]>(kPlaneCount * kLutPoints);
    for (int c = 0; c < kPlaneCount; ++c) s.planes[c] = planeBlock.get() + c * kLutPoints;
    // Only `enabled`: the reserved flag is cleared where a row takes or drops
    // the blend LUT.
    luts->blend_lut->enabled = 0;

    s.forwardSum = 0;
    s.inverseSum = 0;
    // The two refusals return at once and keep a held colour manager for the
    // next call; the PCC block and the planes are still released.
    for (int8_t i = 0; i < layerCount; ++i) {
        if (luts->layer_luts[i] == nullptr) continue;
        if (runLayer(s, layers[i], i) == LayerResult::kRefused) return 0;
    }

    pcc.reset();
    p->pcc = nullptr;
    releaseManager();
    HDRTM_LOGE("HDR_playback_strategies -----------");
    planeBlock.reset();
    return 1;
}

}  // namespace hdrtm

extern "C" int HDR_playback_strategies(HdrPlaybackInfo* info, HdrLutSet* luts) {
    return hdrtm::playbackStrategies(info, luts);
}

// Exported for compatibility: no effect.
int hdr_to_hdr_tm() { return 0; }
