// A LUT the entry produced, written as hdrtm writes it: .cube (with its grid
// positions beside it when the grid is not uniform) or CLF, with a header
// that says what configuration, tuning and decision row produced it.
#pragma once

#include <string>
#include <vector>

#include "playback/playback_run.h"

namespace hdrtm::tool {

// "PQ 1000 nits; per layer; hw off - layer 0".
std::string lutTitle(const std::string& configuration, const ProducedLut& p);

// The header lines: configuration, tuning, decision row, LUT, checksum and
// the hardware payload's uniform flag.
std::vector<std::string> lutNotes(const std::string& configuration, const std::string& tuningLabel,
                                  const std::string& row, const ProducedLut& p);

// Writes `p`'s LUT to `path` as CLF for .clf, else as .cube (isLutFileName
// tells the names hdrtm reads back); a .cube file of
// a non-uniform grid gets its sample positions in NAME.grid.txt beside it.
// Each file's name is added to `landed` once it is written, so that a caller
// can take back a run that fails part-way. Throws std::runtime_error when a
// file cannot be written.
void writeLutFile(const std::string& path, const ProducedLut& p, const std::string& title,
                  const std::vector<std::string>& notes, std::vector<std::string>* landed);

}  // namespace hdrtm::tool
