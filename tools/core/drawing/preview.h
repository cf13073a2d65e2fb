// Preview of a LUT: a test pattern (PQ and HLG grey ramps, saturated colour
// ramps, a hue sweep) through the LUT, beside the same pattern clipped
// plainly to the panel.
#pragma once

#include <memory>
#include <string>

#include "drawing/raster.h"
#include "files/cube_file.h"

namespace hdrtm::tool {

constexpr Rgb8 kPeakMarkerColour = {255, 90, 60};  // the panel's peak on the grey ramp

// Renders the preview of `table`: the LUT's side on the left, the plain clip
// on the right, one labelled band per pattern row, the grey ramp with its
// scale in nits and the panel's peak. `halfWidth` is the width of each side
// in pixels.
std::unique_ptr<Raster> renderPreview(const CubeTable& table, const std::string& title, int halfWidth = 384);

}  // namespace hdrtm::tool
