// A LUT the entry produced, written as hdrtm writes it: .cube (with its grid
// positions beside it when the grid is not uniform) or CLF, with a header
// that says what configuration, tuning and decision row produced it and
// where the reference levels land.
#pragma once

#include <string>
#include <vector>

#include "colour/reference_levels.h"
#include "playback/playback_run.h"

namespace hdrtm::tool {

// "PQ 1000 nits; per layer; hw off - layer 0".
std::string lutTitle(const std::string& configuration, const ProducedLut& p);

// The header lines: configuration, tuning, decision row, LUT, levels,
// checksum and the hardware payload's uniform flag.
std::vector<std::string> lutNotes(const std::string& configuration, const std::string& tuningLabel,
                                  const std::string& row, const ProducedLut& p,
                                  const std::vector<ReferenceLevel>& levels);

// One file of a LUT: its name (without folder) and its text.
struct LutFileText {
    std::string name;
    std::string text;
};

// The files of `p` for the LUT file named `fileName`: CLF for .clf, else
// .cube (isLutFileName tells the names hdrtm reads back); a .cube file of a
// non-uniform grid comes with its sample positions in NAME.grid.txt. The
// LUT file comes first.
std::vector<LutFileText> lutFileTexts(const std::string& fileName, const ProducedLut& p, const std::string& title,
                                      const std::vector<std::string>& notes);

// Writes the files of lutFileTexts into the folder of `path`, together:
// either all land or none does, and nothing is half-written. Throws
// std::runtime_error naming the file and the reason when one cannot be
// written.
void writeLutFile(const std::string& path, const ProducedLut& p, const std::string& title,
                  const std::vector<std::string>& notes);

}  // namespace hdrtm::tool
