// The logarithmic tone curve (parametric and tabulated), the conversion of the
// tuned control points, and luminance tone mapping of a plane.
#include "tone_curve.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tm_stages.h"
#include "transfer_functions.h"

namespace hdrtm {

namespace {

// Converts a PQ table value to nits for the control points: 9999.999, not
// 10000; kept as it is.
constexpr float kControlPointPqScale = floatFromBits(0x461C3FFF);
// Added before the log of a control-point input so that code 0 stays finite.
constexpr float kControlPointLogOffset = 0.0005f;
// Largest 10-bit panel code.
constexpr float kPanelCodeMax = 1023.0f;
// Panel code to relative linear light: power 2.2.
constexpr float kPanelDecodeGamma = 2.2f;
// Floor of the panel black level in relative light: 0.0005 nits.
constexpr float kMinLuminanceFloor = floatFromBits(0x3356BF96);
// Base of the curve's logarithms.
constexpr float kLogBase = 10.0f;
// Points the curve and the forward luminance mapping work on at a time, with
// their scratch on the stack.
constexpr uint32_t kCurveBlock = 256;
// Placeholder log luminance of a point that is not positive.
constexpr float kNotMapped = std::numeric_limits<float>::quiet_NaN();

}  // namespace

LogCurve makeLogCurve(float yMin, float yMax, float k, float xMax, unsigned char mode, float xMin,
                      float yToe, float yShoulder, float intercept, float slope) {
    LogCurve c;
    c.xMin = xMin;
    c.yMin = yMin;
    c.yToe = yToe;
    c.yShoulder = yShoulder;
    c.yMax = yMax;
    c.slope = slope;
    c.intercept = intercept;
    c.xToe = (yToe - intercept) / slope;
    c.xShoulder = (yShoulder - intercept) / slope;
    if (mode == kCurveModeGivenExponent) {
        c.shoulderExponent = k;
        c.shoulderSpan = (yMax - yShoulder) / (slope / k);
        c.xMax = c.xShoulder + c.shoulderSpan;
    } else {
        c.xMax = xMax;
        c.shoulderSpan = xMax - c.xShoulder;
        c.shoulderExponent = c.shoulderSpan * slope / (yMax - yShoulder);
    }
    c.toeExponent = (c.xToe - xMin) * slope / (yToe - yMin);
    c.toeWidth = c.xToe - xMin;
    c.toeGain = c.toeWidth * (slope / c.toeExponent);
    c.shoulderGain = c.shoulderSpan * (slope / c.shoulderExponent);
    return c;
}

// The toe and the shoulder meet the straight segment with equal slope. A NaN
// input fails every test and takes the last piece.
//
// Block by block, in two passes: the first finds each point's piece and works
// out everything but the power, without a branch, so that it vectorises; the
// second makes the toe and shoulder powers, in point order. Every value is the
// one the pieces' own formulas give (yMax - g p is yMax + (-g) p exactly).
HDRTM_VECTOR_CLONES
void logCurveForward(const LogCurve& curve, float* values, uint32_t count) {
    // Scalars, not the record's fields, so that the compiler sees they do
    // not change while the scratch is written.
    const float xMin = curve.xMin, xToe = curve.xToe, xShoulder = curve.xShoulder;
    const float xMax = curve.xMax, yMin = curve.yMin, yMax = curve.yMax;
    const float slope = curve.slope, intercept = curve.intercept;
    const float toeWidth = curve.toeWidth, shoulderSpan = curve.shoulderSpan;
    const float toeExponent = curve.toeExponent, shoulderExponent = curve.shoulderExponent;
    const float toeGain = curve.toeGain, shoulderGain = -curve.shoulderGain;
    float base[kCurveBlock];
    float exponent[kCurveBlock];
    float gain[kCurveBlock];
    uint32_t needsPower[kCurveBlock];
    for (uint32_t start = 0; start < count; start += kCurveBlock) {
        float* const x = values + start;
        const uint32_t n = std::min(count - start, kCurveBlock);
        for (uint32_t j = 0; j < n; ++j) {
            const float v = x[j];
            const bool pastMin = !(v < xMin);
            const bool toe = pastMin & (v < xToe);
            const bool pastToe = pastMin & !(v < xToe);
            const bool linear = pastToe & (v < xShoulder);
            const bool shoulder = pastToe & !(v < xShoulder) & (v <= xMax);
            const float toeBase = (v - xMin) / toeWidth;
            const float shoulderBase = (xMax - v) / shoulderSpan;
            base[j] = toe ? toeBase : shoulderBase;
            exponent[j] = toe ? toeExponent : shoulderExponent;
            gain[j] = toe ? toeGain : shoulderGain;
            // A toe or shoulder point holds its piece's end value until its
            // power is added.
            float y = pastMin ? yMax : yMin;
            y = linear ? slope * v + intercept : y;
            x[j] = toe ? yMin : y;
            needsPower[j] = toe | shoulder;
        }
        for (uint32_t j = 0; j < n; ++j) {
            if (needsPower[j]) x[j] = x[j] + gain[j] * powf(base[j], exponent[j]);
        }
    }
}

float logCurveInverse(const LogCurve& c, float y) {
    if (y < c.yMin) return c.xMin;
    if (y < c.yToe) {
        const float e = c.toeExponent;
        return c.xMin +
               (c.xToe - c.xMin) * powf((y - c.yMin) / (c.xToe - c.xMin) * e / c.slope, 1.0f / e);
    }
    if (y < c.yShoulder) return (y - c.intercept) / c.slope;
    if (y <= c.yMax) {
        const float k = c.shoulderExponent;
        const float span = c.shoulderSpan;
        return c.xMax - span * powf((c.yMax - y) / span * k / c.slope, 1.0f / k);
    }
    return c.xMax;
}

// The search for the upper point j of the bracketing pair starts a quarter or
// a half into the table and never passes the last point, so an input beyond
// either end extrapolates the end segment. With fewer than two points the
// first two slots are used; nothing outside the 24 slots is read.
float interpolateControlPoints(const float* in, const float* out, uint32_t count, float v) {
    const uint32_t n = std::min(count, static_cast<uint32_t>(kToneCurveMaxPoints));
    const uint32_t half = n / 2;
    const uint32_t quarter = n / 4;
    const uint32_t last = n < 2 ? 1 : n - 1;
    uint32_t j;
    if (in[half] < v && in[half + quarter] < v) {
        j = half + quarter + 1;
    } else if (in[half] < v) {
        j = half + 1;
    } else if (in[quarter] < v) {
        j = quarter + 1;
    } else {
        j = 1;
    }
    j = std::min(j, last);
    while (j < last && !(in[j] >= v)) ++j;
    const float t = (v - in[j - 1]) / (in[j] - in[j - 1]);
    return out[j] * t + out[j - 1] * (1.0f - t);
}

}  // namespace hdrtm

float logTM(float x, float yMin, float yMax, float k, float xMax, unsigned char mode, float xMin,
            float yToe, float yShoulder, float intercept, float slope) {
    const hdrtm::LogCurve curve =
        hdrtm::makeLogCurve(yMin, yMax, k, xMax, mode, xMin, yToe, yShoulder, intercept, slope);
    hdrtm::logCurveForward(curve, &x, 1);
    return x;
}

float logTMInverse(float y, float yMin, float yMax, float k, float xMax, unsigned char mode,
                   float xMin, float yToe, float yShoulder, float intercept, float slope) {
    const hdrtm::LogCurve curve =
        hdrtm::makeLogCurve(yMin, yMax, k, xMax, mode, xMin, yToe, yShoulder, intercept, slope);
    return hdrtm::logCurveInverse(curve, y);
}

// The count is read as unsigned: a negative count uses all 24 slots.
float logTM_LUT(float x, toneMapperLUT* table) {
    return hdrtm::interpolateControlPoints(table->points_x, table->points_y,
                                           static_cast<uint32_t>(table->num_points), x);
}

float logTMInverse_LUT(float y, toneMapperLUT* table) {
    return hdrtm::interpolateControlPoints(table->points_y, table->points_x,
                                           static_cast<uint32_t>(table->num_points), y);
}

// Control points from 10-bit codes to log10 nits, in place: inputs are PQ
// codes of the content, outputs panel codes. At most the 24 slots are
// converted and each PQ table index is clamped into the table.
void CalCurveLUT(TMParams* params) {
    using namespace hdrtm;
    const int32_t count = params->curve.num_points;
    if (count < 1) return;
    const int n = std::min(count, static_cast<int32_t>(kToneCurveMaxPoints));
    float* xs = params->curve.points_x;
    float* ys = params->curve.points_y;
    const float minNits = params->panel_min_luminance;
    const float maxNits = static_cast<float>(params->panel_max_luminance);

    for (int i = 0; i < n; ++i) {
        const int32_t code = std::clamp(floatToInt32(xs[i]), 0, kDecodeTableSize - 1);
        xs[i] = static_cast<float>(kPqDecodeTable[code]);
    }
    for (int i = 0; i < n; ++i) {
        ys[i] = powf(clampUnitKeepNaN(ys[i] / kPanelCodeMax), kPanelDecodeGamma);
    }
    for (int i = 0; i < n; ++i) {
        xs[i] = log10f(xs[i] * kControlPointPqScale + kControlPointLogOffset);
        ys[i] = log10f(minNits + ys[i] * (maxNits - minNits));
    }
}

// Luminance through the tone curve, one plane. Forward: content luminance to
// the panel's range (0 at black, 1 at peak). Inverse: panel-relative values to
// absolute luminance, with no linear scale. A luminance that is not positive
// (NaN included) maps to the panel black level.
HDRTM_VECTOR_CLONES
void yTM(TMParams* params, float* lumaIn, float* lumaOut) {
    using namespace hdrtm;
    const float panelMaxNits = static_cast<float>(params->panel_max_luminance);
    const uint32_t gridSize = params->grid_size;
    const bool inverse = params->map_direction != MAP_FORWARD;
    const bool brightEnable = params->bright_enable == 1;
    const float sysGamma = params->sysGamma;
    const bool linearScale = params->linearScale == 1;
    const float scaleRatio = params->ratio;
    const bool useTable = params->version == kToneCurveTableVersion;
    toneMapperLUT* table = &params->curve;

    float lMin = params->panel_min_luminance / kNitsPerUnit;
    if (lMin < kMinLuminanceFloor) lMin = kMinLuminanceFloor;
    const float yMin = log10f(lMin * kNitsPerUnit);
    const float lMax = panelMaxNits / kNitsPerUnit;
    const float yMax = log10f(panelMaxNits);

    const float xMin = log10f(params->t0);
    const float yToe = log10f(params->intl);
    const float yShoulder = log10f(params->inth);
    const float slope = params->slope;
    // The straight segment maps the pivot to itself unless LinearBoost, as a
    // gain floor, is larger.
    float intercept = log10f(params->pivot) * (1.0f - slope);
    const float boostIntercept = log10f(params->LinearBoost);
    if (!(boostIntercept < intercept)) intercept = boostIntercept;
    // Shoulder: enableM 0 fixes xMax at the clipping luminance and the curve
    // derives k; otherwise k = sharp and the curve derives xMax. The curve
    // tests its mode against 1, so another nonzero enableM also derives k,
    // from the clipping luminance, which is therefore handed over in any case.
    const unsigned char mode = params->enableM;
    float k = 0.0f;
    const float xMax = log10f(params->clipLuma);
    if (mode != 0) k = params->sharp;
    const LogCurve curve =
        makeLogCurve(yMin, yMax, k, xMax, mode, xMin, yToe, yShoulder, intercept, slope);

    float lo = 0.0f;
    float hi = 0.0f;
    if (brightEnable) {
        lo = params->tlower / kNitsPerUnit;
        hi = params->tupper / kNitsPerUnit;
    }
    float knee = 0.0f;
    if (linearScale) knee = params->scaleStart / kNitsPerUnit;

    const uint32_t count = gridSize * gridSize * gridSize;
    if (!inverse) {
        // Run as passes so that the maths calls of neighbouring points do not
        // wait on each other; each point goes through the same steps, with the
        // same calls, as in one loop.
        const float invSysGamma = 1.0f / sysGamma;
        if (brightEnable) {
            for (uint32_t i = 0; i < count; ++i) {
                float y = lumaIn[i];
                if (lo < y && y < hi) y = lo + (hi - lo) * powf((y - lo) / (hi - lo), invSysGamma);
                lumaOut[i] = y;
            }
        } else {
            for (uint32_t i = 0; i < count; ++i) lumaOut[i] = lumaIn[i];
        }
        if (linearScale) {
            for (uint32_t i = 0; i < count; ++i) {
                const float y = lumaOut[i];
                lumaOut[i] = y > knee ? knee + (y - knee) * scaleRatio : y;
            }
        }
        // lumaOut holds the adjusted luminance; the curve works block by block
        // on the stack.
        float mapped[kCurveBlock];
        for (uint32_t start = 0; start < count; start += kCurveBlock) {
            float* const y = lumaOut + start;
            const uint32_t n = std::min(count - start, kCurveBlock);
            // A point that is not positive gets NaN, which the curve passes
            // through without a power; its result is not used.
            for (uint32_t j = 0; j < n; ++j) {
                mapped[j] = y[j] > 0.0f ? log10f(y[j] * kNitsPerUnit) : kNotMapped;
            }
            if (useTable) {
                for (uint32_t j = 0; j < n; ++j) {
                    if (y[j] > 0.0f) mapped[j] = logTM_LUT(mapped[j], table);
                }
            } else {
                logCurveForward(curve, mapped, n);
            }
            for (uint32_t j = 0; j < n; ++j) {
                if (y[j] > 0.0f) mapped[j] = powf(kLogBase, mapped[j]);
            }
            // A luminance that is not positive maps to the panel black level.
            for (uint32_t j = 0; j < n; ++j) {
                const float l = y[j] > 0.0f ? mapped[j] / kNitsPerUnit : lMin;
                y[j] = (l - lMin) / (lMax - lMin);
            }
        }
    } else {
        for (uint32_t i = 0; i < count; ++i) {
            const float y = lMin + (lMax - lMin) * lumaIn[i];
            float l = lMin;
            if (y > 0.0f) {
                const float x = log10f(y * kNitsPerUnit);
                const float mapped =
                    useTable ? logTMInverse_LUT(x, table) : logCurveInverse(curve, x);
                l = powf(kLogBase, mapped) / kNitsPerUnit;
            }
            if (brightEnable && lo < l && l < hi) {
                l = lo + (hi - lo) * powf((l - lo) / (hi - lo), sysGamma);
            }
            lumaOut[i] = l;
        }
    }
}
