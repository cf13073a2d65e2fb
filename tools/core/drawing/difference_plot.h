// Where two LUTs differ: each grid node as a dot placed by its input
// colour's hue and luminance, coloured by its ΔE_ITP.
#pragma once

#include <string>

#include "colour/lut_difference.h"

namespace hdrtm::tool {

// The plot as the bytes of an SVG or PNG file, chosen by the extension of
// `path`. Throws std::runtime_error for another extension.
std::string differencePlotBytes(const LutDifference& d, const std::string& title, const std::string& path);

}  // namespace hdrtm::tool
