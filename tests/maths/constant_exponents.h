// Every exponent a stage passes to crPowf as a constant: the maths tests run
// each over a stride of every float base, and scripts/check-maths.sh over
// every base.
#pragma once

#include <algorithm>
#include <vector>

#include "color_conversion.h"
#include "tone_curve.h"
#include "transfer_functions.h"

namespace hdrtm {

// Distinct values only: two stages may share one exponent.
inline std::vector<float> constantExponents() {
    std::vector<float> exponents;
    for (const float e : {kPqM1, kPqM2, kBt709Exponent, kSrgbExponent, kGamma2p2EncodeExponent,
                          kGamma2p2DecodeExponent, kLabCubeRootExponent, kPanelDecodeGamma}) {
        if (std::find(exponents.begin(), exponents.end(), e) == exponents.end()) exponents.push_back(e);
    }
    return exponents;
}

}  // namespace hdrtm
