// Colour conversion tables and the luminance-replacement step shared by
// XYZ2rgb and the tone-mapping cores.
#pragma once

#include <cstdint>

#include "tm_common.h"

namespace hdrtm {

using Matrix3 = float[3][3];

// Primaries conversions indexed by IndexRGB (rows give output R, G, B).
extern const Matrix3 kPrimariesConversion[6];

// Primaries index: 0 sRGB/BT.709, 1 Adobe RGB, 2 Display P3, 3 BT.2020.
constexpr int kPrimariesBt709 = 0;
constexpr int kPrimariesBt2020 = 3;
constexpr int kPrimariesCount = 4;
extern const Matrix3 kRgbToXyz[kPrimariesCount];
extern const Matrix3 kXyzToRgb[kPrimariesCount];

// BT.2020 luminance weights: the Y row of the BT.2020 RGB-to-XYZ matrix,
// summed in the order R, G, B everywhere in the engine.
constexpr float kBt2020LumaR = 0.2627f;
constexpr float kBt2020LumaG = 0.678f;
constexpr float kBt2020LumaB = 0.0593f;
// BT.709 luminance weights: the Y row of the BT.709 RGB-to-XYZ matrix.
constexpr float kBt709LumaR = 0.212639f;
constexpr float kBt709LumaG = 0.715169f;
constexpr float kBt709LumaB = 0.072192f;

// BT.2020 luminance of a linear RGB point, summed R, G, B in that order.
inline float bt2020Luminance(float r, float g, float b) {
    return (r * kBt2020LumaR + g * kBt2020LumaG) + b * kBt2020LumaB;
}

// CIE Lab f(t) above (6/29)^3: the cube root, as a power.
constexpr float kLabCubeRootExponent = 0.33333334f;

// D65 white ratios X/Y and Z/Y.
constexpr float kD65XOverY = 0.9505f;
constexpr float kD65ZOverY = 1.0891f;

// out[r] = m[r][0]*in0 + m[r][1]*in1 + m[r][2]*in2 for `count` points; all
// inputs of a point are read before its outputs are written, so `out` may be
// `in`.
void applyMatrix(const Matrix3& m, float* const* in, float* const* out, unsigned int count);

// Replaces the luminance of `count` XYZ points by lumaAfter (ratio
// lumaAfter/lumaBefore; a point with Y exactly 0 becomes a zero-luminance
// neutral), converts to BT.2020 RGB and clamps each channel to [0, 1].
void replaceLuminanceToBt2020(const float* lumaBefore, const float* lumaAfter, float* const* xyz,
                              float* const* rgb, unsigned int count);

}  // namespace hdrtm
