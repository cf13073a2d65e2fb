#include "colour/lut_difference.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "colour/lut_lookup.h"
#include "files/cube_file.h"

namespace hdrtm::tool {
namespace {

constexpr double kPercentile = 0.95;
constexpr double kNeutralChroma = 1e-4;  // ICtCp chroma below which a colour has no hue
constexpr double kDegreesPerRadian = 180.0 / 3.14159265358979323846;

}  // namespace

std::string whyNotComparable(const Lut3d& a, const Lut3d& b) {
    if (a.input != b.input) {
        return std::string("A takes ") + signalLabel(a.input) + " input and B " + signalLabel(b.input) +
               ", so their nodes are different colours";
    }
    if (a.grid != b.grid) {
        const auto gridName = [](const Lut3d& l) {
            return l.grid == kUniformGrid      ? "the uniform grid"
                   : l.grid == kNonUniformGrid ? "the non-uniform grid of a version 2.0 tuning"
                                               : "a grid of its own";
        };
        return std::string("A is sampled on ") + gridName(a) + " and B on " + gridName(b) +
               ", so their nodes are different colours";
    }
    return "";
}

LutDifference compareLuts(const Lut3d& a, const Lut3d& b) {
    LutDifference d;
    d.sameGrid = a.grid == b.grid;
    d.identical = d.sameGrid && a.bitDepth == b.bitDepth && a.codes == b.codes;
    const CubeTable tableA = toCubeTable(a);
    const CubeTable tableB = toCubeTable(b);
    std::vector<std::array<float, 3>> valuesB = tableB.values;
    if (!d.sameGrid) {
        for (int k = 0; k < kLutEntries; ++k) {
            const int r = k % kLutSize, g = (k / kLutSize) % kLutSize, bl = k / (kLutSize * kLutSize);
            valuesB[k] = lookUp(tableB, {tableA.positions[r], tableA.positions[g], tableA.positions[bl]});
        }
    }
    const std::vector<Nits3> lightA = outputLight(tableA.values, a.output, a.panel);
    const std::vector<Nits3> lightB = outputLight(valuesB, b.output, b.panel);
    const double scale = a.maxCode();
    const bool sameCodes = d.sameGrid && a.bitDepth == b.bitDepth;
    d.nodes.resize(kLutEntries);
    std::vector<double> deltas(kLutEntries);
    for (int k = 0; k < kLutEntries; ++k) {
        NodeDifference& n = d.nodes[k];
        n.node = k;
        n.input = {a.grid[k % kLutSize], a.grid[(k / kLutSize) % kLutSize], a.grid[k / (kLutSize * kLutSize)]};
        const std::array<float, 3> signal = {n.input[0] / float(kInputCodeMax), n.input[1] / float(kInputCodeMax),
                                             n.input[2] / float(kInputCodeMax)};
        const Nits3 in = inputLight(signal, a.input);
        const Ictcp inIctcp = ictcpFromNits(in);
        n.inputNits = luminance(in);
        n.neutral = std::hypot(inIctcp.ct, inIctcp.cp) < kNeutralChroma;
        n.hueDegrees = std::atan2(inIctcp.cp, inIctcp.ct) * kDegreesPerRadian;
        if (n.hueDegrees < 0) n.hueDegrees += 360.0;
        n.deltaE = deltaEItp(ictcpFromNits(lightA[k]), ictcpFromNits(lightB[k]));
        deltas[k] = n.deltaE;
        for (int c = 0; c < 3; ++c) {
            // Codes of the same grid and depth compare exactly.
            const double change =
                sameCodes ? std::fabs(double(a.codes[k][c]) - double(b.codes[k][c]))
                          : std::fabs(tableA.values[k][c] * scale - valuesB[k][c] * scale);
            d.maxCodeChange[c] = std::max(d.maxCodeChange[c], change);
            d.meanCodeChange[c] += change / kLutEntries;
        }
        d.meanDeltaE += n.deltaE / kLutEntries;
        d.maxDeltaE = std::max(d.maxDeltaE, n.deltaE);
    }
    // Nearest-rank percentile.
    const size_t rank = static_cast<size_t>(std::ceil(kPercentile * kLutEntries)) - 1;
    std::nth_element(deltas.begin(), deltas.begin() + rank, deltas.end());
    d.p95DeltaE = deltas[rank];
    return d;
}

std::vector<NodeDifference> worstNodes(const LutDifference& d, size_t count) {
    std::vector<NodeDifference> nodes = d.nodes;
    count = std::min(count, nodes.size());
    std::partial_sort(nodes.begin(), nodes.begin() + count, nodes.end(),
                      [](const NodeDifference& x, const NodeDifference& y) { return x.deltaE > y.deltaE; });
    nodes.resize(count);
    return nodes;
}

std::string describeInput(const NodeDifference& n, Signal input) {
    char text[96];
    if (n.input[0] == n.input[1] && n.input[1] == n.input[2]) {
        std::snprintf(text, sizeof(text), "%s grey %u, %.4g nits", signalLabel(input), n.input[0], n.inputNits);
    } else {
        std::snprintf(text, sizeof(text), "%s (%u, %u, %u), %.4g nits", signalLabel(input), n.input[0], n.input[1],
                      n.input[2], n.inputNits);
    }
    return text;
}

}  // namespace hdrtm::tool
