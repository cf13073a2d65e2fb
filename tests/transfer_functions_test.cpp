// Transfer functions: the decode tables entry by entry, the table decoders'
// indexing, the encoders' branches and guards, and the HLG OOTF.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "tm_stages.h"
#include "transfer_functions.h"

namespace {

using hdrtm::kDecodeTableSize;

// ---------------------------------------------------------------- tables

// The double nearest to `value` rounded to `places` decimals: k / 10^places
// is one correctly rounded division of two exact doubles.
double roundedToDecimals(long double value, int places) {
    const long double scale = powl(10.0L, places);
    return static_cast<double>(llroundl(value * scale)) / static_cast<double>(scale);
}

long double pqEotf(long double e) {
    const long double m1 = 2610.0L / 16384.0L, m2 = 2523.0L / 4096.0L * 128.0L;
    const long double c1 = 3424.0L / 4096.0L, c2 = 2413.0L / 4096.0L * 32.0L,
                      c3 = 2392.0L / 4096.0L * 32.0L;
    const long double p = powl(e, 1.0L / m2);
    return powl(fmaxl(p - c1, 0.0L) / (c2 - c3 * p), 1.0L / m1);
}

long double hlgInverseOetf(long double e) {
    const long double a = 0.17883277L, b = 0.28466892L, c = 0.55991073L;
    return e <= 0.5L ? e * e / 3.0L : (expl((e - c) / a) + b) / 12.0L;
}

long double srgbEotf(long double v) {
    return v <= 0.04045L ? v / 12.92L : powl((v + 0.055L) / 1.055L, 2.4L);
}

long double bt709InverseOetf(long double v) {
    return v < 0.081L ? v / 4.5L : powl((v + 0.099L) / 1.099L, 1.0L / 0.45L);
}

// No entry of any table lies within 1e-10 of a rounding tie, so long double
// decides every rounding the same way the 60-digit generator does.
void expectTableMatches(const double* table, long double (*curve)(long double),
                        const std::function<int(int)>& placesOf) {
    for (int i = 0; i < kDecodeTableSize; ++i) {
        EXPECT_EQ(table[i], roundedToDecimals(curve(i / 1023.0L), placesOf(i))) << "entry " << i;
    }
}

TEST(DecodeTables, EveryEntryIsTheRoundedCurve) {
    expectTableMatches(hdrtm::kPqDecodeTable, pqEotf, [](int i) { return i < 66 ? 15 : 6; });
    expectTableMatches(hdrtm::kHlgDecodeTable, hlgInverseOetf, [](int) { return 6; });
    expectTableMatches(hdrtm::kSrgbDecodeTable, srgbEotf, [](int) { return 6; });
    expectTableMatches(hdrtm::kBt709DecodeTable, bt709InverseOetf, [](int) { return 6; });
}

TEST(DecodeTables, TellingRows) {
    struct Row { const double* table; int index; double value; };
    const Row rows[] = {
        {hdrtm::kPqDecodeTable, 0, 0.0},          {hdrtm::kPqDecodeTable, 1, 4.042272e-09},
        {hdrtm::kPqDecodeTable, 5, 6.3746885e-08}, {hdrtm::kPqDecodeTable, 22, 1.001782159e-06},
        {hdrtm::kPqDecodeTable, 65, 1.0463077369e-05}, {hdrtm::kPqDecodeTable, 66, 0.000011},
        {hdrtm::kPqDecodeTable, 100, 0.000031},   {hdrtm::kPqDecodeTable, 512, 0.00927},
        {hdrtm::kPqDecodeTable, 767, 0.098118},   {hdrtm::kPqDecodeTable, 1000, 0.807412},
        {hdrtm::kPqDecodeTable, 1022, 0.990706},  {hdrtm::kPqDecodeTable, 1023, 1.0},
        {hdrtm::kHlgDecodeTable, 1, 0.0},         {hdrtm::kHlgDecodeTable, 2, 0.000001},
        {hdrtm::kHlgDecodeTable, 100, 0.003185},  {hdrtm::kHlgDecodeTable, 511, 0.08317},
        {hdrtm::kHlgDecodeTable, 512, 0.083496},  {hdrtm::kHlgDecodeTable, 600, 0.12042},
        {hdrtm::kHlgDecodeTable, 1000, 0.884664}, {hdrtm::kHlgDecodeTable, 1023, 1.0},
        {hdrtm::kSrgbDecodeTable, 1, 0.000076},   {hdrtm::kSrgbDecodeTable, 41, 0.003102},
        {hdrtm::kSrgbDecodeTable, 42, 0.003179},  {hdrtm::kSrgbDecodeTable, 64, 0.005162},
        {hdrtm::kSrgbDecodeTable, 512, 0.214494}, {hdrtm::kSrgbDecodeTable, 1000, 0.949615},
        {hdrtm::kBt709DecodeTable, 1, 0.000217},  {hdrtm::kBt709DecodeTable, 83, 0.017975},
        {hdrtm::kBt709DecodeTable, 84, 0.018192}, {hdrtm::kBt709DecodeTable, 512, 0.26006},
        {hdrtm::kBt709DecodeTable, 1000, 0.955106}, {hdrtm::kBt709DecodeTable, 1023, 1.0},
    };
    for (const Row& row : rows) EXPECT_EQ(row.table[row.index], row.value) << row.index;
}

// ---------------------------------------------------------------- planes

// Three planes holding the same samples.
struct Planes {
    std::vector<float> r, g, b;
    float* p[3];
    explicit Planes(std::vector<float> values) : r(values), g(values), b(values) {
        p[0] = r.data();
        p[1] = g.data();
        p[2] = b.data();
    }
    unsigned int count() const { return static_cast<unsigned int>(r.size()); }
};

float entry(const double* table, int index) { return static_cast<float>(table[index]); }

TEST(TableDecoders, IndexByTruncationPerInMax) {
    Planes codes({0.0f, 512.0f, 512.9f, 1023.0f});
    st2084_inverse_tf(codes.p, codes.count(), 3, 1023, 10000);
    EXPECT_EQ(codes.b[0], 0.0f);
    EXPECT_EQ(codes.b[1], 10000.0f * entry(hdrtm::kPqDecodeTable, 512));
    EXPECT_EQ(codes.b[2], codes.b[1]);
    EXPECT_EQ(codes.b[3], 10000.0f);

    Planes half({0.5f});  // trunc(511.5)
    HLG_inverse_tf(half.p, 1, 1, 1);
    EXPECT_EQ(half.r[0], entry(hdrtm::kHlgDecodeTable, 511));

    Planes thousand({1000.0f, 999.9f});
    st2084_inverse_tf(thousand.p, 2, 3, 1000, 1);
    EXPECT_EQ(thousand.g[0], 1.0f);
    EXPECT_EQ(thousand.g[1], entry(hdrtm::kPqDecodeTable, 1022));

    Planes byte({128.0f});  // trunc(128 / 255 * 1023) = 513
    bt709_inverse_tf(byte.p, 1, 255, 1);
    EXPECT_EQ(byte.r[0], entry(hdrtm::kBt709DecodeTable, 513));
}

TEST(TableDecoders, NormalisedSignalReadsItsOwnEntry) {
    std::vector<float> signals;
    for (int k = 0; k < kDecodeTableSize; ++k) signals.push_back(static_cast<float>(k) / 1023.0f);
    Planes planes(signals);
    sRGB_inverse_tf(planes.p, planes.count(), 1, 1);
    for (int k = 0; k < kDecodeTableSize; ++k) {
        EXPECT_EQ(planes.b[k], entry(hdrtm::kSrgbDecodeTable, k)) << k;
    }
}

TEST(TableDecoders, PipelineDecodeMatchesExportedDecoder) {
    std::vector<float> codes;
    for (int k = 0; k < kDecodeTableSize; ++k) codes.push_back(static_cast<float>(k));
    Planes shared(codes), exported(codes);
    hdrtm::decodeCodesThroughTable(hdrtm::kPqDecodeTable, shared.p, shared.count());
    st2084_inverse_tf(exported.p, exported.count(), 3, 1023, 1);
    EXPECT_EQ(shared.r, exported.r);
    EXPECT_EQ(shared.b, exported.b);
}

TEST(TableDecoders, GuardsAndPlaneCounts) {
    Planes planes({512.0f});
    st2084_inverse_tf(planes.p, 1, 3, 0, 1);
    bt709_inverse_tf(planes.p, 1, 0, 1);
    sRGB_inverse_tf(planes.p, 1, 0, 1);
    st2084_inverse_tf(planes.p, 1, 0, 1023, 1);
    st2084_inverse_tf(planes.p, 0, 3, 1023, 1);
    EXPECT_EQ(planes.r[0], 512.0f);

    st2084_inverse_tf(planes.p, 1, 1, 1023, 1);  // only R
    EXPECT_EQ(planes.r[0], entry(hdrtm::kPqDecodeTable, 512));
    EXPECT_EQ(planes.g[0], 512.0f);

    Planes many({512.0f});
    st2084_inverse_tf(many.p, 1, 7, 1023, 1);  // more than three: all three
    EXPECT_EQ(many.b[0], entry(hdrtm::kPqDecodeTable, 512));
}

// ---------------------------------------------------------------- encoders

// Runs an exported encoder over one plane of samples with inScale and
// outScale 1 and returns the results.
using Encoder = void (*)(float**, unsigned int, unsigned short, unsigned short, unsigned short);
std::vector<float> encode(Encoder f, std::vector<float> samples) {
    Planes planes(samples);
    f(planes.p, planes.count(), 1, 1, 1);
    return planes.r;
}

TEST(Encoders, LinearBranchIncludesItsLimit) {
    const float above709 = std::nextafter(0.018f, 1.0f);
    const auto bt709 = encode(bt709_forward_tf, {0.018f, above709, 0.1f, 1.0f});
    EXPECT_EQ(bt709[0], 0.018f * 4.5f);
    EXPECT_EQ(bt709[1], powf(above709, 0.45f) * 1.099f - 0.099f);
    EXPECT_NEAR(bt709[2], 0.2909f, 1e-4f);
    EXPECT_NEAR(bt709[3], 1.0f, 1e-6f);

    const auto srgb = encode(sRGB_forward_tf, {0.0031308f, 0.5f});
    EXPECT_EQ(srgb[0], 0.0031308f * 12.92f);
    EXPECT_NEAR(srgb[1], 0.7354f, 1e-4f);

    const auto hlg = encode(HLG_forward_tf, {1.0f / 12.0f, 0.0f, 0.25f, 0.5f, 1.0f, -0.5f});
    EXPECT_NEAR(hlg[0], 0.5f, 1e-7f);
    EXPECT_EQ(hlg[1], 0.0f);
    EXPECT_NEAR(hlg[2], 0.7385f, 1e-4f);
    EXPECT_NEAR(hlg[3], 0.8716f, 1e-4f);
    EXPECT_NEAR(hlg[4], 1.0f, 1e-6f);
    EXPECT_TRUE(std::isnan(hlg[5]));  // HLG is not clamped
}

TEST(Encoders, ClampLetsNaNThrough) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const auto out = encode(bt709_forward_tf, {-0.5f, 3.0f, nan});
    EXPECT_EQ(out[0], 0.0f);
    EXPECT_EQ(out[1], encode(bt709_forward_tf, {1.0f})[0]);
    EXPECT_TRUE(std::isnan(out[2]));
}

TEST(Encoders, PqForwardScalesAndClamps) {
    Planes planes({10000.0f, 100.0f, -5.0f, 20000.0f});
    st2084_forward_tf(planes.p, planes.count(), 10000, 1);
    EXPECT_NEAR(planes.r[0], 1.0f, 1e-6f);
    EXPECT_NEAR(planes.g[1], 0.508f, 1e-3f);
    EXPECT_EQ(planes.b[2], powf(0.8359375f, 78.84375f));  // c1^m2, not 0
    EXPECT_EQ(planes.b[3], planes.b[0]);
}

TEST(Encoders, GammaPowers) {
    // The encode exponent is the float quotient 1/2.2, so a custom gamma of
    // 2.2 encodes bit-identically to the 2.2 encoder.
    std::vector<float> samples;
    for (int i = 0; i <= 100; ++i) samples.push_back(static_cast<float>(i) / 100.0f);
    Planes custom(samples), fixed(samples);
    gamma_custom_forward_tf(2.2f, custom.p, custom.count(), 3, 1, 1);
    gamma2p2_forward_tf(fixed.p, fixed.count(), 3, 1, 1);
    EXPECT_EQ(custom.g, fixed.g);

    gamma2p2_inverse_tf(fixed.p, fixed.count(), 3, 1, 1);  // round trip, a few ulps off
    for (size_t i = 0; i < samples.size(); ++i) EXPECT_NEAR(fixed.b[i], samples[i], 4e-7f);

    Planes zero({0.25f, 1.0f});  // gamma 0: infinite exponent
    gamma_custom_forward_tf(0.0f, zero.p, 2, 1, 1, 1);
    EXPECT_EQ(zero.r[0], 0.0f);
    EXPECT_EQ(zero.r[1], 1.0f);
}

TEST(Encoders, GuardsAndPlaneCounts) {
    Planes planes({0.5f});
    sRGB_forward_tf(planes.p, 1, 3, 0, 1);
    gamma2p2_inverse_tf(planes.p, 1, 0, 1, 1);
    HLG_forward_tf(planes.p, 1, 3, 0, 1);
    EXPECT_EQ(planes.r[0], 0.5f);

    HLG_forward_tf(planes.p, 1, 2, 1, 1);
    EXPECT_NE(planes.g[0], 0.5f);
    EXPECT_EQ(planes.b[0], 0.5f);  // planeCount 2 leaves B
}

TEST(Clipping, ReplacesOnlyOutOfRangeValues) {
    EXPECT_EQ(Clipping(-1.0f, 0.0f, 1.0f), 0.0f);
    EXPECT_EQ(Clipping(2.0f, 0.0f, 1.0f), 1.0f);
    EXPECT_EQ(Clipping(0.25f, 0.0f, 1.0f), 0.25f);
    EXPECT_TRUE(std::isnan(Clipping(std::nanf(""), 0.0f, 1.0f)));
    EXPECT_EQ(Clipping(0.0f, 1.0f, -1.0f), 1.0f);  // lo > hi: below lo gives lo
}

// ---------------------------------------------------------------- OOTF

struct Rgb { float r, g, b; };
Planes samplePlanes(const std::vector<Rgb>& samples) {
    Planes planes(std::vector<float>(samples.size()));
    for (size_t i = 0; i < samples.size(); ++i) {
        planes.r[i] = samples[i].r;
        planes.g[i] = samples[i].g;
        planes.b[i] = samples[i].b;
    }
    return planes;
}

TEST(Ootf, SystemGammaFollowsPeak) {
    Planes grey = samplePlanes({{1.0f, 1.0f, 1.0f}, {0.5f, 0.5f, 0.5f}});
    OOTF_forward_tf(grey.p, 2, 0, 0, 1000.0f);
    EXPECT_NEAR(grey.r[0], 0.1f, 1e-6f);
    EXPECT_NEAR(grey.g[1], 0.1f * std::pow(0.5, 1.2), 1e-6);

    Planes brighter = samplePlanes({{0.5f, 0.5f, 0.5f}});
    OOTF_forward_tf(brighter.p, 1, 0, 0, 1500.0f);  // gamma 1.2 + 0.42 log10(1.5)
    EXPECT_NEAR(brighter.b[0], 0.15 * std::pow(0.5, 1.2 + 0.42 * std::log10(1.5)), 1e-6);

    Planes over = samplePlanes({{1.0f, 1.0f, 1.0f}});
    OOTF_forward_tf(over.p, 1, 0, 0, 12000.0f);  // 12000 cd/m2 clamps to 1.0
    EXPECT_EQ(over.r[0], 1.0f);
}

TEST(Ootf, NonPositiveLuminanceCarriesPreviousGain) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Planes planes = samplePlanes(
        {{0.0f, 0.0f, 0.0f}, {-0.1f, 0.02f, 0.0f}, {0.5f, 0.5f, 0.5f}, {-0.5f, 0.01f, 0.0f},
         {nan, 0.01f, 0.0f}});
    OOTF_forward_tf(planes.p, planes.count(), 0, 0, 1000.0f);
    EXPECT_EQ(planes.g[0], 0.0f);
    EXPECT_EQ(planes.g[1], 0.0f);  // gain still 0 from the black first sample
    // Samples 3 and 4 reuse sample 2's gain: G scales with the component.
    EXPECT_EQ(planes.r[3], 0.0f);
    EXPECT_FLOAT_EQ(planes.g[3] * 50.0f, planes.g[2]);
    EXPECT_TRUE(std::isnan(planes.r[4]));
    EXPECT_FLOAT_EQ(planes.g[4] * 50.0f, planes.g[2]);
}

TEST(Ootf, InverseUndoesForward) {
    std::vector<Rgb> samples;
    for (int i = 1; i <= 40; ++i) {
        const float v = static_cast<float>(i) / 40.0f;
        samples.push_back({v, v * 0.5f, v * v});
    }
    Planes planes = samplePlanes(samples);
    OOTF_forward_tf(planes.p, planes.count(), 0, 0, 1500.0f);
    OOTF_inverse_tf(planes.p, planes.count(), 7, 9, 1500.0f);
    for (size_t i = 0; i < samples.size(); ++i) {
        EXPECT_NEAR(planes.r[i], samples[i].r, 8e-6f) << i;
        EXPECT_NEAR(planes.g[i], samples[i].g, 8e-6f) << i;
        EXPECT_NEAR(planes.b[i], samples[i].b, 8e-6f) << i;
    }
}

}  // namespace
