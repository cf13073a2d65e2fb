// Colour conversion: matrix tables, RGB/XYZ/Lab, gamut mapping and panel correction.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "color_conversion.h"
#include "hdr_tm.h"

namespace {

using hdrtm::kLutPoints;
using hdrtm::Matrix3;

// Three planes holding a 17-step ramp per axis (R fastest), point 0 optionally replaced.
struct Planes {
    explicit Planes(unsigned int count = kLutPoints, float r0 = 0, float g0 = 0, float b0 = 0) {
        for (unsigned int i = 0; i < count; ++i)
            for (unsigned int c = 0, step = 1; c < 3; ++c, step *= 17)
                v[c].push_back(static_cast<float>(i / step % 17) / 16.0f);
        v[0][0] = r0, v[1][0] = g0, v[2][0] = b0;
        for (int c = 0; c < 3; ++c) p[c] = v[c].data();
    }
    bool operator==(const Planes& o) const { return v[0] == o.v[0] && v[1] == o.v[1] && v[2] == o.v[2]; }
    std::vector<float> v[3];
    float* p[3];
};

// Every entry of the product a * b (in double) against `expected`.
void expectProductNear(const Matrix3& expected, const Matrix3& a, const Matrix3& b, double tol) {
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            EXPECT_NEAR(expected[row][col], double{a[row][0]} * b[0][col] + double{a[row][1]} * b[1][col] +
                                                double{a[row][2]} * b[2][col], tol) << row << "," << col;
}

TEST(ColorTables, AgreeWithEachOtherAndWithD65) {
    const Matrix3 identity = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int primaries = 0; primaries < hdrtm::kPrimariesCount; ++primaries)
        expectProductNear(identity, hdrtm::kXyzToRgb[primaries], hdrtm::kRgbToXyz[primaries], 1e-5);
    // (from, to) primaries of each IndexRGB conversion
    const int route[6][2] = {{0, 3}, {3, 0}, {1, 3}, {3, 1}, {2, 3}, {3, 2}};
    for (int k = 0; k < 6; ++k)
        expectProductNear(hdrtm::kPrimariesConversion[k], hdrtm::kXyzToRgb[route[k][1]],
                          hdrtm::kRgbToXyz[route[k][0]], 2e-4);
    // White goes to D65 and stays white; the luminance rows sum to 1 to the last decimal.
    const double d65[3] = {0.95046, 1.0, 1.08906}, tolerance[3] = {1e-5, 5e-7, 2e-5};
    for (const Matrix3& m : hdrtm::kRgbToXyz)
        for (int row = 0; row < 3; ++row)
            EXPECT_NEAR(double{m[row][0]} + m[row][1] + m[row][2], d65[row], tolerance[row]);
    for (const Matrix3& m : hdrtm::kPrimariesConversion)
        for (const auto& row : m) EXPECT_NEAR(double{row[0]} + row[1] + row[2], 1.0, 1.5e-4);
}

class ColorConversion : public ::testing::Test {
protected:
    ColorConversion() { params.grid_size = 17, params.pcc = &pcc; }
    TMParams params{};
    PccCoefficients pcc{};
    Planes in, out;
};

TEST_F(ColorConversion, PrimariesRoundTripHoldsOnlyToFourDecimalsAndBadArgumentsConvertNothing) {
    rgb2rgb_conv(in.p, BT709_TO_BT2020, 0x80000000u);  // a negative count
    rgb2rgb_conv(in.p, static_cast<IndexRGB>(6), kLutPoints);
    rgb2xyz(&params, 4, in.p, in.p);
    xyz2rgb(&params, 4, in.p, in.p);
    EXPECT_TRUE(in == out);
    rgb2rgb_conv(in.p, BT709_TO_BT2020, kLutPoints);
    rgb2rgb_conv(in.p, BT2020_TO_BT709, kLutPoints);
    for (int c = 0; c < 3; ++c)
        for (unsigned int i = 0; i < kLutPoints; ++i) ASSERT_NEAR(in.v[c][i], out.v[c][i], 3e-4);
    EXPECT_FALSE(in == out);
    Planes red{kLutPoints, 1.0f, 0.0f, 0.0f};
    rgb2rgb_conv(red.p, BT709_TO_BT2020, 1);  // point 0 only
    EXPECT_EQ(red.v[0][0], 0.6274f);
    EXPECT_EQ(red.v[2][0], 0.0164f);
    EXPECT_EQ(red.v[0][1], out.v[0][1]);
}

// Lab of the engine's white is neutral; only rgb2xyz converts an oversized grid.
TEST_F(ColorConversion, LabOfTheEngineWhiteIsNeutralAndOnlyRgbToXyzTakesAnOversizedGrid) {
    Planes white{kLutPoints, 0.9505f, 1.0f, 1.0891f}, d65{kLutPoints, 0.9505f, 1.0f, 1.0888f};
    xyz2lab(&params, white.p, out.p);
    EXPECT_EQ(out.v[0][0], 100.0f);
    EXPECT_NEAR(std::fabs(out.v[1][0]) + std::fabs(out.v[2][0]), 0.0f, 1e-4);
    xyz2lab(&params, d65.p, out.p);  // the common D65 Z gives a slightly yellow white
    EXPECT_NEAR(out.v[2][0], 0.02f, 0.005);

    params.grid_size = 18;
    Planes big{18 * 18 * 18}, xyz{18 * 18 * 18};
    xyz2rgb(&params, 0, big.p, xyz.p);
    xyz2lab(&params, big.p, xyz.p);
    EXPECT_TRUE(xyz == big);
    rgb2xyz(&params, 0, big.p, xyz.p);
    EXPECT_NE(xyz.v[1].back(), big.v[1].back());
}

TEST_F(ColorConversion, LuminanceReplacementKeepsChromaAndClamps) {
    std::vector<float> before(kLutPoints, 0.0f), after(kLutPoints, 0.5f);
    Planes black{kLutPoints, 0.3f, 0.0f, 0.2f}, white{kLutPoints, 0.9505f, 1.0f, 1.0891f};
    XYZ2rgb(&params, before.data(), after.data(), black.p, out.p);  // Y = 0: no division
    EXPECT_EQ(out.v[0][0] + out.v[1][0] + out.v[2][0], 0.0f);
    before.assign(kLutPoints, 1.0f);
    XYZ2rgb(&params, before.data(), after.data(), white.p, out.p);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(out.v[c][0], 0.5f, 1e-4);
    before[0] = 0.1f;  // ratio 5 drives white far above 1
    white.v[0][17] = NAN;  // a point with Y above 0
    XYZ2rgb(&params, before.data(), after.data(), white.p, out.p);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(out.v[c][0], 1.0f);
    EXPECT_TRUE(std::isnan(out.v[0][17]));
}

TEST_F(ColorConversion, GamutMappingFollowsThePanelPrimaries) {
    const std::pair<HDR_COLOR_SPACE, unsigned char> targets[] = {
        {SPACE_SRGB, 0}, {SPACE_BT709, 0}, {SPACE_ADOBE, 1}, {SPACE_DCIP3, 2}, {SPACE_BT2020, 3}};
    Planes green{kLutPoints, 0.0f, 1.0f, 0.0f};
    for (const auto& [mode, primaries] : targets) {
        Planes mapped{kLutPoints, 0.0f, 1.0f, 0.0f}, viaXyz;
        params.panel_color_mode = mode;
        rgb2rgb_gmap(&params, mapped.p);
        rgb2xyz(&params, hdrtm::kPrimariesBt2020, green.p, out.p);
        xyz2rgb(&params, primaries, out.p, viaXyz.p);
        EXPECT_TRUE(mapped == viaXyz) << mode;
    }
    params.panel_color_mode = SPACE_SRGB;  // a saturated green keeps its negative red
    rgb2rgb_gmap(&params, green.p);
    EXPECT_NEAR(green.v[0][0], -0.5876f, 2e-4);
    params.map_direction = MAP_INVERSE;  // stays in BT.2020: unchanged to rounding
    Planes ramp;
    rgb2rgb_gmap(&params, in.p);
    for (int c = 0; c < 3; ++c)
        for (unsigned int i = 0; i < kLutPoints; ++i) ASSERT_NEAR(in.v[c][i], ramp.v[c][i], 1e-5);
    params.panel_color_mode = static_cast<HDR_COLOR_SPACE>(5);
    rgb2rgb_gmap(&params, ramp.p);
    EXPECT_TRUE(ramp == Planes{});
}

TEST_F(ColorConversion, PanelCorrectionIdentityFallbackRoundingAndNullBlock) {
    pcc.row[0][kPccR] = pcc.row[1][kPccG] = pcc.row[2][kPccB] = 1.0;
    panel_mapping_PCC(&params, in.p);
    EXPECT_TRUE(in == out);
    for (auto& row : pcc.row) row[kPccR] = row[kPccG] = row[kPccB] = 1.0;
    Planes mixed{kLutPoints, 0.25f, 0.25f, 0.125f};
    panel_mapping_PCC(&params, mixed.p);
    EXPECT_EQ(mixed.v[0][0], 0.625f);
    EXPECT_EQ(mixed.v[2][0], 0.625f);
    EXPECT_EQ(mixed.v[1][kLutPoints - 1], 1.0f);  // 3.0 clamped

    const float almostOne = hdrtm::floatFromBits(0x3F7FFFFF);  // 1 - 2^-24
    const float halfUlp = std::ldexp(1.0f, -25);  // half an ulp just below 1
    Planes p{kLutPoints, almostOne, halfUlp, 0.0f};
    pcc = {};
    pcc.row[0][kPccRR] = 1.0, pcc.row[0][kPccC] = -double{almostOne * almostOne};  // cancels the single product
    pcc.row[1][kPccR] = pcc.row[1][kPccG] = 1.0, pcc.row[1][kPccC] = -0.5;  // r + g rounds up to 1 in single
    panel_mapping_PCC(&params, p.p);
    EXPECT_EQ(p.v[0][0], 0.0f);
    EXPECT_EQ(p.v[1][0], 0.5f - halfUlp);
    params.pcc = nullptr;
    panel_mapping_PCC(&params, in.p);
    EXPECT_TRUE(in == out);
}

}  // namespace
