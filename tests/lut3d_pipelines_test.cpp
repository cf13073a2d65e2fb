// The four LUT pipelines (the forward ones against their stages run one after
// another) and the shared stages at their branch points.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

#include "hdr_tm.h"
#include "lut3d.h"
#include "tm_common.h"

namespace {

using hdrtm::kLutPoints;
using Pipeline = void (*)(TMParams*, float**);

struct Planes {
    explicit Planes(float fill = 0.0f)
        : r(kLutPoints, fill), g(kLutPoints, fill), b(kLutPoints, fill) {}
    std::array<float*, 3> ptr() { return {r.data(), g.data(), b.data()}; }
    std::vector<float> r, g, b;
};

// Bit-for-bit equality of all three planes (NaN equals NaN of the same bits).
bool same(const std::vector<float>& x, const std::vector<float>& y) {
    return std::memcmp(x.data(), y.data(), x.size() * sizeof(float)) == 0;
}
bool sameBits(const Planes& a, const Planes& e) { return same(a.r, e.r) && same(a.g, e.g) && same(a.b, e.b); }

class LutPipelines : public testing::Test {
protected:
    void SetUp() override {
        set_default_vals(&params);
        params.grid_size = 17, params.out_bit_depth = 12, params.gamut_mode = 2;
        params.clipLuma = 1000.0f, params.pcc = &pcc;
        for (int axis = 0; axis < 3; ++axis) {
            std::copy_n(hdrtm::kNonUniformGridCodes, 17, params.grid_points[0][axis]);
            std::copy_n(hdrtm::kUniformGridCodes, 17, params.grid_points[1][axis]);
        }
        for (int c = 0; c < 3; ++c) pcc.row[c][kPccR + c] = 1.0;  // identity correction
    }

    Planes run(Pipeline pipeline, float fill = 0.0f) {
        Planes planes(fill);
        pipeline(&params, planes.ptr().data());
        return planes;
    }

    TMParams params{};
    PccCoefficients pcc{};
};

TEST_F(LutPipelines, ForwardPipelinesDecodeTheirGridThenShareThePanelStages) {
    const uint8_t gamutModes[] = {0, 1, 2, 5};
    const uint32_t panels[] = {SPACE_BT709, SPACE_ADOBE, SPACE_DCIP3, SPACE_BT2020};
    const uint32_t gammas[] = {GAMMA_LINEAR, GAMMA_2P2, GAMMA_SRGB, GAMMA_BT709, GAMMA_CUSTOM, 9};
    params.output_gamma_val = 2.4f;
    for (int i = 0; i < 24; ++i) {
        params.gamut_mode = gamutModes[i % 4], params.pcc_enable = (i / 3) % 2;
        params.panel_color_mode = static_cast<HDR_COLOR_SPACE>(panels[(i / 4) % 4]);
        params.output_gamma_space = static_cast<OUTPUT_GAMMA_SPACE>(gammas[i % 6]);
        params.grid_set = (i % 3 == 0) ? 0 : 7;  // any non-zero value selects set 1
        params.out_bit_depth = (i % 5 == 0) ? 10 : 12;
        SCOPED_TRACE(i);
        Planes pq, hlg;
        input_gen(params.grid_points[params.grid_set == 0 ? 0 : 1], pq.ptr().data(), 17);
        hlg = pq;
        st2084_inverse_tf(pq.ptr().data(), kLutPoints, 3, 1023, 1);
        hdrtm::mapLinearLightToPanelCodes(&params, pq.ptr().data());
        EXPECT_TRUE(sameBits(run(lut3d_process), pq));
        HLG_inverse_tf(hlg.ptr().data(), kLutPoints, 1023, 1);
        OOTF_forward_tf(hlg.ptr().data(), kLutPoints, 0, 0, params.nominal_peak_luminance);
        hdrtm::mapLinearLightToPanelCodes(&params, hlg.ptr().data());
        EXPECT_TRUE(sameBits(run(HLG_lut3d_process), hlg));
        // Codes within full scale, black stays black, the neutral axis (307 k) never falls.
        const float fullScale = params.out_bit_depth == 10 ? 1023.0f : 4095.0f;
        for (float v : pq.r) ASSERT_TRUE(v >= 0.0f && v <= fullScale) << v;
        EXPECT_EQ(pq.g[0] + hlg.b[0], 0.0f);
        for (int k = 1; k < 17; ++k) {
            EXPECT_GE(pq.g[307 * k], pq.g[307 * (k - 1)] - 0.01f) << k;
            EXPECT_GE(hlg.g[307 * k], hlg.g[307 * (k - 1)] - 0.01f) << k;
        }
    }
}

TEST_F(LutPipelines, GamutStageReadsOnlyTheLowTwoBitsOfGamutMode) {
    params.panel_color_mode = SPACE_BT709;
    auto withMode = [&](uint8_t mode) { return params.gamut_mode = mode, run(lut3d_process); };
    const Planes none = withMode(0), matrix = withMode(1), mapped = withMode(2);
    EXPECT_TRUE(sameBits(withMode(3), none) && sameBits(withMode(5), matrix) && sameBits(withMode(6), mapped));
    EXPECT_FALSE(sameBits(matrix, none) || sameBits(mapped, none) || sameBits(mapped, matrix));
}

TEST_F(LutPipelines, PanelCorrectionRunsOnlyWhenEnabledWithABlock) {
    for (int c = 0; c < 3; ++c) pcc.row[c][kPccR + c] = 0.0, pcc.row[c][kPccC] = 0.25;
    params.output_gamma_space = GAMMA_LINEAR;
    params.pcc_enable = 1;
    const Planes corrected = run(HLG_lut3d_process);
    EXPECT_TRUE(sameBits(corrected, Planes(0.25f * 4095.0f)));  // every point corrected to 0.25
    params.pcc_enable = 0;
    const Planes uncorrected = run(HLG_lut3d_process);
    params.pcc_enable = 1, params.pcc = nullptr;  // no block: nothing to correct with
    EXPECT_TRUE(sameBits(run(HLG_lut3d_process), uncorrected) && !sameBits(uncorrected, corrected));
}

// Their output is pinned by the golden planes; here: set 0 is never read.
TEST_F(LutPipelines, InversePipelinesSampleTheUniformGridWhateverGridSetSays) {
    for (int i = 0; i < 3; ++i) {
        params.inverse_bt2020_luma = i % 2;  // SDR or HLG input to PQ, then SDR to HLG
        const Pipeline pipeline = i < 2 ? inverse_lut3d_process : HLG_inverse_lut3d_process;
        params.grid_set = 1;
        const Planes uniform = run(pipeline);
        params.grid_set = 0;
        std::memset(params.grid_points[0], 0, sizeof(params.grid_points[0]));
        EXPECT_TRUE(sameBits(run(pipeline), uniform)) << i;
        SetUp();
    }
}

TEST_F(LutPipelines, GridSizeZeroLeavesThePlanesUntouched) {
    params.grid_size = 0, params.pcc_enable = 1;
    for (Pipeline pipeline : {lut3d_process, HLG_lut3d_process, inverse_lut3d_process, HLG_inverse_lut3d_process})
        EXPECT_TRUE(sameBits(run(pipeline, 0.25f), Planes(0.25f)));
}

// Stages run on one point whose three channels hold x; they return channel R.
float encoded(uint32_t space, float x) {
    float g = x, b = x, *p[3] = {&x, &g, &b};
    hdrtm::encodeOutputTransfer(p, 1, space, 2.4f);
    return x;
}
float scaled(uint32_t bits, float x) {
    float g = x, b = x, *p[3] = {&x, &g, &b};
    hdrtm::scaleToOutputCodes(p, 1, bits);
    return x;
}

// The HLG OETF alone is not clamped and takes the square root at exactly 1/12.
TEST(PipelineStages, OutputTransferClampsThenEncodesAndTheHlgOetfDoesNotClamp) {
    for (uint32_t space : {GAMMA_2P2, GAMMA_SRGB, GAMMA_BT709, GAMMA_CUSTOM}) {
        EXPECT_EQ(encoded(space, -0.5f), 0.0f) << space;
        EXPECT_EQ(encoded(space, 1.5f), encoded(space, 1.0f)) << space;
        EXPECT_TRUE(std::isnan(encoded(space, NAN))) << space;
    }
    for (uint32_t space : {0u, 5u, 255u}) {  // linear and unknown: untouched, no clamp
        EXPECT_EQ(encoded(space, -0.5f), -0.5f);
        EXPECT_EQ(encoded(space, 1.5f), 1.5f);
    }
    float x[3] = {1.0f / 12.0f, 1.0f, -0.01f}, *p[3] = {&x[0], &x[1], &x[2]};  // a value per channel
    hdrtm::encodeHlgOetf(p, 1);
    EXPECT_EQ(x[0], 0.5f);
    EXPECT_NEAR(x[1], 1.0f, 1e-6f);
    EXPECT_TRUE(std::isnan(x[2]));
}

TEST(PipelineStages, OutputScaleClampsAndNeverRounds) {
    const std::tuple<uint32_t, float, float> rows[] = {  // depth 0 gives 2^0 - 1; depths are modulo 32
        {12, 1.0f, 4095.0f}, {10, 1.0f, 1023.0f}, {10, 0.5f, 511.5f}, {10, 1.7f, 1023.0f},
        {10, -0.2f, 0.0f}, {0, 1.0f, 0.0f}, {32, 1.0f, 0.0f}, {44, 1.0f, 4095.0f},
        {31, 1.0f, 2147483647.0f}};
    for (const auto& [bits, x, code] : rows) EXPECT_EQ(scaled(bits, x), code) << bits << " " << x;
    EXPECT_TRUE(std::isnan(scaled(10, NAN)));
}

// Golden planes pin the matrices; here: BT.709 panels share sRGB's, BT.2020
// and unknown panels take none, and nothing is clamped.
TEST(PipelineStages, FixedGamutMatrixByPanelColourSpaceUnclamped) {
    const auto convert = [](uint32_t panel) {
        std::array<float, 3> rgb = {0.0f, 1.0f, 0.0f};
        float* planes[3] = {&rgb[0], &rgb[1], &rgb[2]};
        hdrtm::applyFixedGamutMatrix(planes, 1, panel);
        return rgb;
    };
    EXPECT_EQ(convert(SPACE_BT709), convert(SPACE_SRGB));
    EXPECT_EQ(convert(SPACE_SRGB)[0], -0.5875401f);
    EXPECT_GT(convert(SPACE_DCIP3)[1], 1.0f);
    for (uint32_t panel : {uint32_t{SPACE_BT2020}, 5u}) EXPECT_EQ(convert(panel), (std::array{0.0f, 1.0f, 0.0f}));
}

}  // namespace
