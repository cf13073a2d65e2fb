// The logarithmic tone curve (parametric and tabulated), the conversion of the
// tuned control points, and luminance tone mapping of a plane.
#include "tone_curve.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cr_maths.h"
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
    c.toeWidth = c.xToe - xMin;
    c.toeExponent = c.toeWidth * slope / (yToe - yMin);
    c.toeGain = c.toeWidth * (slope / c.toeExponent);
    c.shoulderGain = c.shoulderSpan * (slope / c.shoulderExponent);
    return c;
}

namespace {

// Where the pieces end along the input axis, in the order they are tested:
// below `start` the floor value, the toe below `toeEnd`, the straight segment
// below `shoulderStart`, the shoulder up to and including `end`, the ceiling
// beyond (NaN too, as it fails every test).
struct PieceEnds {
    float start, toeEnd, shoulderStart, end;
};

// A power piece's value: its end value (the floor for the toe, the ceiling for
// the shoulder) plus gain * base^exponent.
struct PowerPiece {
    float gain, exponent;
};

// The curve in either direction over `count` values in place, block by block,
// in three passes: the first finds each point's piece and works out everything
// but the power, without a branch, so that it vectorises; the second makes the
// toe and shoulder powers, in point order; the third, vectorised, adds them.
// Every value is the bits of its piece's own formula (e - g p is e + (-g) p
// exactly). Everything comes in by value, so the compiler sees it does not
// change while the scratch is written. Always inlined, so that it is built
// for every variant of its callers.
template <typename Line, typename ToeBase, typename ShoulderBase>
[[gnu::always_inline]] inline void evaluatePieces(float* values, uint32_t count, PieceEnds at,
                                                  float floorValue, float ceilingValue, Line line,
                                                  ToeBase toeBase, ShoulderBase shoulderBase,
                                                  PowerPiece toe, PowerPiece shoulder) {
    float base[kCallBlock];
    float exponent[kCallBlock];
    float gain[kCallBlock];
    uint32_t needsPower[kCallBlock];
    for (uint32_t start = 0; start < count; start += kCallBlock) {
        float* const x = values + start;
        const uint32_t n = std::min(count - start, kCallBlock);
        for (uint32_t j = 0; j < n; ++j) {
            const float v = x[j];
            const bool pastStart = !(v < at.start);
            const bool inToe = pastStart & (v < at.toeEnd);
            const bool pastToe = pastStart & !(v < at.toeEnd);
            const bool inLine = pastToe & (v < at.shoulderStart);
            const bool inShoulder = pastToe & !(v < at.shoulderStart) & (v <= at.end);
            const float toeB = toeBase(v);
            const float shoulderB = shoulderBase(v);
            base[j] = inToe ? toeB : shoulderB;
            exponent[j] = inToe ? toe.exponent : shoulder.exponent;
            gain[j] = inToe ? toe.gain : shoulder.gain;
            // A toe or shoulder point holds its piece's end value until its
            // power is added.
            float y = pastStart ? ceilingValue : floorValue;
            y = inLine ? line(v) : y;
            x[j] = inToe ? floorValue : y;
            needsPower[j] = inToe | inShoulder;
        }
        powPlanePerSample(base, exponent, n, needsPower);
        // The sum is formed for every point and kept where there is a power.
        HDRTM_INDEPENDENT_POINTS
        for (uint32_t j = 0; j < n; ++j) {
            const float withPower = x[j] + gain[j] * base[j];
            x[j] = selectValue(needsPower[j] != 0, withPower, x[j]);
        }
    }
}

}  // namespace

// The toe and the shoulder meet the straight segment with equal slope.
HDRTM_VECTOR_CLONES
void logCurveForward(const LogCurve& c, float* values, uint32_t count) {
    const float xMin = c.xMin, xMax = c.xMax, slope = c.slope, intercept = c.intercept;
    const float toeWidth = c.toeWidth, span = c.shoulderSpan;
    evaluatePieces(
        values, count, {xMin, c.xToe, c.xShoulder, xMax}, c.yMin, c.yMax,
        [=](float x) { return slope * x + intercept; },
        [=](float x) { return (x - xMin) / toeWidth; },
        [=](float x) { return (xMax - x) / span; },
        {c.toeGain, c.toeExponent}, {-c.shoulderGain, c.shoulderExponent});
}

HDRTM_VECTOR_CLONES
void logCurveInverse(const LogCurve& c, float* values, uint32_t count) {
    const float yMin = c.yMin, yMax = c.yMax, slope = c.slope, intercept = c.intercept;
    const float toeWidth = c.toeWidth, span = c.shoulderSpan;
    const float e = c.toeExponent, k = c.shoulderExponent;
    evaluatePieces(
        values, count, {yMin, c.yToe, c.yShoulder, yMax}, c.xMin, c.xMax,
        [=](float y) { return (y - intercept) / slope; },
        [=](float y) { return (y - yMin) / toeWidth * e / slope; },
        [=](float y) { return (yMax - y) / span * k / slope; },
        {toeWidth, 1.0f / e}, {-span, 1.0f / k});
}

// Piecewise-linear lookup from `in` to `out` over the first `count` points of
// a control-point table (count capped at 24), extrapolating the end segments,
// of `n` values in place (n at most kCallBlock).
//
// The search for the upper point j of the bracketing pair starts a quarter or
// a half into the table and never passes the last point, so an input beyond
// either end extrapolates the end segment. With fewer than two points the
// first two slots are used; nothing outside the 24 slots is read. Every value
// is searched at once, slot by slot, so that the passes vectorise: a value
// moves on from slot k only while it sits there and the point is not at or
// above it, which is the upward search point by point. Always inlined, so
// that it is built for every variant of its callers.
//
// When the points rise (never fall, no NaN) up to the last, every slot a
// value passes over lies below it, and the slots below the ones a start skips
// are below it too, since a start is only taken past a point below the value.
// The search then ends after as many slots as lie below the value (all of
// them for NaN), counted without following where each value sits.
[[gnu::always_inline]] inline void interpolateControlPoints(const float* in, const float* out,
                                                            uint32_t count, float* values,
                                                            uint32_t n) {
    const uint32_t points = std::min(count, static_cast<uint32_t>(kToneCurveMaxPoints));
    const uint32_t half = points / 2;
    const uint32_t quarter = points / 4;
    const uint32_t last = points < 2 ? 1 : points - 1;
    uint32_t upper[kCallBlock];
    bool rising = true;
    for (uint32_t k = 0; k < last; ++k) rising &= in[k] <= in[k + 1];
    if (rising) {
        for (uint32_t j = 0; j < n; ++j) upper[j] = 1;
        for (uint32_t k = 1; k < last; ++k) {
            const float point = in[k];
            for (uint32_t j = 0; j < n; ++j) upper[j] += !(point >= values[j]);
        }
    } else {
        const float atQuarter = in[quarter];
        const float atHalf = in[half];
        const float atThreeQuarters = in[half + quarter];
        for (uint32_t j = 0; j < n; ++j) {
            const float v = values[j];
            uint32_t start = atQuarter < v ? quarter + 1 : 1;
            start = atHalf < v ? half + 1 : start;
            start = atHalf < v && atThreeQuarters < v ? half + quarter + 1 : start;
            upper[j] = std::min(start, last);
        }
        for (uint32_t k = 1; k < last; ++k) {
            const float point = in[k];
            for (uint32_t j = 0; j < n; ++j) {
                const bool movesOn = (upper[j] == k) & !(point >= values[j]);
                upper[j] += movesOn;
            }
        }
    }
    for (uint32_t j = 0; j < n; ++j) {
        const uint32_t u = upper[j];
        const float t = (values[j] - in[u - 1]) / (in[u] - in[u - 1]);
        values[j] = out[u] * t + out[u - 1] * (1.0f - t);
    }
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
    hdrtm::logCurveInverse(curve, &y, 1);
    return y;
}

// The count is read as unsigned: a negative count uses all 24 slots.
HDRTM_VECTOR_CLONES
void hdrtm::lookUpControlPoints(const toneMapperLUT& table, MAP_DIRECTION direction,
                                float* values, uint32_t count) {
    const bool inverse = direction != MAP_FORWARD;
    const float* const in = inverse ? table.points_y : table.points_x;
    const float* const out = inverse ? table.points_x : table.points_y;
    const uint32_t points = static_cast<uint32_t>(table.num_points);
    for (uint32_t start = 0; start < count; start += kCallBlock) {
        interpolateControlPoints(in, out, points, values + start,
                                 std::min(count - start, kCallBlock));
    }
}

float logTM_LUT(float x, toneMapperLUT* table) {
    hdrtm::lookUpControlPoints(*table, MAP_FORWARD, &x, 1);
    return x;
}

float logTMInverse_LUT(float y, toneMapperLUT* table) {
    hdrtm::lookUpControlPoints(*table, MAP_INVERSE, &y, 1);
    return y;
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
    const uint32_t points = static_cast<uint32_t>(n);
    for (int i = 0; i < n; ++i) ys[i] = clampUnitKeepNaN(ys[i] / kPanelCodeMax);
    powPlane(ys, points, kPanelDecodeGamma);
    for (int i = 0; i < n; ++i) {
        xs[i] = xs[i] * kControlPointPqScale + kControlPointLogOffset;
        ys[i] = minNits + ys[i] * (maxNits - minNits);
    }
    log10Plane(xs, points);
    log10Plane(ys, points);
}

namespace hdrtm {
namespace {

// Luminance strictly between lo and hi bent by a power of its position in
// that range, in place. Block by block: a vectorised pass finds the points in
// range and their positions, the powers go over the block in the maths'
// plane form, and a vectorised pass puts the results back on the range.
// Always inlined, so that it is built for every variant of yTM.
[[gnu::always_inline]] inline void applyBrightnessGamma(float* luma, uint32_t count, float lo,
                                                        float hi, float exponent) {
    const float range = hi - lo;
    uint32_t inRange[kCallBlock];
    float position[kCallBlock];
    for (uint32_t start = 0; start < count; start += kCallBlock) {
        float* const y = luma + start;
        const uint32_t n = std::min(count - start, kCallBlock);
        for (uint32_t j = 0; j < n; ++j) {
            inRange[j] = lo < y[j] && y[j] < hi;
            position[j] = (y[j] - lo) / range;
        }
        powPlane(position, n, exponent, inRange);
        HDRTM_INDEPENDENT_POINTS
        for (uint32_t j = 0; j < n; ++j) {
            const float bent = lo + range * position[j];
            y[j] = selectValue(inRange[j] != 0, bent, y[j]);
        }
    }
}

// Luminance (1.0 = 10000 nits) through the curve in place, 10^curve(log10 of
// the nits) / 10000, through the control-point table if one is given; a
// luminance that is not positive (NaN too) becomes `black`. Forward, the
// result is then put on the panel's range: 0 at `black`, 1 at `peak`.
// Always inlined, so that it is built for every variant of yTM.
[[gnu::always_inline]] inline void mapLuminanceThroughCurve(float* luma, uint32_t count,
                                                            toneMapperLUT* table,
                                                            const LogCurve& curve,
                                                            MAP_DIRECTION direction, float black,
                                                            float peak) {
    const bool inverse = direction != MAP_FORWARD;
    float mapped[kCallBlock];
    uint32_t positive[kCallBlock];
    for (uint32_t start = 0; start < count; start += kCallBlock) {
        float* const y = luma + start;
        const uint32_t n = std::min(count - start, kCallBlock);
        // A point that is not positive gets NaN, which the curve and the
        // table pass through without a power; its result is not used.
        for (uint32_t j = 0; j < n; ++j) {
            positive[j] = y[j] > 0.0f;
            mapped[j] = selectValue(positive[j] != 0, y[j] * kNitsPerUnit, kNotMapped);
        }
        log10Plane(mapped, n, positive);
        if (table != nullptr) {
            lookUpControlPoints(*table, direction, mapped, n);
        } else if (inverse) {
            logCurveInverse(curve, mapped, n);
        } else {
            logCurveForward(curve, mapped, n);
        }
        exp10Plane(mapped, n, positive);
        for (uint32_t j = 0; j < n; ++j) {
            const float l = selectValue(positive[j] != 0, mapped[j] / kNitsPerUnit, black);
            y[j] = inverse ? l : (l - black) / (peak - black);
        }
    }
}

}  // namespace
}  // namespace hdrtm

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

    const float lMin = panelBlackLevel(*params);
    const float lMax = panelMaxNits / kNitsPerUnit;
    const ToneCurveArguments a = toneCurveArguments(*params);
    const LogCurve curve = makeLogCurve(a.yMin, a.yMax, a.k, a.xMax, a.mode, a.xMin, a.yToe, a.yShoulder,
                                        a.intercept, a.slope);

    const float lo = params->tlower / kNitsPerUnit;
    const float hi = params->tupper / kNitsPerUnit;
    const uint32_t count = gridSize * gridSize * gridSize;
    // Run as passes, so that the maths go over whole blocks in their plane
    // form; each point goes through the same steps as in one loop.
    if (!inverse) {
        for (uint32_t i = 0; i < count; ++i) lumaOut[i] = lumaIn[i];
        if (brightEnable) applyBrightnessGamma(lumaOut, count, lo, hi, 1.0f / sysGamma);
        if (linearScale) {
            const float knee = params->scaleStart / kNitsPerUnit;
            for (uint32_t i = 0; i < count; ++i) {
                const float y = lumaOut[i];
                lumaOut[i] = y > knee ? knee + (y - knee) * scaleRatio : y;
            }
        }
        mapLuminanceThroughCurve(lumaOut, count, useTable ? table : nullptr, curve, MAP_FORWARD,
                                 lMin, lMax);
    } else {
        for (uint32_t i = 0; i < count; ++i) lumaOut[i] = lMin + (lMax - lMin) * lumaIn[i];
        mapLuminanceThroughCurve(lumaOut, count, useTable ? table : nullptr, curve, MAP_INVERSE,
                                 lMin, lMax);
        if (brightEnable) applyBrightnessGamma(lumaOut, count, lo, hi, sysGamma);
    }
}
