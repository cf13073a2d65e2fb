// Comparing two LUTs: codes exactly, ΔE_ITP where the light differs, and the
// worst node named by its input.
#include <gtest/gtest.h>

#include "colour/lut_difference.h"

namespace {

using namespace hdrtm::tool;

// A 12-bit panel LUT whose output code follows the input code on each axis.
Lut3d ramp() {
    Lut3d lut;
    lut.bitDepth = 12;
    for (int k = 0; k < kLutEntries; ++k) {
        const int axis[3] = {k % kLutSize, (k / kLutSize) % kLutSize, k / (kLutSize * kLutSize)};
        for (int c = 0; c < 3; ++c) lut.codes[k][c] = lut.grid[axis[c]] * 4;
    }
    return lut;
}

TEST(LutDifference, ALutAgainstItselfIsIdenticalWithNoDifference) {
    const LutDifference d = compareLuts(ramp(), ramp());
    EXPECT_TRUE(d.identical);
    EXPECT_EQ(d.maxCodeChange, (std::array<double, 3>{0, 0, 0}));
    EXPECT_EQ(d.maxDeltaE, 0.0);
    EXPECT_EQ(d.p95DeltaE, 0.0);
}

TEST(LutDifference, OneChangedNodeIsFoundAndNamed) {
    Lut3d b = ramp();
    const int node = (2 * kLutSize + 3) * kLutSize + 16;  // input (1023, 192, 128)
    b.codes[node][1] += 40;
    const LutDifference d = compareLuts(ramp(), b);
    EXPECT_FALSE(d.identical);
    EXPECT_EQ(d.maxCodeChange, (std::array<double, 3>{0, 40, 0}));
    EXPECT_DOUBLE_EQ(d.meanCodeChange[1], 40.0 / kLutEntries);
    EXPECT_GT(d.maxDeltaE, 1.0);
    EXPECT_EQ(d.p95DeltaE, 0.0);  // one node in 4913
    const NodeDifference worst = worstNodes(d, 1).front();
    EXPECT_EQ(worst.node, node);
    EXPECT_EQ(worst.deltaE, d.maxDeltaE);
    EXPECT_EQ(describeInput(worst, Signal::kPq).rfind("PQ (1023, 192, 128), ", 0), 0u);
    EXPECT_EQ(describeInput(d.nodes[kLutSize * kLutSize * 9 + kLutSize * 9 + 9], Signal::kPq)
                  .rfind("PQ grey 576, ", 0), 0u);
}

TEST(LutDifference, ABrighterPanelDiffersInLightThoughTheCodesAgree) {
    Lut3d b = ramp();
    b.panel.peakNits = 2 * ramp().panel.peakNits;
    const LutDifference d = compareLuts(ramp(), b);
    EXPECT_TRUE(d.identical);  // the same codes
    EXPECT_EQ(d.maxCodeChange, (std::array<double, 3>{0, 0, 0}));
    EXPECT_GT(d.meanDeltaE, 10.0);
}

TEST(LutDifference, ALutOnAnotherGridIsReadBetweenItsPoints) {
    Lut3d b = ramp();
    b.grid = kNonUniformGrid;
    b.uniformGrid = false;
    for (int k = 0; k < kLutEntries; ++k) {
        const int axis[3] = {k % kLutSize, (k / kLutSize) % kLutSize, k / (kLutSize * kLutSize)};
        for (int c = 0; c < 3; ++c) b.codes[k][c] = b.grid[axis[c]] * 4;
    }
    const LutDifference d = compareLuts(ramp(), b);
    EXPECT_FALSE(d.sameGrid);
    EXPECT_FALSE(d.identical);
    EXPECT_LT(d.maxCodeChange[0], 1e-3);  // the same straight line, sampled elsewhere
}

}  // namespace
