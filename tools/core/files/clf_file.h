// Common LUT Format files (SMPTE ST 2136-1): a LUT1D shaper that carries
// each axis from the signal onto the 3D table's index space, so every grid
// point sits exactly where the library sampled it, then the LUT3D with the
// library's integer codes at their bit depth.
#pragma once

#include <string>
#include <vector>

#include "files/cube_file.h"
#include "playback/lut_data.h"

namespace hdrtm::tool {

// `lut` as the text of a CLF file named `id` (its file name without the
// extension); `notes` become Description lines.
std::string clfText(const Lut3d& lut, const std::string& id, const std::string& title,
                    const std::vector<std::string>& notes);
// Writes clfText to `path`. Throws std::runtime_error when it cannot write.
void writeClf(const std::string& path, const Lut3d& lut, const std::string& title,
              const std::vector<std::string>& notes);

// Reads a CLF file holding an optional LUT1D shaper (one curve for all three
// channels) and a LUT3D; the shaper gives the sample positions. Throws
// std::runtime_error naming the problem.
CubeTable readClf(const std::string& path);

// True for the names of LUT files hdrtm reads: .cube and .clf.
bool isLutFileName(const std::string& path);

// True for a name that ends in .clf (or .CLF).
bool isClfFileName(const std::string& path);

// A LUT file hdrtm reads: .clf as CLF, anything else as .cube.
CubeTable readLutFile(const std::string& path);

}  // namespace hdrtm::tool
