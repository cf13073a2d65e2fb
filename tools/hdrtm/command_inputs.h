// What the commands share: their inputs and outputs checked, tunings vetted
// and loaded, the advice for a layer that gets no LUT, and paths as JSON
// shows them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "colour/reference_levels.h"
#include "playback/playback_run.h"
#include "tm_params.h"
#include "tuning/tuning_check.h"

namespace hdrtm::tool {

// Throws CommandError unless `path` is a readable regular file; `what`
// names it.
void requireReadable(const std::string& path, const char* what);

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

// The diagnostics of every tuning vetted so far (notes too), as the JSON
// list `check --json` prints.
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

// Reference levels as JSON: level, input_nits, input_code, output_nits,
// output_codes.
nlohmann::json levelsJson(const std::vector<ReferenceLevel>& levels);

// `path` made absolute, for summaries; "" stays "".
std::string absolutePath(const std::string& path);
// A path as JSON gives it: absolute, or null when empty (not given).
nlohmann::json pathJson(const std::string& path);

}  // namespace hdrtm::tool
