// A colour through a LUT as display hardware looks it up: tetrahedral
// interpolation between the table's true sample positions.
#pragma once

#include <array>

#include "files/cube_file.h"

namespace hdrtm::tool {

// Looks `rgb` (input signal 0..1) up in the table by tetrahedral
// interpolation between its sample positions.
std::array<float, 3> lookUp(const CubeTable& table, const std::array<float, 3>& rgb);

}  // namespace hdrtm::tool
