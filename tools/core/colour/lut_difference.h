// How two LUTs for the same configuration differ: in codes per channel and
// as the colour difference ΔE_ITP of the light they put out, at every grid
// node of the first.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "colour/color_difference.h"
#include "playback/lut_data.h"

namespace hdrtm::tool {

struct NodeDifference {
    int node = 0;                      // index into the LUT, red fastest
    std::array<uint32_t, 3> input{};   // the node's input codes (of 1023)
    double inputNits = 0.0;            // luminance of the input colour
    double hueDegrees = 0.0;           // ICtCp hue of the input colour
    bool neutral = false;              // too little chroma to have a hue
    double deltaE = 0.0;
};

struct LutDifference {
    bool identical = false;     // same codes on the same grid at the same depth
    bool sameGrid = true;       // false: B was interpolated at A's nodes
    std::array<double, 3> maxCodeChange{};   // in A's codes
    std::array<double, 3> meanCodeChange{};
    double meanDeltaE = 0.0;
    double p95DeltaE = 0.0;     // 95th percentile over the nodes
    double maxDeltaE = 0.0;
    std::vector<NodeDifference> nodes;  // every node of A, in LUT order
};

// Why `a` and `b` cannot be compared node by node, or "" when they can: they
// take different input signals or sample different grids, so the same node
// is a different colour in each.
std::string whyNotComparable(const Lut3d& a, const Lut3d& b);

// Compares `b` against `a` at a's nodes; a node's light is each LUT's output
// decoded on its own panel (a tuning may change the panel).
LutDifference compareLuts(const Lut3d& a, const Lut3d& b);

// The `count` nodes of largest ΔE_ITP, largest first.
std::vector<NodeDifference> worstNodes(const LutDifference& d, size_t count);

// "PQ (768, 512, 0), 161 nits" or "PQ grey 640, 92.2 nits".
std::string describeInput(const NodeDifference& n, Signal input);

}  // namespace hdrtm::tool
