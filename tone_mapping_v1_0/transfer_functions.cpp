// Transfer functions over sample planes: PQ, HLG, BT.709, sRGB, pure powers
// and the HLG OOTF. Decoders read the 1024-entry tables of decode_tables.cpp;
// encoders evaluate their curve in single precision, every product and sum
// rounded on its own.
#include "transfer_functions.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "color_conversion.h"
#include "cr_maths.h"
#include "tm_stages.h"

namespace hdrtm {
namespace {

// ST 2084 c1 = 3424/4096
constexpr float kPqC1 = 0.8359375f;
// ST 2084 c2 = 2413/4096 x 32
constexpr float kPqC2 = 18.8515625f;
// ST 2084 c3 = 2392/4096 x 32
constexpr float kPqC3 = 18.6875f;

// BT.2100 HLG a
constexpr float kHlgA = 0.17883277f;
// BT.2100 HLG -b, b = 1 - 4a
constexpr float kHlgMinusB = -0.28466892f;
// BT.2100 HLG c = 0.5 - a ln(4a)
constexpr float kHlgC = 0.55991073f;
constexpr float kHlgKneeTimes12 = 1.0f;
// Square-root branch: sqrt(12 L) / 2 = sqrt(3 L).
constexpr float kHlgRootScale = 0.5f;

// BT.709 OETF: linear segment up to and including 0.018, slope 4.5.
constexpr float kBt709LinearLimit = 0.018f;
constexpr float kBt709LinearSlope = 4.5f;
// BT.709 OETF power segment: 1.099 L^0.45 - 0.099.
constexpr float kBt709Gain = 1.099f;
constexpr float kBt709Offset = -0.099f;

// IEC 61966-2-1 sRGB: linear segment up to and including 0.0031308, slope 12.92.
constexpr float kSrgbLinearLimit = 0.0031308f;
constexpr float kSrgbLinearSlope = 12.92f;
// sRGB power segment: 1.055 L^(1/2.4) - 0.055.
constexpr float kSrgbGain = 1.055f;
constexpr float kSrgbOffset = -0.055f;

// BT.2100 HLG system gamma 1.2 + 0.42 log10(peak / 1000).
constexpr float kOotfGammaAtReference = 1.2f;
constexpr float kOotfGammaSlope = 0.42f;
constexpr float kOotfReferencePeakNits = 1000.0f;

// A 10-bit code's full-scale value: samples are codes and index the table as they are.
constexpr unsigned short kCodeInMax = 1023;
// Table index of a normalised signal: x * 1023, so k/1023 reads entry k.
constexpr float kTableLastIndex = 1023.0f;

// There are only three planes: a larger plane count converts all three.
unsigned int planesToConvert(unsigned int planeCount) {
    return std::min(planeCount, static_cast<unsigned int>(kPlaneCount));
}

// Shared body of the table decoders, over the first `used` planes: index by
// truncation toward zero (no rounding, no clamp: callers keep inputs within
// [0, inMax]), then outScale x the entry as a float. inMax 1 indexes by
// x * 1023 exactly, since x / 1 is x.
void decodeThroughTable(const double* table, float** planes, unsigned int count,
                        unsigned int used, unsigned short inMax, unsigned short outScale) {
    const float scale = static_cast<float>(outScale);
    const float max = static_cast<float>(inMax);
    for (unsigned int c = 0; c < used; ++c) {
        float* p = planes[c];
        if (inMax == kCodeInMax) {
            for (unsigned int i = 0; i < count; ++i) {
                p[i] = scale * static_cast<float>(table[floatToInt32(p[i])]);
            }
        } else {
            for (unsigned int i = 0; i < count; ++i) {
                p[i] = scale * static_cast<float>(table[floatToInt32(p[i] / max * kTableLastIndex)]);
            }
        }
    }
}

// Shared body of the formula encoders: L = x / inScale clamped to [0, 1]
// (NaN passes), then outScale x encode(L), over the first planeCount planes,
// each step a pass over the plane; encodeSamples(plane, count) encodes in
// place.
template <typename EncodeSamples>
void encodePlanes(float** planes, unsigned int count, unsigned int planeCount,
                  unsigned short inScale, unsigned short outScale, EncodeSamples encodeSamples) {
    if (inScale == 0 || planeCount == 0) return;
    const float in = static_cast<float>(inScale);
    const float out = static_cast<float>(outScale);
    const unsigned int used = planesToConvert(planeCount);
    for (unsigned int c = 0; c < used; ++c) {
        float* p = planes[c];
        for (unsigned int i = 0; i < count; ++i) p[i] = clampUnitKeepNaN(p[i] / in);
        encodeSamples(p, count);
        for (unsigned int i = 0; i < count; ++i) p[i] = p[i] * out;
    }
}

// An encoding with a linear segment up to and including `linearLimit` and a
// power segment gain x L^exponent + offset above it (NaN too).
struct SegmentedPower {
    float linearLimit, linearSlope, exponent, gain, offset;
};

constexpr SegmentedPower kSrgbEncoding = {kSrgbLinearLimit, kSrgbLinearSlope, kSrgbExponent,
                                          kSrgbGain, kSrgbOffset};
constexpr SegmentedPower kBt709Encoding = {kBt709LinearLimit, kBt709LinearSlope, kBt709Exponent,
                                           kBt709Gain, kBt709Offset};

// Block by block: a vectorised pass decides each sample's segment and works
// out the linear ones, the powers go over the block in the maths' plane
// form, and a vectorised pass applies the power segment's gain and offset.
// Always inlined, so that it is built for every variant of its callers.
[[gnu::always_inline]] inline void encodeSegmentedSamples(float* samples, unsigned int count,
                                                          SegmentedPower curve) {
    uint32_t onPower[kCallBlock];
    for (unsigned int start = 0; start < count; start += kCallBlock) {
        float* const s = samples + start;
        const unsigned int n = std::min(count - start, kCallBlock);
        for (unsigned int j = 0; j < n; ++j) {
            const float x = s[j];
            const bool linear = x <= curve.linearLimit;
            onPower[j] = !linear;
            s[j] = linear ? x * curve.linearSlope : x;
        }
        powPlane(s, n, curve.exponent, onPower);
        for (unsigned int j = 0; j < n; ++j) {
            s[j] = selectValue(onPower[j] != 0, s[j] * curve.gain + curve.offset, s[j]);
        }
    }
}

// Replaces each luminance y of `count` samples by its gain numerator / y *
// base(y)^exponent, block by block: the bases and the gains in vectorised
// passes, the powers in the maths' plane form. A sample whose luminance is not
// positive (or NaN) keeps the previous sample's gain, on purpose; the first
// such sample gets 0.
template <typename Base>
void luminanceToCarriedGain(float* luminance, unsigned int count, float numerator, Base base,
                            float exponent) {
    float carried = 0.0f;
    float powers[kCallBlock];
    uint32_t positive[kCallBlock];
    for (unsigned int start = 0; start < count; start += kCallBlock) {
        float* const y = luminance + start;
        const unsigned int n = std::min(count - start, kCallBlock);
        unsigned int positiveCount = 0;
        for (unsigned int j = 0; j < n; ++j) {
            positive[j] = y[j] > 0.0f;
            positiveCount += positive[j];
            powers[j] = base(y[j]);
        }
        powPlane(powers, n, exponent, positive);
        if (positiveCount == n) {
            // Nothing to carry in this block (the usual case: only black is
            // not positive), so the gains go straight in, vectorised.
            for (unsigned int j = 0; j < n; ++j) y[j] = (numerator / y[j]) * powers[j];
            carried = y[n - 1];
            continue;
        }
        // The gain is taken for every sample and kept only where the
        // luminance is positive, so that the loop vectorises.
        for (unsigned int j = 0; j < n; ++j) powers[j] = (numerator / y[j]) * powers[j];
        for (unsigned int j = 0; j < n; ++j) {
            if (positive[j] != 0) carried = powers[j];
            y[j] = carried;
        }
    }
}

float ootfSystemGamma(float peak) {
    return crLog10f(peak / kOotfReferencePeakNits) * kOotfGammaSlope + kOotfGammaAtReference;
}

}  // namespace

HDRTM_VECTOR_CLONES
void srgbEncodeSamples(float* samples, unsigned int count) {
    encodeSegmentedSamples(samples, count, kSrgbEncoding);
}

HDRTM_VECTOR_CLONES
void bt709EncodeSamples(float* samples, unsigned int count) {
    encodeSegmentedSamples(samples, count, kBt709Encoding);
}

// Square root up to and including the knee, logarithm above it (NaN too).
// Block by block: a vectorised pass takes every root and leaves a sample above
// the knee holding its log's argument, the logs go over the block in the
// maths' plane form, and a vectorised pass scales and offsets them.
HDRTM_VECTOR_CLONES
void hlgEncodeScaledSamples(float* samples, unsigned int count, float scale) {
    uint32_t aboveKnee[kCallBlock];
    for (unsigned int start = 0; start < count; start += kCallBlock) {
        float* const s = samples + start;
        const unsigned int n = std::min(count - start, kCallBlock);
        for (unsigned int j = 0; j < n; ++j) {
            const float x = s[j] * scale;
            const bool root = x <= kHlgKneeTimes12;
            aboveKnee[j] = !root;
            s[j] = root ? sqrtf(x) * kHlgRootScale : x + kHlgMinusB;
        }
        logPlane(s, n, aboveKnee);
        for (unsigned int j = 0; j < n; ++j) {
            s[j] = selectValue(aboveKnee[j] != 0, s[j] * kHlgA + kHlgC, s[j]);
        }
    }
}

}  // namespace hdrtm

using namespace hdrtm;

void st2084_inverse_tf(float** planes, unsigned int count, unsigned int planeCount,
                       unsigned short inMax, unsigned short outScale) {
    if (inMax == 0) return;
    decodeThroughTable(kPqDecodeTable, planes, count, planesToConvert(planeCount), inMax,
                       outScale);
}

HDRTM_VECTOR_CLONES
void st2084_forward_tf(float** planes, unsigned int count, unsigned short inScale,
                       unsigned short outScale) {
    // No guard for inScale 0: every sample then becomes the PQ value of 1.0,
    // or NaN for a zero sample.
    const float in = static_cast<float>(inScale);
    const float out = static_cast<float>(outScale);
    // Plane by plane in passes: the arithmetic vectorised, the powers in the
    // maths' plane form.
    for (int c = 0; c < kPlaneCount; ++c) {
        float* p = planes[c];
        for (unsigned int i = 0; i < count; ++i) p[i] = clampUnitKeepNaN(p[i] / in);
        powPlane(p, count, kPqM1);
        for (unsigned int i = 0; i < count; ++i) {
            const float power = p[i];
            const float numerator = power * kPqC2 + kPqC1;
            const float denominator = power * kPqC3 + 1.0f;
            p[i] = numerator / denominator;
        }
        powPlane(p, count, kPqM2);
        for (unsigned int i = 0; i < count; ++i) p[i] = p[i] * out;
    }
}

void HLG_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                    unsigned short inScale, unsigned short outScale) {
    if (inScale == 0 || planeCount == 0) return;
    const float in = static_cast<float>(inScale);
    const float out = static_cast<float>(outScale);
    const unsigned int used = planesToConvert(planeCount);
    for (unsigned int c = 0; c < used; ++c) {
        float* p = planes[c];
        for (unsigned int i = 0; i < count; ++i) p[i] = p[i] / in;
        // Not clamped: a negative sample gives NaN from the square root.
        hlgEncodeScaledSamples(p, count, kHlgSceneScale);
        for (unsigned int i = 0; i < count; ++i) p[i] = p[i] * out;
    }
}

void HLG_inverse_tf(float** planes, unsigned int count, unsigned short inMax,
                    unsigned short outScale) {
    // Unlike the other decoders there is no guard for inMax 0, on purpose:
    // that value is outside this function's contract.
    decodeThroughTable(kHlgDecodeTable, planes, count, kPlaneCount, inMax, outScale);
}

void bt709_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                      unsigned short inScale, unsigned short outScale) {
    encodePlanes(planes, count, planeCount, inScale, outScale, bt709EncodeSamples);
}

void bt709_inverse_tf(float** planes, unsigned int count, unsigned short inMax,
                      unsigned short outScale) {
    if (inMax == 0) return;
    decodeThroughTable(kBt709DecodeTable, planes, count, kPlaneCount, inMax, outScale);
}

void sRGB_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                     unsigned short inScale, unsigned short outScale) {
    encodePlanes(planes, count, planeCount, inScale, outScale, srgbEncodeSamples);
}

void sRGB_inverse_tf(float** planes, unsigned int count, unsigned short inMax,
                     unsigned short outScale) {
    if (inMax == 0) return;
    decodeThroughTable(kSrgbDecodeTable, planes, count, kPlaneCount, inMax, outScale);
}

void gamma2p2_forward_tf(float** planes, unsigned int count, unsigned short planeCount,
                         unsigned short inScale, unsigned short outScale) {
    encodePlanes(planes, count, planeCount, inScale, outScale, [](float* p, unsigned int n) {
        powPlane(p, n, kGamma2p2EncodeExponent);
    });
}

void gamma2p2_inverse_tf(float** planes, unsigned int count, unsigned short planeCount,
                         unsigned short inScale, unsigned short outScale) {
    encodePlanes(planes, count, planeCount, inScale, outScale, [](float* p, unsigned int n) {
        powPlane(p, n, kGamma2p2DecodeExponent);
    });
}

void gamma_custom_forward_tf(float gamma, float** planes, unsigned int count,
                             unsigned short planeCount, unsigned short inScale,
                             unsigned short outScale) {
    // gamma 0 is not guarded: the infinite exponent maps (0, 1) to 0 and 1 to 1.
    const float exponent = 1.0f / gamma;
    encodePlanes(planes, count, planeCount, inScale, outScale,
                 [exponent](float* p, unsigned int n) { powPlane(p, n, exponent); });
}

float Clipping(float value, float lower, float upper) {
    return clampKeepNaN(value, lower, upper);
}

// The two 16-bit arguments of the OOTF pair are part of the signature only.
HDRTM_VECTOR_CLONES
void OOTF_forward_tf(float** planes, unsigned int count, unsigned short, unsigned short,
                     float peak) {
    if (count < 1) return;
    float* r = planes[0];
    float* g = planes[1];
    float* b = planes[2];
    const float gamma = ootfSystemGamma(peak);
    // Scratch: scene luminance of every sample, then its gain.
    std::vector<float> gains(count);
    float* const gain = gains.data();
    HDRTM_INDEPENDENT_POINTS
    for (unsigned int i = 0; i < count; ++i) gain[i] = bt2020Luminance(r[i], g[i], b[i]);
    // Gain peak * Y^(gamma - 1), as (peak / Y) * Y^gamma.
    luminanceToCarriedGain(gain, count, peak, [](float y) { return y; }, gamma);
    HDRTM_INDEPENDENT_POINTS
    for (unsigned int i = 0; i < count; ++i) {
        r[i] = clampUnitKeepNaN(r[i] * gain[i] / kNitsPerUnit);
        g[i] = clampUnitKeepNaN(g[i] * gain[i] / kNitsPerUnit);
        b[i] = clampUnitKeepNaN(b[i] * gain[i] / kNitsPerUnit);
    }
}

HDRTM_VECTOR_CLONES
void OOTF_inverse_tf(float** planes, unsigned int count, unsigned short, unsigned short,
                     float peak) {
    if (count < 1) return;
    float* r = planes[0];
    float* g = planes[1];
    float* b = planes[2];
    const float inverseGamma = 1.0f / ootfSystemGamma(peak);
    // Scratch: display luminance in cd/m2 of every sample, then its gain.
    std::vector<float> gains(count);
    float* const gain = gains.data();
    HDRTM_INDEPENDENT_POINTS
    for (unsigned int i = 0; i < count; ++i) {
        gain[i] = bt2020Luminance(r[i], g[i], b[i]) * kNitsPerUnit;
    }
    // Gain (10000 / Yd) * (Yd / peak)^(1 / gamma).
    luminanceToCarriedGain(gain, count, kNitsPerUnit, [peak](float y) { return y / peak; },
                           inverseGamma);
    HDRTM_INDEPENDENT_POINTS
    for (unsigned int i = 0; i < count; ++i) {
        r[i] = clampUnitKeepNaN(r[i] * gain[i]);
        g[i] = clampUnitKeepNaN(g[i] * gain[i]);
        b[i] = clampUnitKeepNaN(b[i] * gain[i]);
    }
}
