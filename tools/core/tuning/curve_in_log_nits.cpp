#include "tuning/curve_in_log_nits.h"

#include "tm_stages.h"
#include "tone_curve.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {

void applyToneCurve(const TMParams& params, std::vector<float>& logNits, bool inverse) {
    if (params.version == kTableCurveVersion) {
        TMParams converted = params;
        CalCurveLUT(&converted);
        for (float& v : logNits) v = inverse ? logTMInverse_LUT(v, &converted.curve) : logTM_LUT(v, &converted.curve);
        return;
    }
    // The arguments as yTM derives them, with the library's own log10f.
    const ToneCurveArguments a = toneCurveArguments(params);
    for (float& v : logNits) {
        v = inverse ? logTMInverse(v, a.yMin, a.yMax, a.k, a.xMax, a.mode, a.xMin, a.yToe, a.yShoulder, a.intercept,
                                   a.slope)
                    : logTM(v, a.yMin, a.yMax, a.k, a.xMax, a.mode, a.xMin, a.yToe, a.yShoulder, a.intercept, a.slope);
    }
}

}  // namespace hdrtm::tool
