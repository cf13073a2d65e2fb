// The four LUT pipelines: grid codes in, output code values out, in place in
// the sample planes. Every pipeline starts with the grid fill and a decode
// table; the PQ and HLG forward pipelines then share every panel stage, and
// the two inverse pipelines share their final scale.
#include "lut3d.h"

#include <algorithm>
#include <cmath>

#include "color_conversion.h"
#include "cr_maths.h"
#include "tm_stages.h"
#include "transfer_functions.h"

namespace hdrtm {

namespace {

// The inverse pipelines always sample grid set 1, the uniform grid, whatever
// grid_set says: they never use the tuned grid, on purpose.
constexpr uint32_t kUniformGridSet = 1;

// Value passed for the two 16-bit arguments the OOTF ignores.
constexpr unsigned short kOotfUnusedArg = 0;

// st2084_forward_tf scales: linear 1.0 stands for 10000 cd/m2, PQ out in [0, 1].
constexpr unsigned short kPqLinearScale = 1;
constexpr unsigned short kPqSignalScale = 1;

// Low two bits of gamut_mode pick the gamut stage; 0 and 3 leave the planes.
constexpr uint8_t kGamutModeMask = 0x3;
constexpr uint8_t kGamutModeFixedMatrix = 1;
constexpr uint8_t kGamutModeMapToPanel = 2;

// BT.2020 to BT.709/sRGB panel primaries for the fixed gamut matrix, to seven
// decimals. Deliberately not the six-decimal BT2020_TO_BT709 conversion.
constexpr Matrix3 kBt2020ToBt709PanelMatrix = {
    {1.6603627f, -0.5875401f, -0.0728226f},
    {-0.1245636f, 1.1329114f, -0.0083479f},
    {-0.0181566f, -0.1006018f, 1.1187584f},
};

unsigned int samplesPerPlane(const TMParams& params) {
    const unsigned int n = params.grid_size;
    return n * n * n;
}

// Replaces every sample of the three planes by f(sample). Always inline, so
// that it is built inside every vector variant of its caller.
template <typename F>
[[gnu::always_inline]] inline void forEachSample(float** planes, unsigned int count, F f) {
    for (int k = 0; k < kPlaneCount; ++k) {
        float* plane = planes[k];
        for (unsigned int i = 0; i < count; ++i) plane[i] = f(plane[i]);
    }
}

// Grid fill from set 0 (gridSet 0) or set 1 (any other value), then each code
// replaced by its decode-table entry: the planes hold linear light.
void fillAndLinearise(const TMParams& params, uint32_t gridSet, const double* table,
                      float** planes) {
    const uint32_t (*grid)[kGridPointsPerAxis] = params.grid_points[gridSet == 0 ? 0 : 1];
    // A row holds 17 points: a larger grid size samples the 17-point grid.
    const unsigned int n = std::min(static_cast<unsigned int>(params.grid_size),
                                    static_cast<unsigned int>(kGridPointsPerAxis));
    // Every sample is a grid code, so each code an axis holds is decoded
    // once, exactly as a per-sample decode reads it, and laid out.
    float decoded[kPlaneCount][kGridPointsPerAxis] = {};
    for (int axis = 0; axis < kPlaneCount; ++axis) {
        for (unsigned int p = 0; p < n; ++p) {
            const float code = static_cast<float>(grid[axis][p]);
            decoded[axis][p] = static_cast<float>(table[floatToInt32(code)]);
        }
    }
    fillPlanesFromAxes(decoded, planes, n);
}

// The fixed gamut matrix for a panel colour space; null for a BT.2020 panel
// or an unknown value, which keep their primaries. The Adobe RGB and Display
// P3 matrices are the four-decimal BT.2020 conversions.
const Matrix3* fixedGamutMatrix(uint32_t panelColorMode) {
    switch (panelColorMode) {
        case SPACE_SRGB:
        case SPACE_BT709:
            return &kBt2020ToBt709PanelMatrix;
        case SPACE_ADOBE:
            return &kPrimariesConversion[BT2020_TO_ADOBE];
        case SPACE_DCIP3:
            return &kPrimariesConversion[BT2020_TO_P3];
        default:
            return nullptr;
    }
}

}  // namespace

void applyFixedGamutMatrix(float** planes, unsigned int count, uint32_t panelColorMode) {
    const Matrix3* matrix = fixedGamutMatrix(panelColorMode);
    if (matrix != nullptr) applyMatrix(*matrix, planes, planes, count);
}

HDRTM_VECTOR_CLONES
void encodeOutputTransfer(float** planes, unsigned int count, uint32_t outputGammaSpace,
                          float outputGammaVal) {
    switch (outputGammaSpace) {
        case GAMMA_2P2:
            // The clamp vectorised, then the powers in the maths' plane form.
            forEachSample(planes, count, clampUnitKeepNaN);
            for (int k = 0; k < kPlaneCount; ++k) {
                powPlane(planes[k], count, kGamma2p2EncodeExponent);
            }
            break;
        case GAMMA_SRGB:
            forEachSample(planes, count, clampUnitKeepNaN);
            for (int k = 0; k < kPlaneCount; ++k) srgbEncodeSamples(planes[k], count);
            break;
        case GAMMA_BT709:
            forEachSample(planes, count, clampUnitKeepNaN);
            for (int k = 0; k < kPlaneCount; ++k) bt709EncodeSamples(planes[k], count);
            break;
        case GAMMA_CUSTOM: {
            const float exponent = 1.0f / outputGammaVal;
            forEachSample(planes, count, clampUnitKeepNaN);
            for (int k = 0; k < kPlaneCount; ++k) {
                powPlane(planes[k], count, exponent);
            }
            break;
        }
        default:  // GAMMA_LINEAR and unknown values: no encoding and no clamp
            break;
    }
}

float fullScaleOutputCode(uint32_t outBitDepth) {
    // 2^(bits mod 32) - 1 in unsigned arithmetic: 0 bits (and 32) give 0.
    return static_cast<float>((1u << (outBitDepth % 32u)) - 1u);
}

HDRTM_VECTOR_CLONES
void scaleToOutputCodes(float** planes, unsigned int count, uint32_t outBitDepth) {
    const float fullScale = fullScaleOutputCode(outBitDepth);
    forEachSample(planes, count, [fullScale](float x) { return clampUnitKeepNaN(x) * fullScale; });
}

void encodeHlgOetf(float** planes, unsigned int count) {
    // No clamp first: a negative sample gives NaN, which the final scale keeps.
    for (int k = 0; k < kPlaneCount; ++k) {
        hlgEncodeScaledSamples(planes[k], count, kHlgSceneScale);
    }
}

void mapLinearLightToPanelCodes(TMParams* params, float** planes) {
    const unsigned int count = samplesPerPlane(*params);
    const uint8_t gamutMode = params->gamut_mode & kGamutModeMask;
    const uint32_t panelColorMode = params->panel_color_mode;
    const bool applyPcc = params->pcc_enable != 0;
    const uint32_t outputGammaSpace = params->output_gamma_space;
    const float outputGammaVal = params->output_gamma_val;
    const uint32_t outBitDepth = params->out_bit_depth;

    tone_mapping_core(params, planes);
    if (gamutMode == kGamutModeFixedMatrix) {
        applyFixedGamutMatrix(planes, count, panelColorMode);
    } else if (gamutMode == kGamutModeMapToPanel) {
        rgb2rgb_gmap(params, planes);
    }
    if (applyPcc) panel_mapping_PCC(params, planes);
    encodeOutputTransfer(planes, count, outputGammaSpace, outputGammaVal);
    scaleToOutputCodes(planes, count, outBitDepth);
}

}  // namespace hdrtm

void lut3d_process(TMParams* params, float** planes) {
    hdrtm::fillAndLinearise(*params, params->grid_set, hdrtm::kPqDecodeTable, planes);
    hdrtm::mapLinearLightToPanelCodes(params, planes);
}

void HLG_lut3d_process(TMParams* params, float** planes) {
    hdrtm::fillAndLinearise(*params, params->grid_set, hdrtm::kHlgDecodeTable, planes);
    OOTF_forward_tf(planes, hdrtm::samplesPerPlane(*params), hdrtm::kOotfUnusedArg,
                    hdrtm::kOotfUnusedArg, params->nominal_peak_luminance);
    hdrtm::mapLinearLightToPanelCodes(params, planes);
}

void inverse_lut3d_process(TMParams* params, float** planes) {
    const unsigned int count = hdrtm::samplesPerPlane(*params);
    if (params->inverse_bt2020_luma == 0) {
        // SDR input: expand sRGB light to HDR light.
        hdrtm::fillAndLinearise(*params, hdrtm::kUniformGridSet, hdrtm::kSrgbDecodeTable, planes);
        inverse_tone_mapping_core(params, planes);
    } else {
        // HLG input: the system gamma only, no inverse tone mapping.
        hdrtm::fillAndLinearise(*params, hdrtm::kUniformGridSet, hdrtm::kHlgDecodeTable, planes);
        OOTF_forward_tf(planes, count, hdrtm::kOotfUnusedArg, hdrtm::kOotfUnusedArg,
                        params->nominal_peak_luminance);
    }
    st2084_forward_tf(planes, count, hdrtm::kPqLinearScale, hdrtm::kPqSignalScale);
    hdrtm::scaleToOutputCodes(planes, count, params->out_bit_depth);
}

void HLG_inverse_lut3d_process(TMParams* params, float** planes) {
    const unsigned int count = hdrtm::samplesPerPlane(*params);
    hdrtm::fillAndLinearise(*params, hdrtm::kUniformGridSet, hdrtm::kSrgbDecodeTable, planes);
    inverse_tone_mapping_core(params, planes);
    OOTF_inverse_tf(planes, count, hdrtm::kOotfUnusedArg, hdrtm::kOotfUnusedArg,
                    params->nominal_peak_luminance);
    hdrtm::encodeHlgOetf(planes, count);
    hdrtm::scaleToOutputCodes(planes, count, params->out_bit_depth);
}
