// .cube files: the 3D LUT text format colour tools share (LUT_3D_SIZE, red
// fastest, values 0..1), written from the library's LUTs and read back for
// previews.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "lut_data.h"

namespace hdrtm::tool {

// A LUT as normalised floats on an arbitrary per-axis grid: what a preview
// interpolates, whether it came from the library or from a .cube file.
struct CubeTable {
    int size = 0;
    std::vector<float> positions;               // sample positions on each axis, 0..1
    std::vector<std::array<float, 3>> values;   // size^3 outputs, red fastest
    Signal input = Signal::kPq;
    Signal output = Signal::kPanel;
    PanelInfo panel;
    bool describesItself = false;  // the file records its signals and panel (hdrtm wrote it)
};

CubeTable toCubeTable(const Lut3d& lut);

// Writes `lut` as a .cube file; `notes` become comment lines of the header
// (configuration, checksum). Throws std::runtime_error when it cannot write.
void writeCube(const std::string& path, const Lut3d& lut, const std::string& title,
               const std::vector<std::string>& notes);

// Writes the sample positions of a non-uniform LUT beside its .cube file.
// `hardware` holds the 12-bit grid coordinates the LUT was pushed with, or is
// empty when the push carried none.
void writeGridPositions(const std::string& path, const std::string& cubeName, const Lut3d& lut,
                        const std::vector<uint32_t>& hardware);

// Reads a .cube file (LUT_3D_SIZE, optional TITLE and DOMAIN_MIN/MAX). The
// comment lines hdrtm writes restore the grid and the signal encodings.
// Throws std::runtime_error naming the problem and the line.
CubeTable readCube(const std::string& path);

}  // namespace hdrtm::tool
