// Two runs of the same configurations compared LUT by LUT (hdrtm diff, the
// Python module's diff): each LUT of A against the LUT of B with the same
// label, where the reference levels land in each, and the figures as JSON.
#pragma once

#include <string>
#include <vector>

#include "colour/lut_difference.h"
#include "colour/reference_levels.h"
#include "playback/playback_run.h"
#include "tuning/tuning_check.h"

namespace hdrtm::tool {

struct ComparedLut {
    int config = 0;          // 1-based index of the configuration
    std::string label;       // the LUT's, "layer 0" or "hardware"
    Signal input = Signal::kPq;
    LutDifference difference;
    std::vector<ReferenceLevel> levelsA;
    std::vector<ReferenceLevel> levelsB;
    std::string picture;     // a picture of the difference in the output folder, when one was drawn
};

struct RunsDifference {
    std::vector<ComparedLut> luts;
    // A LUT only one side gives, or a pair that cannot be compared:
    // "configuration 3: only A gives a hardware LUT".
    std::vector<std::string> unmatched;
    bool identical = true;        // every LUT matched, comparable and identical
    double largestDeltaE = 0.0;   // over the compared LUTs
};

// Compares the runs of A and B, configuration by configuration (the two
// lists hold one run per configuration of `configs`, in its order). A LUT's
// levels take the content peak of the layer that produced it; a
// configuration without layers (two LUT files) takes none.
RunsDifference compareRuns(const std::vector<RunResult>& a, const std::vector<RunResult>& b,
                           const std::vector<Configuration>& configs);

// The --max-de verdict: every LUT compared, and none beyond `maxDeltaE`.
bool withinMaxDeltaE(const RunsDifference& d, double maxDeltaE);

// What the JSON says beside the figures.
struct DifferenceContext {
    std::string a, b;                    // each side's file; empty: the built-in defaults
    std::vector<std::string> titles;     // describes each configuration
    double maxDeltaE = -1.0;             // the tolerance; negative: none given
    std::string outputDir;               // where the pictures went; empty: none were drawn
    std::vector<std::string> files;      // every file written there, the manifest too
    std::vector<CheckedTuning> tunings;  // the tunings read, with their diagnostics
};

// The figures as hdrtm diff --json prints them: {a, b, identical,
// largest_delta_e_itp, max_de, within_max_de, output_dir,
// tuning_diagnostics, files, luts: [{configuration, description, lut,
// identical, max_code_change, mean_code_change, delta_e_itp: {mean, p95,
// max}, worst_nodes, levels: {a, b}, picture}], unmatched}; paths absolute,
// what was not given null.
std::string differenceJson(const RunsDifference& d, const DifferenceContext& context);

}  // namespace hdrtm::tool
