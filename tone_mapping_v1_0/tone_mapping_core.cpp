// Saturation gain and boost, and the forward and inverse tone-mapping cores:
// luminance through the tone curve, chromaticity kept.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "color_conversion.h"
#include "tm_common.h"
#include "tm_stages.h"
#include "tone_curve.h"

namespace hdrtm {

namespace {

// BT.2020 non-constant-luminance Cb and Cr rows over R, G, B (applied to
// linear values here).
constexpr float kBt2020ToCb[3] = {-0.13963f, -0.36037f, 0.5f};
constexpr float kBt2020ToCr[3] = {0.5f, -0.459786f, -0.040214f};
// Back to R, G, B: the Cb and Cr weights of each row; Y has weight 1. The
// zero weights are multiplied out too, so a NaN chroma reaches every channel.
constexpr float kCbCrToRgb[3][2] = {
    {0.0f, 1.4746f},
    {-0.16455f, -0.57135f},
    {1.8814f, 0.0f},
};
// Largest chroma magnitude that stays legal.
constexpr float kChromaLimit = 0.5f;

// Gain 1 below lo, maxGain from hi on, a straight line between (slope is
// (maxGain - 1)/(hi - lo)); a NaN luma takes the line. Written as selects so
// that the boost's loop vectorises.
inline float saturationGain(float luma, float lo, float hi, float slope, float maxGain) {
    float gain = slope * luma + (1.0f - lo * slope);
    gain = hi <= luma ? maxGain : gain;
    return lo > luma ? 1.0f : gain;
}

struct LumaChroma {
    float y, cb, cr;
};

inline LumaChroma toLumaChroma(float r, float g, float b) {
    return {bt2020Luminance(r, g, b),
            kBt2020ToCb[0] * r + kBt2020ToCb[1] * g + kBt2020ToCb[2] * b,
            kBt2020ToCr[0] * r + kBt2020ToCr[1] * g + kBt2020ToCr[2] * b};
}

// The gain, cut to the factor that keeps both chroma components within
// [-0.5, 0.5]; a point without chroma gets 0. The quotient is taken for
// every point and kept only where there is chroma, so that the loop has no
// branch. The larger magnitude is maxOf(|cb|, |cr|) taken on the bits: a
// magnitude's bits order as its value does, so it is the larger bits unless
// |cr| is NaN, when maxOf keeps |cb| (a NaN |cb| has the larger bits anyway).
inline float limitedGain(const LumaChroma& p, float lo, float hi, float slope, float maxGain) {
    const float gain = saturationGain(p.y, lo, hi, slope, maxGain);
    const uint32_t cbBits = std::bit_cast<uint32_t>(p.cb) & kFloatMagnitudeMask;
    const uint32_t crBits = std::bit_cast<uint32_t>(p.cr) & kFloatMagnitudeMask;
    const uint32_t largerBits = std::max(cbBits, crBits);
    const float m = std::bit_cast<float>(crBits > kFloatInfinityBits ? cbBits : largerBits);
    const float quotient = kChromaLimit / m;
    const float limit = m > 0.0f ? quotient : 0.0f;
    // minOf(gain, limit), the limit never being NaN: gain - limit is above 0
    // exactly when the limit is below the gain (infinite or NaN gains
    // included), and a test of the difference is not a minimum that a
    // compiler could turn into an instruction, as it can a test of the two.
    return selectValue(gain - limit > 0.0f, limit, gain);
}

// One channel of the way back from luma and chroma, clamped.
inline float rgbChannel(int c, float y, float cb, float cr) {
    return clampUnitKeepNaN(y + kCbCrToRgb[c][0] * cb + kCbCrToRgb[c][1] * cr);
}

// Luminance of the RGB planes replaced by its tone-mapped value, chromaticity
// kept; the result is BT.2020 whatever primaries `rgbToXyz` is for. The
// scratch is allocated and released even when the grid is empty.
void mapLuminance(TMParams* params, float** planes, const Matrix3& rgbToXyz) {
    const uint32_t gridSize = params->grid_size;
    const uint32_t count = gridSize * gridSize * gridSize;
    const size_t planeSize = count;
    float* xyz = new float[kPlaneCount * planeSize];
    float* lumaAfter = new float[planeSize];
    float* xyzPlanes[kPlaneCount] = {xyz, xyz + planeSize, xyz + 2 * planeSize};
    if (count > 0) applyMatrix(rgbToXyz, planes, xyzPlanes, count);
    yTM(params, xyzPlanes[1], lumaAfter);
    replaceLuminanceToBt2020(xyzPlanes[1], lumaAfter, xyzPlanes, planes, count);
    delete[] lumaAfter;
    delete[] xyz;
}

void boostSaturation(TMParams* params, float** planes) {
    if (params->sat_enable != 1) return;
    const uint32_t gridSize = params->grid_size;
    rgbSatBoost(planes, gridSize * gridSize * gridSize, params->t1, params->t2, params->kmax,
                static_cast<MAP_DIRECTION>(params->map_direction));
}

}  // namespace

}  // namespace hdrtm

float satGain(float luma, float lowerNits, float upperNits, float maxGain) {
    using namespace hdrtm;
    const float lo = lowerNits / kNitsPerUnit;
    const float hi = upperNits / kNitsPerUnit;
    return saturationGain(luma, lo, hi, (maxGain - 1.0f) / (hi - lo), maxGain);
}

// Chroma multiplied by the gain (forward) or divided by it (any nonzero
// direction), luma kept. The inverse takes its chroma limit from the input's
// own chroma, so a grey point divides 0 by 0 and comes out NaN in all three
// channels: intended.
HDRTM_VECTOR_CLONES
void rgbSatBoost(float** planes, unsigned int count, float lowerNits, float upperNits,
                 float maxGain, MAP_DIRECTION direction) {
    using namespace hdrtm;
    const float lo = lowerNits / kNitsPerUnit;
    const float hi = upperNits / kNitsPerUnit;
    const float slope = (maxGain - 1.0f) / (hi - lo);
    float* const r = planes[0];
    float* const g = planes[1];
    float* const b = planes[2];
    if (direction == MAP_FORWARD) {
        HDRTM_INDEPENDENT_POINTS
        for (unsigned int i = 0; i < count; ++i) {
            const LumaChroma p = toLumaChroma(r[i], g[i], b[i]);
            const float gain = limitedGain(p, lo, hi, slope, maxGain);
            const float cb = p.cb * gain;
            const float cr = p.cr * gain;
            r[i] = rgbChannel(0, p.y, cb, cr);
            g[i] = rgbChannel(1, p.y, cb, cr);
            b[i] = rgbChannel(2, p.y, cb, cr);
        }
    } else {
        HDRTM_INDEPENDENT_POINTS
        for (unsigned int i = 0; i < count; ++i) {
            const LumaChroma p = toLumaChroma(r[i], g[i], b[i]);
            const float gain = limitedGain(p, lo, hi, slope, maxGain);
            const float cb = p.cb / gain;
            const float cr = p.cr / gain;
            r[i] = rgbChannel(0, p.y, cb, cr);
            g[i] = rgbChannel(1, p.y, cb, cr);
            b[i] = rgbChannel(2, p.y, cb, cr);
        }
    }
}

// HDR to the panel's range: saturation first, then luminance.
void tone_mapping_core(TMParams* params, float** planes) {
    using namespace hdrtm;
    boostSaturation(params, planes);
    mapLuminance(params, planes, kRgbToXyz[kPrimariesBt2020]);
}

// Panel range to HDR: luminance first, taken with BT.2020 or BT.709
// primaries, then saturation.
void inverse_tone_mapping_core(TMParams* params, float** planes) {
    using namespace hdrtm;
    const int primaries = params->inverse_bt2020_luma != 0 ? kPrimariesBt2020 : kPrimariesBt709;
    mapLuminance(params, planes, kRgbToXyz[primaries]);
    boostSaturation(params, planes);
}
