// Two runs of the same configurations compared LUT by LUT (hdrtm diff, the
// Python module's diff): each LUT of A against the LUT of B with the same
// label, and the figures as JSON.
#pragma once

#include <string>
#include <vector>

#include "colour/lut_difference.h"
#include "playback/playback_run.h"

namespace hdrtm::tool {

struct ComparedLut {
    int config = 0;          // 1-based index of the configuration
    std::string label;       // the LUT's, "layer 0" or "hardware"
    Signal input = Signal::kPq;
    LutDifference difference;
    std::string picture;     // a picture of the difference, when one was drawn
};

struct RunsDifference {
    std::vector<ComparedLut> luts;
    std::vector<std::string> unmatched;  // "configuration 3: only A gives a hardware LUT"
    bool identical = true;               // every LUT matched and identical
};

// Compares the runs of A and B, configuration by configuration (the two
// lists hold one run per configuration, in the same order).
RunsDifference compareRuns(const std::vector<RunResult>& a, const std::vector<RunResult>& b);

// The figures as hdrtm diff --json prints them: {a, b, identical, luts:
// [{configuration, description, lut, identical, same_grid, max_code_change,
// mean_code_change, delta_e_itp: {mean, p95, max}, worst_nodes, picture?}],
// unmatched}. `titles` describes each configuration.
std::string differenceJson(const std::string& labelA, const std::string& labelB,
                           const std::vector<std::string>& titles, const RunsDifference& d);

}  // namespace hdrtm::tool
