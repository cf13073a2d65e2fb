#include "tuning/tone_curve.h"

#include <bit>
#include <cmath>

#include "cr_maths.h"
#include "tm_stages.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

constexpr float kNitsPerUnit = 10000.0f;  // relative luminance 1.0 = 10000 nits
// yTM's floor of the panel black in relative luminance: 0.0005 nits, the
// float with these bits.
constexpr uint32_t kBlackFloorBits = 0x3356BF96;

}  // namespace

ToneCurveArguments toneCurveArguments(const TMParams& params) {
    // The library's own log10f, as yTM derives them.
    ToneCurveArguments a;
    const float blackFloor = std::bit_cast<float>(kBlackFloorBits);
    const float black = params.panel_min_luminance / kNitsPerUnit;
    // The larger of the two, as yTM takes it: the black unless it is below
    // the floor (so a NaN black stays NaN).
    const float lMin = black < blackFloor ? blackFloor : black;
    const float peakNits = static_cast<float>(params.panel_max_luminance);
    a.yMin = crLog10f(lMin * kNitsPerUnit);
    a.yMax = crLog10f(peakNits);
    a.xMin = crLog10f(params.t0);
    a.yToe = crLog10f(params.intl);
    a.yShoulder = crLog10f(params.inth);
    a.slope = params.slope;
    // The straight segment maps the pivot to itself unless LinearBoost, as a
    // gain floor, is larger.
    const float pivotIntercept = crLog10f(params.pivot) * (1.0f - a.slope);
    const float boost = crLog10f(params.LinearBoost);
    a.intercept = boost < pivotIntercept ? pivotIntercept : boost;
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

void applyToneCurve(const TMParams& params, std::vector<float>& logNits, bool inverse) {
    if (params.version == kTableCurveVersion) {
        TMParams converted = params;
        CalCurveLUT(&converted);
        for (float& v : logNits) v = inverse ? logTMInverse_LUT(v, &converted.curve) : logTM_LUT(v, &converted.curve);
        return;
    }
    const ToneCurveArguments a = toneCurveArguments(params);
    for (float& v : logNits) {
        v = inverse ? logTMInverse(v, a.yMin, a.yMax, a.k, a.xMax, a.mode, a.xMin, a.yToe, a.yShoulder, a.intercept,
                                   a.slope)
                    : logTM(v, a.yMin, a.yMax, a.k, a.xMax, a.mode, a.xMin, a.yToe, a.yShoulder, a.intercept, a.slope);
    }
}

}  // namespace hdrtm::tool
