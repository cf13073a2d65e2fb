// What the commands share: their inputs checked and loaded, and the advice
// for a layer that gets no LUT.
#pragma once

#include <string>

#include "files/readable_file.h"
#include "playback/playback_run.h"
#include "tm_params.h"
#include "tuning/tuning_check.h"

namespace hdrtm::tool {

// Checks a tuning file before the library sees it: the library would absorb
// its mistakes silently. Errors and warnings are printed in full; errors
// throw CommandError unless `force`.
CheckResult vetTuning(const std::string& path, bool force);

// What would give a LUT, in the options of the commands; "" for kNone.
std::string remedyText(Remedy remedy);

// A vetted tuning file as the library loads it (loadTuningRecord).
TMParams loadTuning(const std::string& path, bool force, bool* versionTwo);

}  // namespace hdrtm::tool
