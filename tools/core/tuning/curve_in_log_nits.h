// The tone curve of a tuning record in the curve's own terms, log10 nits in
// and out, through the library's exported curve functions: logTM (and its
// inverse) with the arguments yTM derives from the record, or the
// control-point table (logTM_LUT) when the record selects it.
#pragma once

#include <vector>

#include "tm_params.h"

namespace hdrtm::tool {

// Each value of `logNits` through the curve `params` selects, in place: the
// table (converted by CalCurveLUT from the record's control-point codes) for
// a version 2.0 record, else the parametric curve; `inverse` maps outputs
// back to inputs.
void applyToneCurve(const TMParams& params, std::vector<float>& logNits, bool inverse);

}  // namespace hdrtm::tool
