// Every node of the LUTs a run produced, input codes and output codes
// exactly as the library wrote or pushed them, as CSV or JSON for scripts.
#pragma once

#include <string>
#include <vector>

#include "playback/playback_run.h"

namespace hdrtm::tool {

// True when `path` ends in .csv or .json.
bool isCodesFileName(const std::string& path);

// Writes the nodes of `luts` to `path` (.csv or .json), whole or not at all.
// A node's inputs are the 12-bit grid coordinates the push carried, or,
// when it carried none, the 10-bit grid codes it was sampled at. Throws
// std::runtime_error for another extension or a failed write.
void writeCodes(const std::string& path, const std::vector<ProducedLut>& luts);

}  // namespace hdrtm::tool
