// Sampling grids, the sample-plane layout and the non-uniform index table.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "lut3d.h"
#include "tm_stages.h"

namespace {

using GridTable = unsigned int[3][kGridPointsPerAxis];

struct Grid {
    GridTable rows;
    explicit Grid(const uint32_t* codes) {
        for (auto& row : rows) std::copy(codes, codes + kGridPointsPerAxis, row);
    }
};

TEST(GridFill, RedFastestBlueSlowestOverEveryPointAndOnlyTheRequestedPoints) {
    Grid grid(hdrtm::kUniformGridCodes);
    grid.rows[1][1] = 65, grid.rows[2][1] = 66;  // tell the axes apart
    std::vector<float> r(hdrtm::kLutPoints), g(r), b(r);
    float* planes[3] = {r.data(), g.data(), b.data()};
    input_gen(grid.rows, planes, kGridPointsPerAxis);
    for (int i = 0; i < hdrtm::kLutPoints; ++i) {
        ASSERT_EQ(r[i], static_cast<float>(grid.rows[0][i % 17])) << i;
        ASSERT_EQ(g[i], static_cast<float>(grid.rows[1][i / 17 % 17])) << i;
        ASSERT_EQ(b[i], static_cast<float>(grid.rows[2][i / 289])) << i;
    }
    std::fill(r.begin(), r.end(), -1.0f);
    hdrtm::fillSamplePlanes(grid.rows, planes, 0);
    EXPECT_EQ(r[0], -1.0f);
    hdrtm::fillSamplePlanes(grid.rows, planes, 1);
    EXPECT_EQ(r[0], 0.0f);
    EXPECT_EQ(r[1], -1.0f);
}

TEST(GridTables, HardwareCodesAreNonUniformPointsScaledTo4096) {
    for (int s = 0; s < kGridPointsPerAxis; ++s)
        EXPECT_EQ(hdrtm::kHardwareGridCodes[s], std::lround(hdrtm::kNonUniformGridCodes[s] * 4096.0 / 1023.0)) << s;
}

// Uniform rows are the identity; non-uniform ones interpolate between positions.
TEST(IndexTable, InterpolatesBetweenGridPositionsAndKeepsTheTopBits) {
    Color10Bit out[129];
    std::fill(std::begin(out), std::end(out), Color10Bit{0, 0, 0, 3});
    Grid uniform(hdrtm::kUniformGridCodes);
    uniform.rows[2][16] = 1000;  // B ends below 1023: inputs above 1000 use segment 15
    nonuniformity_mapping(uniform.rows, out);
    for (unsigned int t = 0; t < 129; ++t) {
        const unsigned int expected = t < 128 ? 8 * t : 1023;
        EXPECT_EQ(out[t].r, expected);
        EXPECT_EQ(out[t].g, expected);
        EXPECT_EQ(out[t].caller_bits, 3u);
    }
    EXPECT_EQ(out[124].b, (8u * 960 + 20 + 32 * 1023) / 40);  // 992 inside 960..1000
    EXPECT_EQ(out[127].b, 1048u & 0x3FF);  // 1016 extrapolates to 1048; low 10 bits kept

    Grid grid(hdrtm::kNonUniformGridCodes);
    grid.rows[1][1] = 0;  // G: zero-width first segment
    nonuniformity_mapping(grid.rows, out);
    EXPECT_EQ(out[68].r, 640u);  // code 544 is grid point 10
    EXPECT_EQ(out[8].r, (59u * 64 + 30 + 2 * 128) / 61);  // 2 codes past point 1 (62)
    for (int t = 1; t < 129; ++t) EXPECT_GE(out[t].r, out[t - 1].r) << t;
    EXPECT_EQ(out[0].g, 32u);  // the rounded-up midpoint ((0 + 1) + 64) / 2
}

}  // namespace
