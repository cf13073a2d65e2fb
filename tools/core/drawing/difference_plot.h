// Where two LUTs differ: each grid node as a dot placed by its input
// colour's hue and luminance, coloured by its ΔE_ITP.
#pragma once

#include <string>

#include "colour/lut_difference.h"

namespace hdrtm::tool {

// Writes the plot as SVG or PNG, chosen by the file name's extension.
// Throws std::runtime_error for another extension or a failed write.
void writeDifferencePlot(const LutDifference& d, const std::string& title, const std::string& path);

}  // namespace hdrtm::tool
