// Tone curve and luminance mapping: the five-piece logarithmic curve with its
// derived quantities, and the control-point table lookup.
#pragma once

#include <cstdint>

#include "cr_maths.h"
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

// Floor of the panel black level in relative light: 0.0005 nits.
constexpr float kMinLuminanceFloor = floatFromBits(0x3356BF96);

// The panel black level in relative light, floored (a NaN black stays NaN).
inline float panelBlackLevel(const TMParams& params) {
    return maxOf(params.panel_min_luminance / kNitsPerUnit, kMinLuminanceFloor);
}

// The arguments of makeLogCurve (and of logTM and logTMInverse), in their
// order, as yTM derives them from a record: output floor and ceiling,
// shoulder exponent and end, mode, toe start, toe and shoulder outputs, the
// straight segment's intercept and slope. Inline, so that the tools hand the
// exported curve functions the very same arguments.
struct ToneCurveArguments {
    float yMin = 0.0f, yMax = 0.0f, k = 0.0f, xMax = 0.0f;
    unsigned char mode = 0;
    float xMin = 0.0f, yToe = 0.0f, yShoulder = 0.0f, intercept = 0.0f, slope = 0.0f;
};

inline ToneCurveArguments toneCurveArguments(const TMParams& params) {
    ToneCurveArguments a;
    const float panelMaxNits = static_cast<float>(params.panel_max_luminance);
    a.yMin = crLog10f(panelBlackLevel(params) * kNitsPerUnit);
    a.yMax = crLog10f(panelMaxNits);
    a.xMin = crLog10f(params.t0);
    a.yToe = crLog10f(params.intl);
    a.yShoulder = crLog10f(params.inth);
    a.slope = params.slope;
    // The straight segment maps the pivot to itself unless LinearBoost, as a
    // gain floor, is larger.
    const float pivotIntercept = crLog10f(params.pivot) * (1.0f - a.slope);
    a.intercept = maxOf(crLog10f(params.LinearBoost), pivotIntercept);
    // Shoulder: enableM 0 fixes xMax at the clipping luminance and the curve
    // derives k. Any other value sets k = sharp and derives xMax here, as the
    // curve's given-exponent mode does; the curve is handed both with enableM
    // as its mode, so 1 re-derives the same xMax and any other value takes
    // this xMax as given and derives k back from it (close to, not always
    // bit-identical with, enableM 1). The clipping luminance reaches the curve
    // only with enableM 0.
    a.mode = params.enableM;
    if (a.mode == 0) {
        a.xMax = crLog10f(params.clipLuma);
    } else {
        a.k = params.sharp;
        const float xShoulder = (a.yShoulder - a.intercept) / a.slope;
        a.xMax = xShoulder + (a.yMax - a.yShoulder) / (a.slope / a.k);
    }
    return a;
}
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
