// Transfer functions: decode tables, table decoders, encoders and the HLG OOTF.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include "cr_maths.h"
#include "tm_stages.h"
#include "transfer_functions.h"


namespace {

using namespace hdrtm;

const float kNaN = std::numeric_limits<float>::quiet_NaN();

// An independent long double value rounded to `places` decimals (no entry is near a tie).
double rounded(long double value, int places) {
    const long double scale = powl(10.0L, places);
    return static_cast<double>(llroundl(value * scale)) / static_cast<double>(scale);
}

TEST(DecodeTables, EveryEntryIsTheRoundedCurveAndTellingRowsAreExact) {
    for (int i = 0; i < kDecodeTableSize; ++i) {
        const long double e = i / 1023.0L, p = powl(e, 4096.0L / (2523.0L * 128.0L));
        const long double pq = powl(fmaxl(p - 3424.0L / 4096.0L, 0.0L) / (2413.0L / 128.0L - 2392.0L / 128.0L * p),
                                    16384.0L / 2610.0L);
        const long double hlg = e <= 0.5L ? e * e / 3.0L : (expl((e - 0.55991073L) / 0.17883277L) + 0.28466892L) / 12.0L;
        EXPECT_EQ(kPqDecodeTable[i], rounded(pq, i < 66 ? 15 : 6)) << i;
        EXPECT_EQ(kHlgDecodeTable[i], rounded(hlg, 6)) << i;
        EXPECT_EQ(kSrgbDecodeTable[i], rounded(e <= 0.04045L ? e / 12.92L : powl((e + 0.055L) / 1.055L, 2.4L), 6)) << i;
        EXPECT_EQ(kBt709DecodeTable[i], rounded(e < 0.081L ? e / 4.5L : powl((e + 0.099L) / 1.099L, 1.0L / 0.45L), 6))
            << i;
    }
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

std::vector<float> ramp(int steps, int first = 0) {
    std::vector<float> values;
    for (int i = first; i <= steps; ++i) values.push_back(static_cast<float>(i) / static_cast<float>(steps));
    return values;
}

TEST(TableDecoders, IndexByTruncationPerInMaxWithGuardsAndPlaneCounts) {
    Planes codes({0.0f, 512.0f, 512.9f, 1023.0f}), thousand({1000.0f, 999.9f}), byte({128.0f});
    st2084_inverse_tf(codes.p, codes.count(), 3, 1023, 10000);
    const float mid = 10000.0f * entry(kPqDecodeTable, 512);
    EXPECT_EQ(codes.b, (std::vector<float>{0.0f, mid, mid, 10000.0f}));
    st2084_inverse_tf(thousand.p, 2, 3, 1000, 1);
    EXPECT_EQ(thousand.g, (std::vector<float>{1.0f, entry(kPqDecodeTable, 1022)}));
    bt709_inverse_tf(byte.p, 1, 255, 1);  // trunc(128 / 255 * 1023) = 513
    EXPECT_EQ(byte.r[0], entry(kBt709DecodeTable, 513));

    // inMax 1: the signal k/1023 (R and B) reads entry k, and 0.5 (G) reads 511.
    Planes normalised(ramp(1023), std::vector<float>(kDecodeTableSize, 0.5f));
    HLG_inverse_tf(normalised.p, normalised.count(), 1, 1);
    for (int k = 0; k < kDecodeTableSize; ++k) EXPECT_EQ(normalised.b[k], entry(kHlgDecodeTable, k)) << k;
    EXPECT_EQ(normalised.g[0], entry(kHlgDecodeTable, 511));

    Planes planes({512.0f}), many({512.0f}), two({0.5f});  // guards: nothing converted
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
    st2084_inverse_tf(many.p, 1, 7, 1023, 1);  // more than three planes: all three
    EXPECT_EQ(many.b[0], entry(kPqDecodeTable, 512));
    HLG_forward_tf(two.p, 1, 2, 1, 1);  // planeCount 2 leaves B
    EXPECT_NE(two.g[0], 0.5f);
    EXPECT_EQ(two.b[0], 0.5f);
}

// Runs an encoder over the R plane with inScale and outScale 1.
using Encoder = void (*)(float**, unsigned int, unsigned short, unsigned short, unsigned short);
std::vector<float> encode(Encoder f, const std::vector<float>& samples) {
    Planes planes(samples);
    f(planes.p, planes.count(), 1, 1, 1);
    return planes.r;
}

TEST(Encoders, BranchesNamedPointsGammaPowersAndClipping) {
    const std::tuple<Encoder, float, float, float> named[] = {
        {bt709_forward_tf, 0.1f, 0.2909f, 1e-4f}, {bt709_forward_tf, 1.0f, 1.0f, 1e-6f},
        {sRGB_forward_tf, 0.5f, 0.7354f, 1e-4f}, {HLG_forward_tf, 1.0f / 12.0f, 0.5f, 1e-7f},
        {HLG_forward_tf, 0.25f, 0.7385f, 1e-4f}, {HLG_forward_tf, 0.5f, 0.8716f, 1e-4f},
        {HLG_forward_tf, 1.0f, 1.0f, 1e-6f}};
    for (const auto& [f, x, y, tol] : named) EXPECT_NEAR(encode(f, {x})[0], y, tol) << x;
    // The linear branches include their limits.
    EXPECT_EQ(encode(bt709_forward_tf, {0.018f})[0], 0.018f * 4.5f);
    EXPECT_EQ(encode(sRGB_forward_tf, {0.0031308f})[0], 0.0031308f * 12.92f);
    const auto bt709 = encode(bt709_forward_tf, {-0.5f, 3.0f, 1.0f, kNaN}), hlg = encode(HLG_forward_tf, {0.0f, -0.5f});
    EXPECT_TRUE(bt709[0] == 0.0f && bt709[1] == bt709[2] && hlg[0] == 0.0f);
    EXPECT_TRUE(std::isnan(bt709[3]) && std::isnan(hlg[1]));  // BT.709's clamp lets NaN through; HLG has none

    Planes pq({10000.0f, 100.0f, -5.0f, 20000.0f});
    st2084_forward_tf(pq.p, pq.count(), 10000, 1);
    EXPECT_NEAR(pq.r[0], 1.0f, 1e-6f);
    EXPECT_NEAR(pq.g[1], 0.508f, 1e-3f);
    EXPECT_EQ(pq.b[2], crPowf(0.8359375f, 78.84375f));  // c1^m2, not 0
    EXPECT_EQ(pq.b[3], pq.b[0]);

    // The 2.2 exponent is the float quotient 1.0f/2.2f, so custom gamma 2.2
    // encodes bit-identically; decoding with 2.2 returns within a few ulps.
    const std::vector<float> samples = ramp(100);
    Planes custom(samples), fixed(samples);
    gamma_custom_forward_tf(2.2f, custom.p, custom.count(), 3, 1, 1);
    gamma2p2_forward_tf(fixed.p, fixed.count(), 3, 1, 1);
    EXPECT_EQ(custom.g, fixed.g);
    gamma2p2_inverse_tf(fixed.p, fixed.count(), 3, 1, 1);
    for (size_t i = 0; i < samples.size(); ++i) EXPECT_NEAR(fixed.b[i], samples[i], 4e-7f);

    Planes zero({0.25f, 1.0f});  // gamma 0: infinite exponent
    gamma_custom_forward_tf(0.0f, zero.p, 2, 1, 1, 1);
    EXPECT_EQ(zero.r, (std::vector<float>{0.0f, 1.0f}));

    // Clipping replaces only out-of-range values.
    EXPECT_EQ((std::vector<float>{Clipping(-1.0f, 0.0f, 1.0f), Clipping(2.0f, 0.0f, 1.0f), Clipping(0.25f, 0.0f, 1.0f),
                                  Clipping(0.0f, 1.0f, -1.0f)}),  // lo > hi: below lo gives lo
              (std::vector<float>{0.0f, 1.0f, 0.25f, 1.0f}));
    EXPECT_TRUE(std::isnan(Clipping(kNaN, 0.0f, 1.0f)));
}

TEST(Ootf, SystemGammaFollowsPeakTheInverseUndoesItAndGainCarriesOverDarkSamples) {
    Planes grey({1.0f, 0.5f}), brighter({0.5f}), over({1.0f});
    OOTF_forward_tf(grey.p, 2, 0, 0, 1000.0f);
    EXPECT_NEAR(grey.r[0], 0.1f, 1e-6f);
    EXPECT_NEAR(grey.g[1], 0.1 * std::pow(0.5, 1.2), 1e-6);
    OOTF_forward_tf(brighter.p, 1, 0, 0, 1500.0f);  // gamma 1.2 + 0.42 log10(1.5)
    EXPECT_NEAR(brighter.b[0], 0.15 * std::pow(0.5, 1.2 + 0.42 * std::log10(1.5)), 1e-6);
    OOTF_forward_tf(over.p, 1, 0, 0, 12000.0f);  // 12000 cd/m2 clamps to 1.0
    EXPECT_EQ(over.r[0], 1.0f);

    const std::vector<float> r = ramp(40, 1);
    std::vector<float> g, b;
    for (float x : r) g.push_back(x * 0.5f), b.push_back(x * x);
    Planes planes(r, g, b);
    OOTF_forward_tf(planes.p, planes.count(), 0, 0, 1500.0f);
    OOTF_inverse_tf(planes.p, planes.count(), 7, 9, 1500.0f);  // the 16-bit arguments are ignored
    for (size_t i = 0; i < r.size(); ++i) {
        EXPECT_NEAR(planes.r[i], r[i], 8e-6f) << i;
        EXPECT_NEAR(planes.b[i], b[i], 8e-6f) << i;
    }
    // A sample whose luminance is not above 0 carries the previous sample's gain.
    Planes carried({0.0f, -0.1f, 0.5f, -0.5f, kNaN}, {0.0f, 0.02f, 0.5f, 0.01f, 0.01f}, {0.0f, 0.0f, 0.5f, 0.0f, 0.0f});
    OOTF_forward_tf(carried.p, carried.count(), 0, 0, 1000.0f);
    EXPECT_EQ(carried.g[1], 0.0f);  // gain still 0 from the black first sample
    EXPECT_EQ(carried.r[3], 0.0f);  // samples 3 and 4 reuse sample 2's gain
    EXPECT_FLOAT_EQ(carried.g[3] * 50.0f, carried.g[2]);
    EXPECT_TRUE(std::isnan(carried.r[4]));
    EXPECT_FLOAT_EQ(carried.g[4] * 50.0f, carried.g[2]);
}

}  // namespace
