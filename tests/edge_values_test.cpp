// Every exported stage function at the edges of the float range (-0, +0, the
// smallest subnormal, NaN, infinities, values far outside what a stage
// expects), compared bit for bit with the function's formula written out
// here; any NaN equals any NaN, since its payload is the processor's. A
// compiler that turns a clamp, minimum or maximum into an instruction with
// other signed-zero or NaN rules fails here on the build that does it.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "cr_maths.h"
#include "color_conversion.h"
#include "hdr_tm_xml.h"
#include "tm_stages.h"

using hdrtm::crLog10f;
using hdrtm::crLogf;
using hdrtm::crPowf;

namespace {

using Limits = std::numeric_limits<float>;
const float kNaN = Limits::quiet_NaN();
const float kInf = Limits::infinity();

const std::vector<float> kEdges = {-0.0f, 0.0f,    Limits::denorm_min(), -Limits::denorm_min(),
                                   kNaN,  kInf,    -kInf,                1e30f,
                                   -1e30f, 0.5f,   3.0f,                 -2.0f,
                                   1.0f,  1e-30f};

bool sameBits(float a, float b) {
    if (std::isnan(a) && std::isnan(b)) return true;
    return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

std::string show(float v) {
    char text[48];
    snprintf(text, sizeof text, "%g (0x%08x)", v, std::bit_cast<uint32_t>(v));
    return text;
}

// Each choice through a volatile store of its own, so that no compiler can
// fold the tests into a min/max instruction: this is the clamp as it reads.
float clampRef(float v, float lo = 0.0f, float hi = 1.0f) {
    volatile float result = v;
    if (v < lo) {
        result = lo;
    } else if (v > hi) {
        result = hi;
    }
    return result;
}
float maxRef(float a, float b) {
    volatile float result = a;
    if (a < b) result = b;
    return result;
}
float minRef(float a, float b) {
    volatile float result = a;
    if (b < a) result = b;
    return result;
}

// Three planes of `count` points that cycle through the edge values, each
// plane in another order so that points mix them.
struct EdgePlanes {
    std::vector<float> r, g, b;
    float* p[3];
    explicit EdgePlanes(unsigned int count) : r(count), g(count), b(count), p{r.data(), g.data(), b.data()} {
        const size_t n = kEdges.size();
        for (unsigned int i = 0; i < count; ++i) {
            r[i] = kEdges[i % n];
            g[i] = kEdges[(i / n + 3 * i) % n];
            b[i] = kEdges[(i / (n * n) + 5 * i + 1) % n];
        }
    }
    EdgePlanes(const EdgePlanes& other) : r(other.r), g(other.g), b(other.b), p{r.data(), g.data(), b.data()} {}
    EdgePlanes& operator=(const EdgePlanes& other) {
        r = other.r, g = other.g, b = other.b;
        return *this;
    }
};
const unsigned int kMixedPoints = 3 * 3 * 3;

void expectPlanes(const EdgePlanes& in, const EdgePlanes& out, const EdgePlanes& expected, const char* what) {
    for (size_t i = 0; i < out.r.size(); ++i) {
        for (int c = 0; c < 3; ++c) {
            EXPECT_TRUE(sameBits(out.p[c][i], expected.p[c][i]))
                << what << " point " << i << " channel " << c << ": (" << show(in.r[i]) << ", " << show(in.g[i])
                << ", " << show(in.b[i]) << ") gave " << show(out.p[c][i]) << ", formula " << show(expected.p[c][i]);
        }
    }
}

// --- Encoders: x / inScale clamped, encoded, times outScale.
float bt709Ref(float l) { return l <= 0.018f ? l * 4.5f : crPowf(l, 0.45f) * 1.099f + -0.099f; }
float srgbRef(float l) { return l <= 0.0031308f ? l * 12.92f : crPowf(l, 0.41666666f) * 1.055f + -0.055f; }
float pqRef(float l) {
    const float p = crPowf(l, 0.1593017578125f);
    return crPowf((p * 18.8515625f + 0.8359375f) / (p * 18.6875f + 1.0f), 78.84375f);
}
float hlgRef(float x) {  // no clamp: a negative sample gives NaN
    const float e = x / 1.0f * 12.0f;
    return e <= 1.0f ? sqrtf(e) * 0.5f : crLogf(e - 0.28466892f) * 0.17883277f + 0.5599107f;
}

TEST(EdgeValues, EncodersClampOnlyBelowZeroAndAboveOne) {
    const float customGamma = 2.4f;
    struct Case {
        const char* name;
        std::function<void(float**, unsigned int)> encode;
        std::function<float(float)> formula;
    };
    const Case cases[] = {
        {"bt709_forward_tf", [](float** p, unsigned n) { bt709_forward_tf(p, n, 3, 1, 1); },
         [](float x) { return bt709Ref(clampRef(x)); }},
        {"sRGB_forward_tf", [](float** p, unsigned n) { sRGB_forward_tf(p, n, 3, 1, 1); },
         [](float x) { return srgbRef(clampRef(x)); }},
        {"gamma2p2_forward_tf", [](float** p, unsigned n) { gamma2p2_forward_tf(p, n, 3, 1, 1); },
         [](float x) { return crPowf(clampRef(x), std::bit_cast<float>(0x3EE8BA2Eu)); }},
        {"gamma2p2_inverse_tf", [](float** p, unsigned n) { gamma2p2_inverse_tf(p, n, 3, 1, 1); },
         [](float x) { return crPowf(clampRef(x), 2.2f); }},
        {"gamma_custom_forward_tf", [&](float** p, unsigned n) { gamma_custom_forward_tf(customGamma, p, n, 3, 1, 1); },
         [&](float x) { return crPowf(clampRef(x), 1.0f / customGamma); }},
        {"st2084_forward_tf", [](float** p, unsigned n) { st2084_forward_tf(p, n, 1, 1); },
         [](float x) { return pqRef(clampRef(x)); }},
        {"HLG_forward_tf", [](float** p, unsigned n) { HLG_forward_tf(p, n, 3, 1, 1); }, hlgRef},
    };
    for (const Case& c : cases) {
        const EdgePlanes in(kMixedPoints);
        EdgePlanes out = in, expected = in;
        c.encode(out.p, kMixedPoints);
        for (int ch = 0; ch < 3; ++ch) {
            for (unsigned i = 0; i < kMixedPoints; ++i) expected.p[ch][i] = c.formula(in.p[ch][i]);
        }
        expectPlanes(in, out, expected, c.name);
    }
    // -0 passes every clamp: the linear segments keep it, the powers make +0.
    EdgePlanes zero(1);
    zero.r[0] = zero.g[0] = zero.b[0] = -0.0f;
    bt709_forward_tf(zero.p, 1, 3, 1, 1);
    EXPECT_TRUE(sameBits(zero.r[0], -0.0f)) << show(zero.r[0]);
}

// --- Lab: each channel over its white, the cube root above (6/29)^3 (the
// threshold itself takes the line), then L, a and b.
float labFRef(float t) { return t > 0.008856453f ? crPowf(t, 0.33333334f) : 7.7870374f * t + 0.13793103f; }

TEST(EdgeValues, LabConversionFollowsItsFormula) {
    TMParams params{};
    params.grid_size = 3;
    EdgePlanes in(kMixedPoints);
    in.g[1] = 0.008856453f / 100.0f * 100.0f;  // Y on the threshold
    in.g[2] = std::nextafter(in.g[1], 1.0f);
    EdgePlanes out = in, expected = in;
    xyz2lab(&params, in.p, out.p);
    for (unsigned i = 0; i < kMixedPoints; ++i) {
        const float fx = labFRef(in.r[i] * 100.0f / 95.05f);
        const float fy = labFRef(in.g[i] * 100.0f / 100.0f);
        const float fz = labFRef(in.b[i] * 100.0f / 108.91f);
        expected.r[i] = 116.0f * fy - 16.0f;
        expected.g[i] = 500.0f * (fx - fy);
        expected.b[i] = 200.0f * (fy - fz);
    }
    expectPlanes(in, out, expected, "xyz2lab");
    EdgePlanes inPlace = in;
    xyz2lab(&params, inPlace.p, inPlace.p);  // the outputs may be the inputs
    expectPlanes(in, inPlace, expected, "xyz2lab in place");
}

TEST(EdgeValues, TableDecodersIndexEntryZeroForSignedZeroSubnormalAndNaN) {
    // Infinities and huge values would index past the tables, which callers
    // never pass; the other edges all truncate to index 0.
    using Decoder = void (*)(float**, unsigned int, unsigned short, unsigned short);
    const Decoder decoders[] = {bt709_inverse_tf, sRGB_inverse_tf, HLG_inverse_tf,
                                [](float** p, unsigned n, unsigned short m, unsigned short s) {
                                    st2084_inverse_tf(p, n, 3, m, s);
                                }};
    for (Decoder decode : decoders) {
        for (unsigned short inMax : {1, 255, 1023}) {
            EdgePlanes planes(5);
            const float values[] = {-0.0f, 0.0f, Limits::denorm_min(), kNaN, -Limits::denorm_min()};
            for (int i = 0; i < 5; ++i) planes.r[i] = planes.g[i] = planes.b[i] = values[i];
            decode(planes.p, 5, inMax, 100);
            for (int c = 0; c < 3; ++c) {
                for (int i = 0; i < 5; ++i) EXPECT_TRUE(sameBits(planes.p[c][i], 0.0f)) << inMax << " " << i;
            }
        }
    }
}

TEST(EdgeValues, ClippingReplacesOnlyValuesOutsideItsBounds) {
    for (float v : kEdges) {
        for (const auto& [lo, hi] : {std::pair{0.0f, 1.0f}, {-0.0f, 0.0f}, {0.0f, -0.0f}, {2.0f, -2.0f},
                                     {-kInf, kInf}, {kNaN, 1.0f}, {0.0f, kNaN}, {0.5f, 0.5f}}) {
            EXPECT_TRUE(sameBits(Clipping(v, lo, hi), clampRef(v, lo, hi)))
                << show(v) << " in [" << show(lo) << ", " << show(hi) << "] gave " << show(Clipping(v, lo, hi));
        }
    }
}

// --- HLG OOTF: luminance, carried gain, then scale and clamp.
float luminanceRef(float r, float g, float b) { return (r * 0.2627f + g * 0.678f) + b * 0.0593f; }

EdgePlanes ootfRef(const EdgePlanes& in, float peak, bool inverse) {
    EdgePlanes out = in;
    const float gamma = crLog10f(peak / 1000.0f) * 0.42f + 1.2f;
    float gain = 0.0f;
    for (size_t i = 0; i < in.r.size(); ++i) {
        const float y = luminanceRef(in.r[i], in.g[i], in.b[i]) * (inverse ? 10000.0f : 1.0f);
        if (y > 0.0f) gain = inverse ? (10000.0f / y) * crPowf(y / peak, 1.0f / gamma) : (peak / y) * crPowf(y, gamma);
        for (int c = 0; c < 3; ++c) {
            const float v = in.p[c][i] * gain;
            out.p[c][i] = clampRef(inverse ? v : v / 10000.0f);
        }
    }
    return out;
}

// The edge values, and a whole block of positive luminances before them, so
// that a gain is carried out of a block with nothing to carry into a colour
// whose luminance is negative.
TEST(EdgeValues, OotfCarriesGainsAndClampsKeepingNaNAndNegativeZero) {
    const unsigned int block = 256;
    const EdgePlanes edges(kMixedPoints);
    EdgePlanes afterPositiveBlock(block + 1 + kMixedPoints);
    for (unsigned int i = 0; i < block; ++i) {
        afterPositiveBlock.r[i] = afterPositiveBlock.g[i] = afterPositiveBlock.b[i] = 0.001f * static_cast<float>(i + 1);
    }
    afterPositiveBlock.r[block] = 0.5f, afterPositiveBlock.g[block] = -0.5f, afterPositiveBlock.b[block] = 0.0f;
    for (unsigned int i = 0; i < kMixedPoints; ++i) {
        for (int c = 0; c < 3; ++c) afterPositiveBlock.p[c][block + 1 + i] = edges.p[c][i];
    }
    for (const EdgePlanes& in : {edges, afterPositiveBlock}) {
        for (const bool inverse : {false, true}) {
            for (const float peak : {1000.0f, 1500.0f}) {
                EdgePlanes out = in;
                (inverse ? OOTF_inverse_tf : OOTF_forward_tf)(out.p, static_cast<unsigned int>(in.r.size()), 7, 9, peak);
                expectPlanes(in, out, ootfRef(in, peak, inverse), inverse ? "OOTF_inverse_tf" : "OOTF_forward_tf");
            }
        }
    }
}

// --- Saturation gain and boost.
float satGainRef(float y, float lowerNits, float upperNits, float maxGain) {
    const float lo = lowerNits / 10000.0f, hi = upperNits / 10000.0f;
    if (lo > y) return 1.0f;
    if (hi <= y) return maxGain;
    const float s = (maxGain - 1.0f) / (hi - lo);
    return s * y + (1.0f - lo * s);
}

EdgePlanes satBoostRef(const EdgePlanes& in, float lowerNits, float upperNits, float maxGain, bool inverse) {
    EdgePlanes out = in;
    for (size_t i = 0; i < in.r.size(); ++i) {
        const float r = in.r[i], g = in.g[i], b = in.b[i];
        const float y = luminanceRef(r, g, b);
        const float cb = (-0.13963f * r + -0.36037f * g) + 0.5f * b;
        const float cr = (0.5f * r + -0.459786f * g) + -0.040214f * b;
        const float m = maxRef(std::fabs(cb), std::fabs(cr));
        const float limit = m > 0.0f ? 0.5f / m : 0.0f;
        const float gain = minRef(satGainRef(y, lowerNits, upperNits, maxGain), limit);
        const float cb2 = inverse ? cb / gain : cb * gain, cr2 = inverse ? cr / gain : cr * gain;
        out.r[i] = clampRef((y + 0.0f * cb2) + 1.4746f * cr2);
        out.g[i] = clampRef((y + -0.16455f * cb2) + -0.57135f * cr2);
        out.b[i] = clampRef((y + 1.8814f * cb2) + 0.0f * cr2);
    }
    return out;
}

// Gains of 1 to 1.2, NaN ones (from a zero-width ramp), infinite ones and
// negative ones, against the limits of every chroma the edge values give.
TEST(EdgeValues, SaturationGainAndBoostFollowTheirFormulas) {
    const std::tuple<float, float, float> ramps[] = {
        {500.0f, 5000.0f, 1.2f}, {0.0f, 0.0f, 2.0f}, {-0.0f, 1.0f, kInf}, {500.0f, 5000.0f, -3.0f}};
    for (float y : kEdges) {
        for (const auto& [lower, upper, maxGain] : ramps) {
            EXPECT_TRUE(sameBits(satGain(y, lower, upper, maxGain), satGainRef(y, lower, upper, maxGain))) << show(y);
        }
    }
    for (const auto& [lower, upper, maxGain] : ramps) {
        for (const MAP_DIRECTION direction : {MAP_FORWARD, MAP_INVERSE}) {
            const EdgePlanes in(kMixedPoints);
            EdgePlanes out = in;
            rgbSatBoost(out.p, kMixedPoints, lower, upper, maxGain, direction);
            expectPlanes(in, out, satBoostRef(in, lower, upper, maxGain, direction != MAP_FORWARD),
                         ("rgbSatBoost, max gain " + std::to_string(maxGain)).c_str());
        }
    }
}

// --- Luminance mapping and the cores, with the tone curve of every shoulder
// mode, brightness, linear scale and saturation on.
TMParams edgeParams(uint8_t enableM, int32_t direction) {
    TMParams p{};
    set_default_vals(&p);
    p.grid_size = 3;
    p.enableM = enableM;
    p.clipLuma = 4000.0f;
    p.map_direction = direction;
    p.bright_enable = 1;
    p.sysGamma = 1.1f;
    p.linearScale = 1;
    p.scaleStart = 200.0f;
    p.ratio = 0.9f;
    p.sat_enable = 1;
    return p;
}

// The curve's set-up: the shoulder from the clipping luminance (enableM 0) or
// from sharp (any other value, xMax derived here and handed on).
float curveRef(const TMParams& p, float x, bool inverse) {
    const float yMin = crLog10f(maxRef(p.panel_min_luminance / 10000.0f, std::bit_cast<float>(0x3356BF96u)) * 10000.0f);
    const float yMax = crLog10f(static_cast<float>(p.panel_max_luminance));
    const float yToe = crLog10f(p.intl), yShoulder = crLog10f(p.inth), slope = p.slope;
    float intercept = crLog10f(p.pivot) * (1.0f - slope);
    if (!(crLog10f(p.LinearBoost) < intercept)) intercept = crLog10f(p.LinearBoost);
    float k = 0.0f, xMax = crLog10f(p.clipLuma);
    if (p.enableM != 0) {
        k = p.sharp;
        xMax = (yShoulder - intercept) / slope + (yMax - yShoulder) / (slope / k);
    }
    const auto curve = inverse ? logTMInverse : logTM;
    return curve(x, yMin, yMax, k, xMax, p.enableM, crLog10f(p.t0), yToe, yShoulder, intercept, slope);
}

std::vector<float> yTMRef(const TMParams& p, const std::vector<float>& in) {
    const bool inverse = p.map_direction != 0;
    const float lMin = maxRef(p.panel_min_luminance / 10000.0f, std::bit_cast<float>(0x3356BF96u));
    const float lMax = static_cast<float>(p.panel_max_luminance) / 10000.0f;
    const float lo = p.tlower / 10000.0f, hi = p.tupper / 10000.0f, knee = p.scaleStart / 10000.0f;
    std::vector<float> out(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        float y = inverse ? lMin + (lMax - lMin) * in[i] : in[i];
        if (!inverse && lo < y && y < hi) y = lo + (hi - lo) * crPowf((y - lo) / (hi - lo), 1.0f / p.sysGamma);
        if (!inverse && y > knee) y = knee + (y - knee) * p.ratio;
        float l = y > 0.0f ? crPowf(10.0f, curveRef(p, crLog10f(y * 10000.0f), inverse)) / 10000.0f : lMin;
        if (inverse && lo < l && l < hi) l = lo + (hi - lo) * crPowf((l - lo) / (hi - lo), p.sysGamma);
        out[i] = inverse ? l : (l - lMin) / (lMax - lMin);
    }
    return out;
}

float rowRef(const float (&m)[3], float a, float b, float c) { return (m[0] * a + m[1] * b) + m[2] * c; }

EdgePlanes coreRef(TMParams p, const EdgePlanes& in, bool inverse) {
    EdgePlanes rgb = in;
    if (!inverse) rgb = satBoostRef(rgb, p.t1, p.t2, p.kmax, false);
    const hdrtm::Matrix3& toXyz = hdrtm::kRgbToXyz[!inverse || p.inverse_bt2020_luma != 0 ? 3 : 0];
    const hdrtm::Matrix3& toRgb = hdrtm::kXyzToRgb[3];
    std::vector<float> luma(in.r.size());
    for (size_t i = 0; i < luma.size(); ++i) luma[i] = rowRef(toXyz[1], rgb.r[i], rgb.g[i], rgb.b[i]);
    const std::vector<float> mapped = yTMRef(p, luma);
    for (size_t i = 0; i < luma.size(); ++i) {
        float x = rowRef(toXyz[0], rgb.r[i], rgb.g[i], rgb.b[i]), y = luma[i];
        float z = rowRef(toXyz[2], rgb.r[i], rgb.g[i], rgb.b[i]);
        if (y == 0.0f) {
            x = 0.9505f * y;
            z = 1.0891f * y;
        } else {
            const float ratio = mapped[i] / luma[i];
            x *= ratio;
            y *= ratio;
            z *= ratio;
        }
        const float out[3] = {rowRef(toRgb[0], x, y, z), rowRef(toRgb[1], x, y, z), rowRef(toRgb[2], x, y, z)};
        for (int c = 0; c < 3; ++c) rgb.p[c][i] = clampRef(out[c]);
    }
    if (inverse) rgb = satBoostRef(rgb, p.t1, p.t2, p.kmax, true);
    return rgb;
}

TEST(EdgeValues, LuminanceMappingAndCoresFollowTheirFormulasForEveryShoulderMode) {
    for (const uint8_t enableM : {0, 1, 2, 253}) {
        for (const int32_t direction : {0, 1}) {
            const std::string what = "enableM " + std::to_string(enableM) + " direction " + std::to_string(direction);
            TMParams p = edgeParams(enableM, direction);
            std::vector<float> out(kEdges.size());
            std::vector<float> in = kEdges;
            in.resize(kMixedPoints, 0.25f);
            out.resize(kMixedPoints);
            yTM(&p, in.data(), out.data());
            const std::vector<float> expected = yTMRef(p, in);
            for (size_t i = 0; i < in.size(); ++i) {
                EXPECT_TRUE(sameBits(out[i], expected[i]))
                    << what << " yTM(" << show(in[i]) << ") = " << show(out[i]) << ", formula " << show(expected[i]);
            }
            const EdgePlanes planes(kMixedPoints);
            EdgePlanes core = planes;
            (direction == 0 ? tone_mapping_core : inverse_tone_mapping_core)(&p, core.p);
            expectPlanes(planes, core, coreRef(p, planes, direction != 0), what.c_str());
        }
    }
}

// --- Panel correction: the polynomial in double, to float, then the clamp.
// Corrections without second-order terms take a shorter sum when every
// component is finite and below 2^42; each coefficient set runs on the edge
// values (which force the whole polynomial) and on finite ones.
TEST(EdgeValues, PanelCorrectionClampsKeepingNaNAndNegativeZero) {
    // Row order c, r, g, b, rr, gg, bb, rg, gb, rb, rgb.
    auto everyTerm = [](double* k, int row) {
        k[0] = row == 0 ? -0.0 : 0.01 * row;
        for (int t = 1; t < 11; ++t) k[t] = (t == row + 1) ? 1.0 : (t % 3 == 0 ? -0.0 : 1e-3 * t);
    };
    auto identity = [](double* k, int row) { k[row + 1] = 1.0; };
    auto matrixWithOffsets = [](double* k, int row) {  // signed zeros in the second-order terms
        k[0] = row == 1 ? 0.0 : -0.002 * (row + 1);
        for (int t = 1; t < 4; ++t) k[t] = t == row + 1 ? 0.97 : (t == 2 ? -0.015 : 0.02);
        for (int t = 4; t < 11; ++t) k[t] = t % 2 == 0 ? -0.0 : 0.0;
    };
    auto negativeZeroConstant = [](double* k, int row) {  // -0 + a zero sum keeps its sign rules
        k[0] = -0.0;
        k[row + 1] = 1.0;
    };
    const struct {
        const char* name;
        void (*fill)(double*, int);
    } corrections[] = {{"every term", everyTerm},
                       {"identity", identity},
                       {"matrix with offsets", matrixWithOffsets},
                       {"constant -0", negativeZeroConstant}};
    const std::vector<float> finite = {-0.0f, 0.0f,   Limits::denorm_min(), -Limits::denorm_min(),
                                       0.5f,  3.0f,   -2.0f,                1.0f,
                                       1e-30f, 4e12f, -4e12f,               0.999f};
    EdgePlanes finitePlanes(kMixedPoints);
    for (unsigned i = 0; i < kMixedPoints; ++i) {
        const size_t n = finite.size();
        finitePlanes.r[i] = finite[i % n];
        finitePlanes.g[i] = finite[(i / n + 3 * i) % n];
        finitePlanes.b[i] = finite[(5 * i + 1) % n];
    }
    // Zero first-order sums of each sign, where a zero second-order term could flip the sign.
    const float signedZeroPoints[][3] = {{-0.0f, -0.0f, -0.0f}, {-0.0f, -2.0f, -0.0f}, {0.0f, -0.0f, -2.0f}};
    for (int i = 0; i < 3; ++i) {
        for (int c = 0; c < 3; ++c) finitePlanes.p[c][i] = signedZeroPoints[i][c];
    }
    for (const auto& correction : corrections) {
        PccCoefficients pcc{};
        for (int row = 0; row < 3; ++row) correction.fill(pcc.row[row], row);
        TMParams p{};
        p.grid_size = 3;
        p.pcc = &pcc;
        for (const EdgePlanes& in : {EdgePlanes(kMixedPoints), finitePlanes}) {
            EdgePlanes out = in, expected = in;
            panel_mapping_PCC(&p, out.p);
            for (unsigned i = 0; i < kMixedPoints; ++i) {
                const float r = in.r[i], g = in.g[i], b = in.b[i];
                const double terms[10] = {r, g, b, r * g, g * b, r * b, r * r, g * g, b * b, (r * g) * b};
                for (int c = 0; c < 3; ++c) {
                    const double* k = pcc.row[c];
                    // Summed r, g, b, rg, gb, rb, rr, gg, bb, rgb, then the constant.
                    const int order[10] = {1, 2, 3, 7, 8, 9, 4, 5, 6, 10};
                    double sum = 0.0;
                    for (int t = 0; t < 10; ++t) sum = t == 0 ? k[order[t]] * terms[t] : sum + k[order[t]] * terms[t];
                    expected.p[c][i] = clampRef(static_cast<float>(k[0] + sum));
                }
            }
            expectPlanes(in, out, expected, (std::string("panel_mapping_PCC, ") + correction.name).c_str());
        }
    }
}

}  // namespace
