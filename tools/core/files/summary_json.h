// What the JSON summaries share, hdrtm's and the Python module's alike:
// paths absolute (null when not given), reference levels, and the
// diagnostics of the tunings a run read.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "colour/reference_levels.h"
#include "tuning/tuning_check.h"

namespace hdrtm::tool {

// `path` made absolute, for summaries; "" stays "".
std::string absolutePath(const std::string& path);
// A path as JSON gives it: absolute, or null when empty (not given).
nlohmann::json pathJson(const std::string& path);

// Reference levels as JSON: level, input_nits, input_code, output_nits,
// output_codes.
nlohmann::json levelsJson(const std::vector<ReferenceLevel>& levels);

// The diagnostics of each tuning, notes too, as one list in the form of
// check --json, each naming its file by its absolute path.
nlohmann::json tuningDiagnosticsJson(const std::vector<CheckedTuning>& tunings);

}  // namespace hdrtm::tool
