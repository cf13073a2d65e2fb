// Transfer functions: decode tables and the encoders shared by the exported
// transfer functions and the LUT pipelines.
#pragma once

#include <cstdint>

#include "tm_common.h"

namespace hdrtm {

constexpr int kDecodeTableSize = 1024;  // entry i belongs to the signal i/1023

// Decode tables, built once and shared by every user.
// PQ: ST 2084 EOTF, 1.0 = 10000 cd/m2; entries 66..1023 rounded to six
// decimals, 1..65 to fifteen.
extern const double kPqDecodeTable[kDecodeTableSize];
// HLG: BT.2100 inverse OETF, scene light in [0, 1], six decimals.
extern const double kHlgDecodeTable[kDecodeTableSize];
// sRGB EOTF, six decimals.
extern const double kSrgbDecodeTable[kDecodeTableSize];
// BT.709 inverse OETF, six decimals.
extern const double kBt709DecodeTable[kDecodeTableSize];

// Exponents of the transfer functions' powers.
// ST 2084 m1 = 2610/16384
constexpr float kPqM1 = 0.1593017578125f;
// ST 2084 m2 = 2523/4096 x 128
constexpr float kPqM2 = 78.84375f;
// BT.709 OETF: 1.099 L^0.45 - 0.099.
constexpr float kBt709Exponent = 0.45f;
// sRGB: 1.055 L^(1/2.4) - 0.055, the exponent the float nearest 1/2.4.
constexpr float kSrgbExponent = 0.41666666f;
// Power 2.2 decoding exponent.
constexpr float kGamma2p2DecodeExponent = 2.2f;
// Power 1/2.2 encoding exponent: the float quotient 1.0f/2.2f, one unit in the
// last place below the float nearest to 1/2.2. Kept as it is.
constexpr float kGamma2p2EncodeExponent = floatFromBits(0x3EE8BA2E);

// sRGB encoding (IEC 61966-2-1), in place, of `count` samples of linear
// light in [0, 1] (NaN passes).
void srgbEncodeSamples(float* samples, unsigned int count);
// BT.709 OETF, in place, of `count` samples of linear light in [0, 1].
void bt709EncodeSamples(float* samples, unsigned int count);
// Scene light is scaled by 12 so that the HLG knee 1/12 becomes 1.0.
constexpr float kHlgSceneScale = 12.0f;
// HLG OETF, in place, of `count` samples of scene light times `scale`; a
// scale of 12 puts the knee at 1.0.
void hlgEncodeScaledSamples(float* samples, unsigned int count, float scale);

}  // namespace hdrtm
