// Where reference levels land through a LUT, in nits and codes: for a LUT
// from content (PQ or HLG), content at 100, 203 (BT.2408 diffuse white) and
// 1000 nits and the content's peak; for a LUT from SDR, SDR black, 18% grey
// and white. Looked up as the display hardware does (10-bit input codes,
// tetrahedral between the true grid positions).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "playback/lut_data.h"

namespace hdrtm::tool {

// The names of the levels of a LUT from SDR.
constexpr const char* kSdrBlackLevel = "SDR black";
constexpr const char* kSdrGreyLevel = "18% grey";
constexpr const char* kSdrWhiteLevel = "SDR white";

struct ReferenceLevel {
    std::string name;                   // "100 nits", "peak 4000 nits", "SDR black", "18% grey", "SDR white"
    double inputNits = 0.0;             // the level's light as the input signal encodes it
    uint32_t inputCode = 0;             // its 10-bit input code
    double outputNits = 0.0;            // luminance of the light the LUT puts out for it
    std::array<uint32_t, 3> outputCodes{};  // at the LUT's bit depth
};

// The levels of `lut`. `contentPeakNits` is the content's peak for a PQ
// input (its mastering peak or MaxCLL); 0 takes the signal's top, 10000
// nits for PQ (HLG's is its 1000-nit reference display).
std::vector<ReferenceLevel> referenceLevels(const Lut3d& lut, double contentPeakNits);

// "100 nits → 92.1 nits (code 612), 203 → 153 (702), ...", the output's
// light and its green code.
std::string levelsText(const std::vector<ReferenceLevel>& levels);

}  // namespace hdrtm::tool
