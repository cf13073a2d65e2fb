// Saturation gain and boost, and the two tone-mapping cores.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "hdr_tm.h"

namespace {

float luma2020(float r, float g, float b) { return 0.2627f * r + 0.678f * g + 0.0593f * b; }

// One point through the boost with t1 100 nits, kmax 1.2.
std::array<float, 3> boost(std::array<float, 3> rgb, uint32_t direction, float t2 = 1000.0f) {
    float* planes[3] = {&rgb[0], &rgb[1], &rgb[2]};
    rgbSatBoost(planes, 1, 100.0f, t2, 1.2f, static_cast<MAP_DIRECTION>(direction));
    return rgb;
}

// The gain rises from 1 to its maximum. Saturated red is at the chroma limit
// already. Only a grey whose chroma rounds to exactly 0 turns NaN inverse:
// black always, 0.25 not (Cr 9e-10).
TEST(Saturation, GainRisesAndBoostKeepsLumaAndLegalChroma) {
    for (auto [y, gain] : {std::pair{0.0099f, 1.0f}, {0.01f, 1.0f}, {0.055f, 1.25f}, {0.1f, 1.5f}})
        EXPECT_FLOAT_EQ(satGain(y, 100.0f, 1000.0f, 1.5f), gain) << y;
    const std::array<float, 3> red = boost({1.0f, 0.0f, 0.0f}, MAP_FORWARD, 2000.0f);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(red[c], c == 0 ? 1.0f : 0.0f, 2e-6f) << c;
    const std::array<float, 3> in = {0.3f, 0.2f, 0.1f}, boosted = boost(in, MAP_FORWARD);
    EXPECT_GT(boosted[0] - boosted[2], in[0] - in[2]);
    EXPECT_NEAR(luma2020(boosted[0], boosted[1], boosted[2]), luma2020(in[0], in[1], in[2]), 1e-6f);
    const std::array<float, 3> back = boost(boosted, MAP_INVERSE);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(back[c], in[c], 1e-6f) << c;
    EXPECT_NEAR(boost({0.25f, 0.25f, 0.25f}, MAP_FORWARD)[1], 0.25f, 1e-7f);
    for (float v : boost({0.0f, 0.0f, 0.0f}, 7)) EXPECT_TRUE(std::isnan(v));
}

// Default tuning over a 17^3 grid of linear BT.2020 values up to 500 nits.
class Cores : public ::testing::Test {
protected:
    static constexpr unsigned kCount = 17 * 17 * 17;
    void SetUp() override {
        set_default_vals(&params);
        params.grid_size = 17;
        for (unsigned i = 0; i < kCount; ++i) {
            const unsigned steps[3] = {i % 17, i / 17 % 17, i / 289};
            for (int c = 0; c < 3; ++c) rgb[c][i] = float(steps[c] * steps[c]) / 256.0f * 0.05f;
        }
    }
    float mapped(float y) {
        TMParams single = params;
        single.grid_size = 1;
        float out;
        yTM(&single, &y, &out);
        return out;
    }
    float lumaAt(unsigned i) { return luma2020(rgb[0][i], rgb[1][i], rgb[2][i]); }
    TMParams params{};
    std::vector<float> rgb[3] = {std::vector<float>(kCount), std::vector<float>(kCount), std::vector<float>(kCount)};
    float* planes[3] = {rgb[0].data(), rgb[1].data(), rgb[2].data()};
};

TEST_F(Cores, ForwardMapsLuminanceKeepsBlackGreyAndHueInverseUsesTheChosenPrimaries) {
    const unsigned colour = 5 + 17 * 9 + 289 * 3;
    const float expected = mapped(lumaAt(colour)), hue = rgb[0][colour] / rgb[1][colour];
    tone_mapping_core(&params, planes);
    EXPECT_NEAR(lumaAt(colour) / expected, 1.0f, 1e-4f);
    EXPECT_NEAR(rgb[0][colour] / rgb[1][colour], hue, 1e-3f);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(rgb[c][0], 0.0f);
    for (unsigned i = 0; i < kCount; i += 17 * 17 + 17 + 1) EXPECT_NEAR(rgb[2][i], rgb[0][i], 1e-4f);

    // The inverse takes luminance by the chosen primaries.
    params.map_direction = MAP_INVERSE;
    for (uint32_t bt2020 : {0u, 1u}) {
        params.inverse_bt2020_luma = bt2020;
        rgb[0][1] = 0.0f, rgb[1][1] = 1.0f, rgb[2][1] = 0.0f;
        inverse_tone_mapping_core(&params, planes);
        EXPECT_NEAR(lumaAt(1), mapped(bt2020 ? 0.678f : 0.715169f), 1e-6f) << bt2020;
    }
    params.sat_enable = 1;  // saturation after tone mapping: black becomes NaN
    inverse_tone_mapping_core(&params, planes);
    for (int c = 0; c < 3; ++c) EXPECT_TRUE(std::isnan(rgb[c][0])) << c;
    SetUp();
    params.grid_size = 0;  // scratch still allocated and released
    tone_mapping_core(&params, planes);
    inverse_tone_mapping_core(&params, planes);
    EXPECT_EQ(rgb[0][kCount - 1], 0.05f);
}

}  // namespace
