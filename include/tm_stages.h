// Exported stage functions of the tone-mapping engine. Each works in place on
// sample planes: float** points at three planes R, G, B, and grid point
// (r, g, b) lies at index (b * n + g) * n + r of every plane.
#pragma once

#include <cstdint>

#include "hdr_tm_export.h"
#include "tm_params.h"

// One 32-bit word of three 10-bit codes; bits 30-31 belong to the caller.
struct Color10Bit {
    uint32_t r : 10;
    uint32_t g : 10;
    uint32_t b : 10;
    uint32_t caller_bits : 2;
};
static_assert(sizeof(Color10Bit) == 4);

// --- Transfer functions ("forward" = linear to signal, "inverse" = signal to linear)
HDRTM_EXPORT void st2084_inverse_tf(float** planes, unsigned int count, unsigned int planeCount,
                                    unsigned short inMax, unsigned short outScale);
HDRTM_EXPORT void st2084_forward_tf(float** planes, unsigned int count, unsigned short inScale,
                                    unsigned short outScale);
HDRTM_EXPORT void HLG_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                                 unsigned short inScale, unsigned short outScale);
HDRTM_EXPORT void HLG_inverse_tf(float** planes, unsigned int count, unsigned short inMax,
                                 unsigned short outScale);
HDRTM_EXPORT void bt709_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                                   unsigned short inScale, unsigned short outScale);
HDRTM_EXPORT void bt709_inverse_tf(float** planes, unsigned int count, unsigned short inMax,
                                   unsigned short outScale);
HDRTM_EXPORT void sRGB_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                                  unsigned short inScale, unsigned short outScale);
HDRTM_EXPORT void sRGB_inverse_tf(float** planes, unsigned int count, unsigned short inMax,
                                  unsigned short outScale);
HDRTM_EXPORT void gamma2p2_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                                      unsigned short inScale, unsigned short outScale);
HDRTM_EXPORT void gamma2p2_inverse_tf(float** planes, unsigned int count, unsigned short planeCount,
                                      unsigned short inScale, unsigned short outScale);
HDRTM_EXPORT void gamma_custom_forward_tf(float gamma, float** planes, unsigned int count,
                                          unsigned short planeCount, unsigned short inScale,
                                          unsigned short outScale);
HDRTM_EXPORT float Clipping(float value, float lower, float upper);
HDRTM_EXPORT void OOTF_forward_tf(float** planes, unsigned int count, unsigned short unused1,
                                  unsigned short unused2, float peak);
HDRTM_EXPORT void OOTF_inverse_tf(float** planes, unsigned int count, unsigned short unused1,
                                  unsigned short unused2, float peak);

// --- Colour conversion and panel correction
HDRTM_EXPORT void rgb2rgb_conv(float** planes, IndexRGB conversion, unsigned int count);
HDRTM_EXPORT void rgb2xyz(TMParams* params, unsigned char primaries, float** rgb, float** xyz);
HDRTM_EXPORT void xyz2rgb(TMParams* params, unsigned char primaries, float** xyz, float** rgb);
HDRTM_EXPORT void xyz2lab(TMParams* params, float** xyz, float** lab);
HDRTM_EXPORT void XYZ2rgb(TMParams* params, float* lumaBefore, float* lumaAfter, float** xyz,
                          float** rgb);
HDRTM_EXPORT void rgb2rgb_gmap(TMParams* params, float** planes);
HDRTM_EXPORT void panel_mapping_PCC(TMParams* params, float** planes);

// --- Tone curve, luminance mapping, saturation and cores
HDRTM_EXPORT float logTM(float x, float yMin, float yMax, float k, float xMax, unsigned char mode,
                         float xMin, float yToe, float yShoulder, float intercept, float slope);
HDRTM_EXPORT float logTMInverse(float y, float yMin, float yMax, float k, float xMax,
                                unsigned char mode, float xMin, float yToe, float yShoulder,
                                float intercept, float slope);
HDRTM_EXPORT float logTM_LUT(float x, toneMapperLUT* table);
HDRTM_EXPORT float logTMInverse_LUT(float y, toneMapperLUT* table);
HDRTM_EXPORT void CalCurveLUT(TMParams* params);
HDRTM_EXPORT void yTM(TMParams* params, float* lumaIn, float* lumaOut);
HDRTM_EXPORT float satGain(float luma, float lowerNits, float upperNits, float maxGain);
HDRTM_EXPORT void rgbSatBoost(float** planes, unsigned int count, float lowerNits, float upperNits,
                              float maxGain, MAP_DIRECTION direction);
HDRTM_EXPORT void tone_mapping_core(TMParams* params, float** planes);
HDRTM_EXPORT void inverse_tone_mapping_core(TMParams* params, float** planes);

// --- LUT grid and pipelines
HDRTM_EXPORT void input_gen(unsigned int (*grid)[kGridPointsPerAxis], float** planes,
                            unsigned char pointsPerAxis);
HDRTM_EXPORT void nonuniformity_mapping(unsigned int (*grid)[kGridPointsPerAxis], Color10Bit* out);
HDRTM_EXPORT void lut3d_process(TMParams* params, float** planes);
HDRTM_EXPORT void HLG_lut3d_process(TMParams* params, float** planes);
HDRTM_EXPORT void inverse_lut3d_process(TMParams* params, float** planes);
HDRTM_EXPORT void HLG_inverse_lut3d_process(TMParams* params, float** planes);
