// The tone curve of a tuning record in the curve's own terms, log10 nits in
// and out, through the library's exported curve functions: logTM (and its
// inverse) with the arguments yTM derives from the record, or the
// control-point table (logTM_LUT) when the record selects it.
#pragma once

#include <vector>

#include "tm_params.h"

namespace hdrtm::tool {

// The arguments of logTM and logTMInverse, in their order: output floor and
// ceiling, shoulder exponent and end, mode (1: k given, xMax derived), toe
// start, toe and shoulder outputs, the straight segment's intercept and slope.
struct ToneCurveArguments {
    float yMin = 0.0f, yMax = 0.0f, k = 0.0f, xMax = 0.0f;
    unsigned char mode = 0;
    float xMin = 0.0f, yToe = 0.0f, yShoulder = 0.0f, intercept = 0.0f, slope = 0.0f;
};

// What yTM hands the parametric curve for `params`: the panel's black
// (floored at 0.0005 nits) and peak, the toe, pivot, shoulder and the
// shoulder's exponent or end (enableM 0 ends it at the clipping luminance).
ToneCurveArguments toneCurveArguments(const TMParams& params);

// Each value of `logNits` through the curve `params` selects, in place: the
// table (converted by CalCurveLUT from the record's control-point codes) for
// a version 2.0 record, else the parametric curve; `inverse` maps outputs
// back to inputs.
void applyToneCurve(const TMParams& params, std::vector<float>& logNits, bool inverse);

}  // namespace hdrtm::tool
