// The tuning record (TMParams) itself, as the library builds it: the tone
// curve is drawn from the record, not from the LUTs.
#pragma once

#include <optional>
#include <string>

#include "tm_params.h"

namespace hdrtm::tool {

// TMParams.version of a tuning file whose version is "2.0": the table curve
// and, for the hardware LUT, the non-uniform grid.
constexpr uint32_t kTableCurveVersion = 1;

// What the tools take, and name in their output, in place of a tuning file
// for the built-in defaults.
constexpr const char* kDefaultsName = "defaults";
// How LUT files, codes files, captions and titles name the built-in defaults.
constexpr const char* kDefaultsLabel = "built-in defaults";

// The built-in defaults as the library sets them.
TMParams defaultParams();

// The tuning file at `path` as the library's loader reads it. Its panel
// correction goes to `pcc` when given (empty when the file has none); the
// record's pointer is cleared. Throws std::runtime_error when the loader
// fails.
TMParams loadTuningRecord(const std::string& path, std::optional<PccCoefficients>* pcc = nullptr);

}  // namespace hdrtm::tool
