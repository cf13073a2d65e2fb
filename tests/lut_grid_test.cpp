// Sampling grids, the sample-plane layout and the non-uniform index table.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "lut3d.h"
#include "tm_stages.h"

namespace {

using hdrtm::kLutPoints;

using GridTable = unsigned int[3][kGridPointsPerAxis];

void setAllAxes(GridTable& grid, const uint32_t* codes) {
    for (auto& row : grid) std::copy(codes, codes + kGridPointsPerAxis, row);
}

class GridFill : public ::testing::Test {
protected:
    static constexpr float kUntouched = -7.0f;
    std::vector<float> r = std::vector<float>(kLutPoints, kUntouched);
    std::vector<float> g = r, b = r;
    float* planes[3] = {r.data(), g.data(), b.data()};
    GridTable grid{};
};

TEST_F(GridFill, RedVariesFastestBlueSlowest) {
    setAllAxes(grid, hdrtm::kUniformGridCodes);
    input_gen(grid, planes, kGridPointsPerAxis);
    for (int i = 0; i < kLutPoints; ++i) {
        ASSERT_EQ(r[i], static_cast<float>(grid[0][i % 17])) << i;
        ASSERT_EQ(g[i], static_cast<float>(grid[1][i / 17 % 17])) << i;
        ASSERT_EQ(b[i], static_cast<float>(grid[2][i / 289])) << i;
    }
    EXPECT_EQ(r[4912], 1023.0f);
    EXPECT_EQ(b[4912], 1023.0f);
    EXPECT_EQ(r[16], 1023.0f);
    EXPECT_EQ(g[16], 0.0f);
    EXPECT_EQ(b[289], 64.0f);
}

TEST_F(GridFill, NonUniformGridAndPointCounts) {
    setAllAxes(grid, hdrtm::kNonUniformGridCodes);
    hdrtm::fillSamplePlanes(grid, planes, 17);
    EXPECT_EQ(r[1], 62.0f);
    EXPECT_EQ(b[289], 62.0f);

    std::vector<float> before = r;
    input_gen(grid, planes, 0);
    EXPECT_EQ(r, before);

    std::fill(r.begin(), r.end(), kUntouched);
    input_gen(grid, planes, 1);
    EXPECT_EQ(r[0], 0.0f);
    EXPECT_EQ(b[0], 0.0f);
    EXPECT_EQ(r[1], kUntouched);
}

TEST(GridTables, HardwareCodesAreNonUniformPointsScaledTo4096) {
    for (int s = 0; s < kGridPointsPerAxis; ++s) {
        EXPECT_EQ(hdrtm::kHardwareGridCodes[s],
                  std::lround(hdrtm::kNonUniformGridCodes[s] * 4096.0 / 1023.0)) << s;
    }
}

class IndexTable : public ::testing::Test {
protected:
    GridTable grid{};
    Color10Bit out[129];
    void SetUp() override { std::fill(std::begin(out), std::end(out), Color10Bit{0, 0, 0, 3}); }
};

TEST_F(IndexTable, UniformGridIsIdentityAndKeepsTopBits) {
    setAllAxes(grid, hdrtm::kUniformGridCodes);
    nonuniformity_mapping(grid, out);
    for (unsigned int t = 0; t < 128; ++t) {
        EXPECT_EQ(out[t].r, 8 * t);
        EXPECT_EQ(out[t].g, 8 * t);
        EXPECT_EQ(out[t].b, 8 * t);
        EXPECT_EQ(out[t].caller_bits, 3u);
    }
    EXPECT_EQ(out[128].r, 1023u);
    EXPECT_EQ(out[128].b, 1023u);
    EXPECT_EQ(out[128].caller_bits, 3u);
}

TEST_F(IndexTable, NonUniformGridPointsLandOnTheirPositions) {
    setAllAxes(grid, hdrtm::kNonUniformGridCodes);
    nonuniformity_mapping(grid, out);
    EXPECT_EQ(out[68].g, 640u);  // code 544 is grid point 10
    EXPECT_EQ(out[128].b, 1023u);
    // Code 64 lies 2 codes past point 1 (62) in a 61-code segment.
    EXPECT_EQ(out[8].r, static_cast<unsigned>((59 * 64 + 30 + 2 * 128) / 61));
    for (int t = 1; t < 129; ++t) EXPECT_GE(out[t].r, out[t - 1].r) << t;
}

TEST_F(IndexTable, ZeroWidthSegmentGivesRoundedUpMidpoint) {
    setAllAxes(grid, hdrtm::kUniformGridCodes);
    grid[1][1] = 0;  // segment 0 of G has zero width
    nonuniformity_mapping(grid, out);
    EXPECT_EQ(out[0].g, 32u);  // ((0 + 1) + 64) / 2
    EXPECT_EQ(out[0].r, 0u);
}

TEST_F(IndexTable, ShortRowStaysInItsLastSegment) {
    setAllAxes(grid, hdrtm::kUniformGridCodes);
    grid[2][16] = 1000;  // B ends below 1023: inputs above 1000 use segment 15
    nonuniformity_mapping(grid, out);
    // 1016 extrapolates to position 1048, of which the low 10 bits are kept.
    const int x = 1016;
    const int position = ((1000 - x) * 960 + 20 + (x - 960) * 1023) / 40;
    EXPECT_EQ(position, 1048);
    EXPECT_EQ(out[127].b, static_cast<unsigned>(position) & 0x3FFu);
    EXPECT_EQ(out[124].b, 1010u);  // 992 is inside the shortened 960..1000 segment
    EXPECT_EQ(out[127].r, 1016u);
}

}  // namespace
