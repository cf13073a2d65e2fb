// Transfer functions: decode tables, table decoders, encoders and the HLG OOTF.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include "tm_stages.h"
#include "transfer_functions.h"

namespace {

using namespace hdrtm;

const float kNaN = std::numeric_limits<float>::quiet_NaN();

// Independent long double curves rounded to `places` decimals (no entry is near a tie).
double rounded(long double value, int places) {
    const long double scale = powl(10.0L, places);
    return static_cast<double>(llroundl(value * scale)) / static_cast<double>(scale);
}
long double pqEotf(long double e) {
    const long double p = powl(e, 4096.0L / (2523.0L * 128.0L));
    const long double c1 = 3424.0L / 4096.0L, c2 = 2413.0L / 128.0L, c3 = 2392.0L / 128.0L;
    return powl(fmaxl(p - c1, 0.0L) / (c2 - c3 * p), 16384.0L / 2610.0L);
}
long double hlgInverseOetf(long double e) {
    return e <= 0.5L ? e * e / 3.0L : (expl((e - 0.55991073L) / 0.17883277L) + 0.28466892L) / 12.0L;
}
long double srgbEotf(long double v) {
    return v <= 0.04045L ? v / 12.92L : powl((v + 0.055L) / 1.055L, 2.4L);
}
long double bt709InverseOetf(long double v) {
    return v < 0.081L ? v / 4.5L : powl((v + 0.099L) / 1.099L, 1.0L / 0.45L);
}

TEST(DecodeTables, EveryEntryIsTheRoundedCurve) {
    for (int i = 0; i < kDecodeTableSize; ++i) {
        const long double e = i / 1023.0L;
        EXPECT_EQ(kPqDecodeTable[i], rounded(pqEotf(e), i < 66 ? 15 : 6)) << i;
        EXPECT_EQ(kHlgDecodeTable[i], rounded(hlgInverseOetf(e), 6)) << i;
        EXPECT_EQ(kSrgbDecodeTable[i], rounded(srgbEotf(e), 6)) << i;
        EXPECT_EQ(kBt709DecodeTable[i], rounded(bt709InverseOetf(e), 6)) << i;
    }
}

TEST(DecodeTables, TellingRows) {
    const std::tuple<const double*, int, double> rows[] = {
        {kPqDecodeTable, 1, 4.042272e-09}, {kPqDecodeTable, 65, 1.0463077369e-05},
        {kPqDecodeTable, 66, 0.000011}, {kPqDecodeTable, 1022, 0.990706},
        {kHlgDecodeTable, 511, 0.08317}, {kHlgDecodeTable, 512, 0.083496},
        {kSrgbDecodeTable, 42, 0.003179}, {kBt709DecodeTable, 84, 0.018192}};
    for (const auto& [table, index, value] : rows) EXPECT_EQ(table[index], value) << index;
}

// Three planes; G and B copy R unless given.
struct Planes {
    std::vector<float> r, g, b;
    float* p[3] = {r.data(), g.data(), b.data()};
    explicit Planes(std::vector<float> red, std::vector<float> green = {}, std::vector<float> blue = {})
        : r(red), g(green.empty() ? red : green), b(blue.empty() ? red : blue) {}
    unsigned int count() const { return static_cast<unsigned int>(r.size()); }
};

float entry(const double* table, int index) { return static_cast<float>(table[index]); }

TEST(TableDecoders, IndexByTruncationPerInMax) {
    Planes codes({0.0f, 512.0f, 512.9f, 1023.0f});
    st2084_inverse_tf(codes.p, codes.count(), 3, 1023, 10000);
    EXPECT_EQ(codes.b[0], 0.0f);
    EXPECT_EQ(codes.b[1], 10000.0f * entry(kPqDecodeTable, 512));
    EXPECT_EQ(codes.b[2], codes.b[1]);
    EXPECT_EQ(codes.b[3], 10000.0f);

    Planes thousand({1000.0f, 999.9f});
    st2084_inverse_tf(thousand.p, 2, 3, 1000, 1);
    EXPECT_EQ(thousand.g[0], 1.0f);
    EXPECT_EQ(thousand.g[1], entry(kPqDecodeTable, 1022));

    Planes byte({128.0f});  // trunc(128 / 255 * 1023) = 513
    bt709_inverse_tf(byte.p, 1, 255, 1);
    EXPECT_EQ(byte.r[0], entry(kBt709DecodeTable, 513));

    // inMax 1: the signal k/1023 reads entry k, and 0.5 reads 511.
    std::vector<float> signals{0.5f};
    for (int k = 0; k < kDecodeTableSize; ++k) signals.push_back(static_cast<float>(k) / 1023.0f);
    Planes normalised(signals);
    HLG_inverse_tf(normalised.p, normalised.count(), 1, 1);
    EXPECT_EQ(normalised.r[0], entry(kHlgDecodeTable, 511));
    for (int k = 0; k < kDecodeTableSize; ++k) {
        EXPECT_EQ(normalised.b[k + 1], entry(kHlgDecodeTable, k)) << k;
    }
}

TEST(TableDecoders, GuardsAndPlaneCounts) {
    Planes planes({512.0f});
    st2084_inverse_tf(planes.p, 1, 3, 0, 1);
    st2084_inverse_tf(planes.p, 1, 0, 1023, 1);
    st2084_inverse_tf(planes.p, 0, 3, 1023, 1);
    bt709_inverse_tf(planes.p, 1, 0, 1);
    sRGB_inverse_tf(planes.p, 1, 0, 1);
    sRGB_forward_tf(planes.p, 1, 3, 0, 1);
    gamma2p2_inverse_tf(planes.p, 1, 0, 1, 1);
    HLG_forward_tf(planes.p, 1, 3, 0, 1);
    EXPECT_EQ(planes.r[0], 512.0f);

    st2084_inverse_tf(planes.p, 1, 1, 1023, 1);  // only R
    EXPECT_EQ(planes.r[0], entry(kPqDecodeTable, 512));
    EXPECT_EQ(planes.g[0], 512.0f);

    Planes many({512.0f});
    st2084_inverse_tf(many.p, 1, 7, 1023, 1);  // more than three planes: all three
    EXPECT_EQ(many.b[0], entry(kPqDecodeTable, 512));
    Planes two({0.5f});
    HLG_forward_tf(two.p, 1, 2, 1, 1);
    EXPECT_NE(two.g[0], 0.5f);
    EXPECT_EQ(two.b[0], 0.5f);  // planeCount 2 leaves B
}

// Runs an encoder over the R plane with inScale and outScale 1.
using Encoder = void (*)(float**, unsigned int, unsigned short, unsigned short, unsigned short);
std::vector<float> encode(Encoder f, const std::vector<float>& samples) {
    Planes planes(samples);
    f(planes.p, planes.count(), 1, 1, 1);
    return planes.r;
}

TEST(Encoders, BranchesAndNamedPoints) {
    const std::tuple<Encoder, float, float, float> named[] = {
        {bt709_forward_tf, 0.1f, 0.2909f, 1e-4f}, {bt709_forward_tf, 1.0f, 1.0f, 1e-6f},
        {sRGB_forward_tf, 0.5f, 0.7354f, 1e-4f}, {HLG_forward_tf, 1.0f / 12.0f, 0.5f, 1e-7f},
        {HLG_forward_tf, 0.25f, 0.7385f, 1e-4f}, {HLG_forward_tf, 0.5f, 0.8716f, 1e-4f},
        {HLG_forward_tf, 1.0f, 1.0f, 1e-6f}};
    for (const auto& [f, x, y, tol] : named) EXPECT_NEAR(encode(f, {x})[0], y, tol) << x;
    // The linear branches include their limits.
    EXPECT_EQ(encode(bt709_forward_tf, {0.018f})[0], 0.018f * 4.5f);
    EXPECT_EQ(encode(sRGB_forward_tf, {0.0031308f})[0], 0.0031308f * 12.92f);
    const auto bt709 = encode(bt709_forward_tf, {-0.5f, 3.0f, 1.0f, kNaN});
    EXPECT_EQ(bt709[0], 0.0f);
    EXPECT_EQ(bt709[1], bt709[2]);
    EXPECT_TRUE(std::isnan(bt709[3]));  // the clamp lets NaN through
    const auto hlg = encode(HLG_forward_tf, {0.0f, -0.5f});
    EXPECT_EQ(hlg[0], 0.0f);
    EXPECT_TRUE(std::isnan(hlg[1]));  // HLG is not clamped

    Planes pq({10000.0f, 100.0f, -5.0f, 20000.0f});
    st2084_forward_tf(pq.p, pq.count(), 10000, 1);
    EXPECT_NEAR(pq.r[0], 1.0f, 1e-6f);
    EXPECT_NEAR(pq.g[1], 0.508f, 1e-3f);
    EXPECT_EQ(pq.b[2], powf(0.8359375f, 78.84375f));  // c1^m2, not 0
    EXPECT_EQ(pq.b[3], pq.b[0]);
}

TEST(Encoders, GammaPowers) {
    // The 2.2 exponent is the float quotient 1.0f/2.2f, so custom gamma 2.2
    // encodes bit-identically; decoding with 2.2 returns within a few ulps.
    std::vector<float> samples;
    for (int i = 0; i <= 100; ++i) samples.push_back(static_cast<float>(i) / 100.0f);
    Planes custom(samples), fixed(samples);
    gamma_custom_forward_tf(2.2f, custom.p, custom.count(), 3, 1, 1);
    gamma2p2_forward_tf(fixed.p, fixed.count(), 3, 1, 1);
    EXPECT_EQ(custom.g, fixed.g);
    gamma2p2_inverse_tf(fixed.p, fixed.count(), 3, 1, 1);
    for (size_t i = 0; i < samples.size(); ++i) EXPECT_NEAR(fixed.b[i], samples[i], 4e-7f);

    Planes zero({0.25f, 1.0f});  // gamma 0: infinite exponent
    gamma_custom_forward_tf(0.0f, zero.p, 2, 1, 1, 1);
    EXPECT_EQ(zero.r[0], 0.0f);
    EXPECT_EQ(zero.r[1], 1.0f);
}

TEST(Clipping, ReplacesOnlyOutOfRangeValues) {
    EXPECT_EQ(Clipping(-1.0f, 0.0f, 1.0f), 0.0f);
    EXPECT_EQ(Clipping(2.0f, 0.0f, 1.0f), 1.0f);
    EXPECT_EQ(Clipping(0.25f, 0.0f, 1.0f), 0.25f);
    EXPECT_TRUE(std::isnan(Clipping(kNaN, 0.0f, 1.0f)));
    EXPECT_EQ(Clipping(0.0f, 1.0f, -1.0f), 1.0f);  // lo > hi: below lo gives lo
}

TEST(Ootf, SystemGammaFollowsPeak) {
    Planes grey({1.0f, 0.5f});
    OOTF_forward_tf(grey.p, 2, 0, 0, 1000.0f);
    EXPECT_NEAR(grey.r[0], 0.1f, 1e-6f);
    EXPECT_NEAR(grey.g[1], 0.1 * std::pow(0.5, 1.2), 1e-6);

    Planes brighter({0.5f, 1.0f});
    OOTF_forward_tf(brighter.p, 2, 0, 0, 1500.0f);  // gamma 1.2 + 0.42 log10(1.5)
    EXPECT_NEAR(brighter.b[0], 0.15 * std::pow(0.5, 1.2 + 0.42 * std::log10(1.5)), 1e-6);

    Planes over({1.0f});
    OOTF_forward_tf(over.p, 1, 0, 0, 12000.0f);  // 12000 cd/m2 clamps to 1.0
    EXPECT_EQ(over.r[0], 1.0f);
}

TEST(Ootf, NonPositiveLuminanceCarriesPreviousGain) {
    Planes planes({0.0f, -0.1f, 0.5f, -0.5f, kNaN}, {0.0f, 0.02f, 0.5f, 0.01f, 0.01f},
                  {0.0f, 0.0f, 0.5f, 0.0f, 0.0f});
    OOTF_forward_tf(planes.p, planes.count(), 0, 0, 1000.0f);
    EXPECT_EQ(planes.g[0], 0.0f);
    EXPECT_EQ(planes.g[1], 0.0f);  // gain still 0 from the black first sample
    EXPECT_EQ(planes.r[3], 0.0f);  // samples 3 and 4 reuse sample 2's gain
    EXPECT_FLOAT_EQ(planes.g[3] * 50.0f, planes.g[2]);
    EXPECT_TRUE(std::isnan(planes.r[4]));
    EXPECT_FLOAT_EQ(planes.g[4] * 50.0f, planes.g[2]);
}

TEST(Ootf, InverseUndoesForward) {
    std::vector<float> r, g, b;
    for (int i = 1; i <= 40; ++i) {
        r.push_back(static_cast<float>(i) / 40.0f);
        g.push_back(r.back() * 0.5f);
        b.push_back(r.back() * r.back());
    }
    Planes planes(r, g, b);
    OOTF_forward_tf(planes.p, planes.count(), 0, 0, 1500.0f);
    OOTF_inverse_tf(planes.p, planes.count(), 7, 9, 1500.0f);  // the 16-bit arguments are ignored
    for (size_t i = 0; i < r.size(); ++i) {
        EXPECT_NEAR(planes.r[i], r[i], 8e-6f) << i;
        EXPECT_NEAR(planes.b[i], b[i], 8e-6f) << i;
    }
}

}  // namespace
