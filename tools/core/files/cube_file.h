// .cube files: the 3D LUT text format colour tools share (LUT_3D_SIZE, red
// fastest, values 0..1), written from the library's LUTs and read back for
// previews.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "playback/lut_data.h"

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
    int bitDepth = 0;              // of the codes the values stand for (0: not recorded)
    bool describesItself = false;  // the file records its signals and panel (hdrtm wrote it)
};

CubeTable toCubeTable(const Lut3d& lut);
// The inverse, for a 17-point table read from a file: codes at its bit depth
// (16 bits when the file does not say), grid codes from its positions.
// Throws std::runtime_error for another size.
Lut3d lutFromTable(const CubeTable& table, const std::string& path);

// The LUT's signals, bit depth and panel as "key=value" words, which hdrtm
// writes into its LUT files so that they describe themselves; readSignals
// takes them back (and marks `t` as describing itself).
std::string describeSignals(const Lut3d& lut);
void readSignals(const std::string& text, CubeTable& t);

// `lut` as the text of a .cube file; `notes` become comment lines of the
// header (configuration, checksum).
std::string cubeText(const Lut3d& lut, const std::string& title, const std::vector<std::string>& notes);
// Writes cubeText to `path`. Throws std::runtime_error when it cannot write.
void writeCube(const std::string& path, const Lut3d& lut, const std::string& title,
               const std::vector<std::string>& notes);

// The sample positions of a non-uniform LUT, for a file beside its .cube
// file. `hardware` holds the 12-bit grid coordinates the LUT was pushed
// with, or is empty when the push carried none.
std::string gridPositionsText(const std::string& cubeName, const Lut3d& lut, const std::vector<uint32_t>& hardware);
void writeGridPositions(const std::string& path, const std::string& cubeName, const Lut3d& lut,
                        const std::vector<uint32_t>& hardware);

// Reads a .cube file (LUT_3D_SIZE, optional TITLE and DOMAIN_MIN/MAX). The
// comment lines hdrtm writes restore the grid and the signal encodings.
// Throws std::runtime_error naming the problem and the line.
CubeTable readCube(const std::string& path);

}  // namespace hdrtm::tool
