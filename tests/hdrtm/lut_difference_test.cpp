// Comparing two LUTs: codes exactly, ΔE_ITP where the light differs, the
// worst node named by its input, pairs that cannot be compared; and where
// reference levels land through a LUT.
#include <gtest/gtest.h>

#include <cmath>

#include "colour/lut_difference.h"
#include "colour/reference_levels.h"
#include "colour/signal_light.h"

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

// Nodes of LUTs with other inputs are other colours: no node-by-node comparison.
TEST(LutDifference, OnlyLutsWithTheSameInputsAndGridCompare) {
    Lut3d hlg = ramp();
    hlg.input = Signal::kHlg;
    Lut3d nonUniform = ramp();
    nonUniform.grid = kNonUniformGrid;
    for (const auto& [b, why] : {std::pair{ramp(), ""},
                                 {hlg, "A takes PQ input and B HLG"},
                                 {nonUniform, "A is sampled on the uniform grid and B on the non-uniform grid"}}) {
        const std::string found = whyNotComparable(ramp(), b);
        EXPECT_EQ(found.rfind(why, 0), 0u) << found;
        EXPECT_EQ(found.empty(), std::string(why).empty()) << found;
    }
}

// A PQ LUT that puts out its input as PQ: each level lands where it started,
// to within a 10-bit output code.
Lut3d pqIdentity() {
    Lut3d lut;
    lut.output = Signal::kPq;
    for (int k = 0; k < kLutEntries; ++k) {
        const int axis[3] = {k % kLutSize, (k / kLutSize) % kLutSize, k / (kLutSize * kLutSize)};
        for (int c = 0; c < 3; ++c) lut.codes[k][c] = lut.grid[axis[c]];
    }
    return lut;
}

TEST(ReferenceLevels, ContentLevelsStopAtThePeakAndLandAsTheLutSays) {
    const std::pair<double, std::vector<std::string>> cases[] = {
        {0.0, {"100 nits", "203 nits", "1000 nits", "peak 10000 nits"}},  // no metadata: PQ's top
        {4000.0, {"100 nits", "203 nits", "1000 nits", "peak 4000 nits"}},
        {600.0, {"100 nits", "203 nits", "peak 600 nits"}},
    };
    for (const auto& [peak, names] : cases) {
        const std::vector<ReferenceLevel> levels = referenceLevels(pqIdentity(), peak);
        ASSERT_EQ(levels.size(), names.size()) << peak;
        for (size_t i = 0; i < levels.size(); ++i) {
            EXPECT_EQ(levels[i].name, names[i]);
            EXPECT_EQ(static_cast<long>(levels[i].inputCode), std::lround(nitsToPq(levels[i].inputNits) * kInputCodeMax));
            EXPECT_EQ(levels[i].outputCodes[1], levels[i].inputCode);
            EXPECT_NEAR(levels[i].outputNits / levels[i].inputNits, 1.0, 0.02) << names[i];
        }
    }
    EXPECT_EQ(levelsText(referenceLevels(pqIdentity(), 0.0)).rfind("100 nits → 100 nits (code 520), 203 nits → ", 0),
              0u);
}

TEST(ReferenceLevels, AnSdrLutGivesBlackGreyAndWhite) {
    Lut3d lut = pqIdentity();
    lut.input = Signal::kSdr;
    const std::vector<ReferenceLevel> levels = referenceLevels(lut, 0.0);
    ASSERT_EQ(levels.size(), 3u);
    EXPECT_EQ(levels[0].name, kSdrBlackLevel);
    EXPECT_EQ(levels[0].outputCodes[1], 0u);
    EXPECT_EQ(levels[1].name, kSdrGreyLevel);
    EXPECT_NEAR(levels[1].inputCode, 0.4613 * kInputCodeMax, 1.0);  // sRGB of 0.18
    EXPECT_EQ(levels[2].name, kSdrWhiteLevel);
    EXPECT_EQ(levels[2].outputCodes[1], 1023u);
    EXPECT_NEAR(levels[2].outputNits, 10000.0, 1.0);  // PQ's top
}

}  // namespace
