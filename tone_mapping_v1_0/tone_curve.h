// Tone curve and luminance mapping: the five-piece logarithmic curve with its
// derived quantities, and the control-point table lookup.
#pragma once

#include <cstdint>

#include "tm_common.h"
#include "tm_params.h"

namespace hdrtm {

// Curve mode in which the shoulder exponent k is given and xMax is derived;
// any other mode takes xMax as given and derives k.
constexpr unsigned char kCurveModeGivenExponent = 1;

// Panel code to relative linear light of the control points: power 2.2.
constexpr float kPanelDecodeGamma = 2.2f;

// `version` value that selects the control-point table over the parametric curve.
constexpr uint32_t kToneCurveTableVersion = 1;

// The five-piece curve in log10 nits with its derived quantities, computed
// once from the parameters of logTM / logTMInverse.
struct LogCurve {
    float xMin, yMin;            // toe start; output floor
    float xToe, yToe;            // toe meets the straight segment
    float xShoulder, yShoulder;  // straight segment meets the shoulder
    float xMax, yMax;            // shoulder reaches the ceiling
    float slope, intercept;      // straight segment
    float toeExponent;           // e
    float shoulderExponent;      // k
    float shoulderSpan;          // xMax - xShoulder
    float toeWidth;              // xToe - xMin
    float toeGain;               // toeWidth * (slope / e)
    float shoulderGain;          // shoulderSpan * (slope / k)
};

LogCurve makeLogCurve(float yMin, float yMax, float k, float xMax, unsigned char mode, float xMin,
                      float yToe, float yShoulder, float intercept, float slope);
// x (log10 nits of the content) to y (log10 nits on the panel), for `count`
// values in place.
void logCurveForward(const LogCurve& curve, float* values, uint32_t count);
// y back to x, for `count` values in place.
void logCurveInverse(const LogCurve& curve, float* values, uint32_t count);
// The control-point table from inputs to outputs (forward: points_x to
// points_y; any other direction the other way), for `count` values in place.
void lookUpControlPoints(const toneMapperLUT& table, MAP_DIRECTION direction, float* values,
                         uint32_t count);

}  // namespace hdrtm
