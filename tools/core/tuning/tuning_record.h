// The tuning record (TMParams) itself, as the library builds it: the tone
// curve is drawn from the record, not from the LUTs.
#pragma once

#include <string>

#include "tm_params.h"

namespace hdrtm::tool {

// The built-in defaults as the library sets them.
TMParams defaultParams();

// The tuning file at `path` as the library's loader reads it, without its
// panel correction. Throws std::runtime_error when the loader fails.
TMParams loadTuningRecord(const std::string& path);

}  // namespace hdrtm::tool
