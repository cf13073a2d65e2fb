// The signal encodings, ICtCp (BT.2100) and ΔE_ITP (BT.2124). The standards
// give no worked colour examples we hold exactly, so greys are checked
// against ST 2084's own values (a grey has Ct = Cp = 0 and I = PQ(Y)) and
// colours by the properties the metric must have.
#include <gtest/gtest.h>

#include <cmath>

#include "colour/color_difference.h"

namespace {

using namespace hdrtm::tool;

constexpr double kPq100Nits = 0.508078421517;   // ST 2084 inverse EOTF of 100 cd/m2
constexpr double kPq1000Nits = 0.751827096247;  // of 1000 cd/m2
constexpr double kTolerance = 1e-9;

Nits3 grey(double nits) { return {nits, nits, nits}; }

TEST(SignalEncodings, RoundTripAndHitTheirReferencePoints) {
    EXPECT_NEAR(pqToNits(1.0), 10000.0, 1e-6);
    EXPECT_NEAR(nitsToPq(100.0), kPq100Nits, 1e-6);
    EXPECT_NEAR(hlgToScene(0.5), 1.0 / 12.0, 1e-12);
    EXPECT_NEAR(hlgToScene(1.0), 1.0, 1e-6);
    for (double s = 0.0; s <= 1.0; s += 0.05) {
        EXPECT_NEAR(nitsToPq(pqToNits(s)), s, 1e-6);  // PQ of 0 nits is 7.3e-7
        EXPECT_NEAR(sceneToHlg(hlgToScene(s)), s, 1e-9);
    }
}

TEST(Ictcp, GreysLieOnTheIAxisAtTheirPqLevel) {
    const struct {
        double nits, i;
    } cases[] = {{0.0, 7.3095590e-07}, {100.0, kPq100Nits}, {1000.0, kPq1000Nits}, {10000.0, 1.0}};
    for (const auto& c : cases) {
        const Ictcp v = ictcpFromNits(grey(c.nits));
        EXPECT_NEAR(v.i, c.i, 1e-8) << c.nits;
        EXPECT_NEAR(v.ct, 0.0, kTolerance) << c.nits;
        EXPECT_NEAR(v.cp, 0.0, kTolerance) << c.nits;
    }
}

TEST(Ictcp, PrimariesFallOnTheirSidesOfTheChromaAxes) {
    const Ictcp red = ictcpFromNits({100, 0, 0});
    const Ictcp green = ictcpFromNits({0, 100, 0});
    const Ictcp blue = ictcpFromNits({0, 0, 100});
    EXPECT_GT(red.cp, 0.0);   // Cp runs red against green
    EXPECT_LT(green.cp, 0.0);
    EXPECT_GT(blue.ct, 0.0);  // Ct runs blue against yellow
    EXPECT_LT(ictcpFromNits({100, 100, 0}).ct, 0.0);
    EXPECT_EQ(ictcpFromNits({-5, 0, 0}).i, ictcpFromNits({0, 0, 0}).i);  // no light below none
}

TEST(DeltaEItp, IsAMetricScaledSoOneIsAJustNoticeableStep) {
    const Ictcp a = ictcpFromNits({120, 80, 30});
    const Ictcp b = ictcpFromNits({100, 90, 40});
    EXPECT_EQ(deltaEItp(a, a), 0.0);
    EXPECT_DOUBLE_EQ(deltaEItp(a, b), deltaEItp(b, a));
    EXPECT_GT(deltaEItp(a, b), 0.0);
    // Between greys only I differs: 720 ΔI.
    EXPECT_NEAR(deltaEItp(ictcpFromNits(grey(100)), ictcpFromNits(grey(1000))),
                720.0 * (kPq1000Nits - kPq100Nits), 1e-6);
    // T weighs half of Ct: a pure Ct step of 2/720 is one JND, a Cp step of 1/720 too.
    EXPECT_NEAR(deltaEItp({0.5, 0.0, 0.0}, {0.5, 2.0 / 720, 0.0}), 1.0, kTolerance);
    EXPECT_NEAR(deltaEItp({0.5, 0.0, 0.0}, {0.5, 0.0, 1.0 / 720}), 1.0, kTolerance);
}

TEST(OutputLight, DecodesEachOutputToTheLightItStandsFor) {
    PanelInfo panel;
    panel.peakNits = 500.0f;
    panel.colorMode = 4;   // BT.2020: no primaries conversion
    panel.gammaSpace = 1;  // power 2.2
    const auto light = outputLight({{1, 1, 1}, {0.5f, 0.5f, 0.5f}, {0, 0, 0}}, Signal::kPanel, panel);
    EXPECT_NEAR(light[0][1], 500.0, 1e-3);
    EXPECT_NEAR(light[1][1], 500.0 * std::pow(0.5, 2.2), 1e-3);
    EXPECT_EQ(light[2][1], 0.0);
    const float pq100 = static_cast<float>(kPq100Nits);
    EXPECT_NEAR(outputLight({{pq100, pq100, pq100}}, Signal::kPq, panel)[0][0], 100.0, 1e-3);
    // HLG on its 1000-nit reference display: full signal is 1000 nits.
    EXPECT_NEAR(outputLight({{1, 1, 1}}, Signal::kHlg, panel)[0][2], 1000.0, 1e-3);
    // A P3 panel's red is inside BT.2020: a mix with some green and blue.
    panel.colorMode = 3;
    const Nits3 red = outputLight({{1, 0, 0}}, Signal::kPanel, panel)[0];
    EXPECT_GT(red[1], 0.0);
    EXPECT_NEAR(luminance(outputLight({{1, 1, 1}}, Signal::kPanel, panel)[0]), 500.0, 0.5);
}

}  // namespace
