// What the commands share: their inputs and outputs checked, tunings vetted
// and loaded, and the advice for a layer that gets no LUT.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "files/readable_file.h"
#include "files/summary_json.h"
#include "playback/playback_run.h"
#include "tm_params.h"
#include "tuning/tuning_check.h"

namespace hdrtm::tool {

// Throws CommandError unless `path` can take a new file named with one of
// `extensions` (".png"); `what` names it ("-o", "--codes").
void requireWritable(const std::string& path, const std::vector<std::string>& extensions, const std::string& what);

// A note when `path` goes into an earlier hdrtm run's folder, which the next
// run there would refuse while the file is in it.
void noteIfInRunFolder(const std::string& path);

// Checks a tuning file before the library sees it: the library would absorb
// its mistakes silently. Errors and warnings are printed in full; errors
// throw CommandError unless `force`.
CheckResult vetTuning(const std::string& path, bool force);

// Every tuning vetted so far, and their diagnostics (notes too) as the
// JSON list `check --json` prints.
const std::vector<CheckedTuning>& vettedTunings();
nlohmann::json vettedDiagnosticsJson();

// Ctrl-C, a hang-up or a termination request stops a run between its
// steps rather than mid-file, so the run can take back what it wrote.
void deferInterruptions();
// Throws CommandError when an interruption came.
void stopIfInterrupted();

// What would give a LUT, in the options of the commands; "" for kNone.
std::string remedyText(Remedy remedy);

// A vetted tuning file as the library loads it (loadTuningRecord).
TMParams loadTuning(const std::string& path, bool force, bool* versionTwo);

}  // namespace hdrtm::tool
