// Every node of the LUTs a run produced, input codes and output codes
// exactly as the library wrote or pushed them, as CSV or JSON for scripts.
#pragma once

#include <string>
#include <vector>

#include "playback/playback_run.h"

namespace hdrtm::tool {

// True when `path` ends in .csv or .json.
bool isCodesFileName(const std::string& path);

// What a codes file records beside the codes, so it says where they came from.
struct CodesRecord {
    std::string tuning;                       // the tuning file; empty: the built-in defaults
    std::vector<std::string> configurations;  // per LUT, the configuration it was run for
};

// The nodes of `luts` as the text of a .csv or .json file, as `path` names
// it, with the record and each LUT's checksum. A node's inputs are the
// 12-bit grid coordinates the push carried, or, when it carried none, the
// 10-bit grid codes it was sampled at. Throws std::runtime_error for another
// extension.
std::string codesText(const std::string& path, const std::vector<ProducedLut>& luts, const CodesRecord& record);

}  // namespace hdrtm::tool
