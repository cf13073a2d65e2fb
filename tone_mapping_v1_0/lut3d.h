// LUT sampling grids, the sample-plane fill and the four LUT pipelines.
#pragma once

#include <cstdint>

#include "tm_common.h"
#include "tm_params.h"

namespace hdrtm {

// 10-bit code values per axis. The uniform grid ends at 1023, not 1024: its
// last interval is 63 codes wide, on purpose.
extern const uint32_t kUniformGridCodes[kGridPointsPerAxis];
// Dense in the dark and mid tones; used as grid set 0 for version 2.0 tunings.
extern const uint32_t kNonUniformGridCodes[kGridPointsPerAxis];
// The non-uniform points as 12-bit hardware coordinates (x 4096/1023,
// rounded); the last is 4096, one past the 12-bit maximum, on purpose.
extern const uint32_t kHardwareGridCodes[kGridPointsPerAxis];

// Fills n^3 samples of the three planes from a grid table (R fastest).
void fillSamplePlanes(const uint32_t (*grid)[kGridPointsPerAxis], float** planes, unsigned int n);
// The same layout from one value per grid point and axis: sample (r, g, b)
// gets axisValues[0][r], axisValues[1][g], axisValues[2][b].
void fillPlanesFromAxes(const float (*axisValues)[kGridPointsPerAxis], float** planes,
                        unsigned int n);

}  // namespace hdrtm

// --- Pipeline stages, shared by the four LUT pipelines (lut3d_pipelines.cpp)
namespace hdrtm {

// Everything the PQ and HLG forward pipelines do after linearisation: tone
// mapping, the gamut stage chosen by the low two bits of gamut_mode (1 fixed
// matrix, 2 rgb2rgb_gmap), panel correction when pcc_enable is set, the output
// transfer function and the scale to output codes.
void mapLinearLightToPanelCodes(TMParams* params, float** planes);

// Fixed BT.2020-to-panel matrix chosen by panel colour space (sRGB/BT.709,
// Adobe RGB, Display P3); a BT.2020 panel or unknown value is left alone.
// Results are not clamped.
void applyFixedGamutMatrix(float** planes, unsigned int count, uint32_t panelColorMode);

// Output transfer function by OUTPUT_GAMMA_SPACE: each sample clamped to
// [0, 1] (NaN passes) then encoded; GAMMA_LINEAR and unknown values do
// nothing, not even the clamp.
void encodeOutputTransfer(float** planes, unsigned int count, uint32_t outputGammaSpace,
                          float outputGammaVal);

// HLG OETF of scene light in place.
void encodeHlgOetf(float** planes, unsigned int count);

// Clamp to [0, 1] (NaN passes), then multiply by 2^(outBitDepth mod 32) - 1.
// Not rounded.
void scaleToOutputCodes(float** planes, unsigned int count, uint32_t outBitDepth);

}  // namespace hdrtm
