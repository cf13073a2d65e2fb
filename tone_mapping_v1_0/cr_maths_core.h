// The fast paths of the correctly rounded maths, shared by the scalar
// functions and the plane loops: the logarithm's range reduction and
// polynomial, the exponential's, and the rounding test. Branch-free, so that
// a loop over many arguments vectorises; the few arguments the test cannot
// decide go to the slow paths declared at the end.
#pragma once

#include <bit>
#include <cstdint>

#include "cr_maths_tables.h"
#include "double_double.h"
#include "tm_common.h"

namespace hdrtm {

// Argument reduction of the logarithm. A positive finite float is
// x = 2^exponent * z, z in about [0.75, 1.5), and z * kLogInvC[index] = 1 + r
// exactly (a 24-bit z times a 28-bit reciprocal fits a double, and 1 + r is
// within 2^-8 of 1, so taking 1 away is exact too): the significand goes to
// the nearest of 1 + i/128, halved from i = 64 on. Then
// log2 x = exponent + log2 c + log2(1 + r), |r| <= 2^-8, with c = 1 at both
// ends so that log2 x near 1 is log2(1 + r) alone.
struct LogArgument {
    int32_t exponent;
    uint64_t index;  // 64 bits, so that compilers gather the table with it
    double r;
};

constexpr uint32_t kFloatMinNormalBits = 0x00800000u;
constexpr uint32_t kFloatOneBits = 0x3F800000u;
constexpr uint32_t kFloatFractionMask = 0x007FFFFFu;
constexpr int kFloatFractionBits = 23;
constexpr int kFloatExponentBias = 127;
constexpr uint32_t kFloatLargestBits = 0x7F7FFFFFu;

// x normal: the slow paths scale a subnormal up first.
HDRTM_INLINE LogArgument reduceLogArgument(float x) {
    const uint32_t bits = std::bit_cast<uint32_t>(x);
    const uint32_t fraction = bits & kFloatFractionMask;
    constexpr int kIndexShift = kFloatFractionBits - kLogTableBits;
    const uint64_t index = (fraction + (1u << (kIndexShift - 1))) >> kIndexShift;
    const uint32_t halved = (index + (1u << (kLogTableBits - 1))) >> kLogTableBits;
    const int32_t exponent = static_cast<int32_t>(bits >> kFloatFractionBits) -
                             kFloatExponentBias + static_cast<int32_t>(halved);
    const float z = std::bit_cast<float>(fraction | (kFloatOneBits - (halved << kFloatFractionBits)));
    return {exponent, index, static_cast<double>(z) * kLogInvC[index] - 1.0};
}

// log2 x in double precision, relative error below 2^-46.4: the polynomial's
// 2^-46.5 and a few roundings of 2^-53 (the reduction keeps the sum
// exponent + log2 c + log2(1 + r) from cancelling).
HDRTM_INLINE double log2Fast(const LogArgument& a) {
    const double r = a.r;
    const double r2 = r * r;
    const double q = (kLog2Poly[0] + r * kLog2Poly[1]) +
                     r2 * ((kLog2Poly[2] + r * kLog2Poly[3]) + r2 * kLog2Poly[4]);
    return (static_cast<double>(a.exponent) + kLog2C[a.index]) + r * q;
}

// Relative error bound the rounding test assumes for log2Fast times ln 2
// or log10 2: four times the analysis's bound.
constexpr double kLogFastRelativeError = 0x1p-44;

// 2^t overflows above kExp2Overflow and rounds to 0 below kExp2Underflow
// (2^-150 is half the smallest subnormal), whatever the fast path's error.
constexpr double kExp2Overflow = 128.0;
constexpr double kExp2Underflow = -151.0;

// 2^t for t in [kExp2Underflow, kExp2Overflow], relative error below 2^-46.9:
// t = k/64 + r with |r| <= 1/128 (adding kShift rounds t to a multiple of
// 1/64, and r is then exact), 2^(k/64) as a table entry scaled by its
// exponent bits, 2^r by the polynomial (2^-47.5), the table's and two more
// roundings.
HDRTM_INLINE double exp2Fast(double t) {
    constexpr double kShift = 0x1.8p46;
    const double shifted = t + kShift;
    const uint64_t kBits = std::bit_cast<uint64_t>(shifted);
    const double r = t - (shifted - kShift);
    const uint64_t j = kBits & ((1u << kExpTableBits) - 1);
    // The low bits of kBits hold 2^51 + k: its bits above j move into the
    // exponent field (the 2^51 moves out of the word).
    const uint64_t scaleBits =
        std::bit_cast<uint64_t>(kExpTableHead[j]) + ((kBits >> kExpTableBits) << 52);
    const double scale = std::bit_cast<double>(scaleBits);
    const double r2 = r * r;
    const double p = (kExp2Poly[0] + r * kExp2Poly[1]) + r2 * (kExp2Poly[2] + r * kExp2Poly[3]);
    return scale + scale * (r * p);
}

HDRTM_INLINE double absoluteValue(double v) {
    return std::bit_cast<double>(std::bit_cast<uint64_t>(v) & ~(1ull << 63));
}

// Relative error bound the rounding test assumes for exp2Fast of
// t = y log2 x, |t| <= 151: t carries log2Fast's error times |t|, which 2^t
// turns into ln 2 times as much, and exp2Fast adds its own: at most
// 2^-46.9 (|t| + 1), 2^-39.6 at the ends of the range. One bound for every
// t costs no work per sample; the few more samples the test leaves open
// (about 1 in 5,000) cost less.
constexpr double kPowFastRelativeError = 0x1p-37;

// A fast path's result and whether the rounding test decided it: every
// value within the error bound of the double-precision result rounds to one
// float (testing the bound's two ends is enough, since rounding to nearest
// is monotonic; the bound's margin covers the roundings of its ends). Every
// mask is made from 32-bit values (the argument's bits, float comparisons),
// which lets GCC vectorise a loop over them that mixes float and double
// lanes.
struct FastResult {
    float value;
    uint32_t decided;  // 0 or 1; 32 bits, like the masks it comes from
};

HDRTM_INLINE FastResult roundingTest(double value, double bound) {
    const float low = static_cast<float>(value - bound);
    const float high = static_cast<float>(value + bound);
    return {low, low == high};
}

// Positive, normal and finite: the fast paths' arguments (a subnormal is
// left to the scalar functions).
HDRTM_INLINE bool inFastDomain(float x) {
    return std::bit_cast<uint32_t>(x) - kFloatMinNormalBits <= kFloatLargestBits - kFloatMinNormalBits;
}

// Finite and not zero: the power's exponents.
HDRTM_INLINE bool isFiniteNonZero(float y) {
    return (std::bit_cast<uint32_t>(y) & kFloatMagnitudeMask) - 1u < kFloatLargestBits;
}

// log2 x times `scale` (ln 2 or log10 2).
HDRTM_INLINE FastResult logDecided(float x, double scale) {
    const double value = log2Fast(reduceLogArgument(x)) * scale;
    FastResult r = roundingTest(value, absoluteValue(value) * kLogFastRelativeError);
    r.decided = r.decided & inFastDomain(x);
    return r;
}

// 2^t, t = y log2 x or y log2 10; undecided outside the exponential's range
// (t compared as a float: a t just outside rounds onto the range's end,
// where the exponential still holds).
HDRTM_INLINE FastResult exp2Decided(double t) {
    const float tRounded = static_cast<float>(t);
    const bool inRange = (tRounded <= static_cast<float>(kExp2Overflow)) &
                         (tRounded >= static_cast<float>(kExp2Underflow));
    const double value = exp2Fast(t);
    FastResult r = roundingTest(value, value * kPowFastRelativeError);
    r.decided = r.decided & inRange;
    return r;
}

// x^y; +0 to a finite power is decided too (+0, or +infinity for a negative
// power), since the planes meet it often: every sample clipped to black.
HDRTM_INLINE FastResult powDecided(float x, float y) {
    FastResult r = exp2Decided(static_cast<double>(y) * log2Fast(reduceLogArgument(x)));
    const bool positiveZero = std::bit_cast<uint32_t>(x) == 0;
    const float zeroPower = std::bit_cast<float>(y < 0.0f ? kFloatInfinityBits : 0u);
    r.value = positiveZero ? zeroPower : r.value;
    r.decided = ((r.decided & inFastDomain(x)) | positiveZero) & isFiniteNonZero(y);
    return r;
}

HDRTM_INLINE FastResult exp10Decided(float y) {
    // A NaN or infinite y makes t so, outside the range.
    return exp2Decided(static_cast<double>(y) * kLog2Of10);
}

// Slow paths, for the arguments the rounding test leaves undecided. x is
// positive and finite (subnormals included) for the logarithms; for the
// power, x is the base's magnitude, positive and finite, and y is finite and
// not zero; the caller gives the sign.
float logSlowPath(float x);
float log10SlowPath(float x);
float powSlowPath(float x, float y);

// The float nearest head + tail (rounded once), and whether it is the
// float nearest every value within `bound` of it: false when a rounding
// boundary lies within the bound.
bool roundDoubleDouble(DoubleDouble value, double bound, float* nearest);
// The same float, for a slow path: an argument whose value the test still
// cannot decide would lie within the bound of a rounding boundary; the
// exhaustive check finds none, and it gets the float nearest the value.
float nearestFloat(DoubleDouble value, double bound);
// ln x, x positive and finite, within 2^-102 of it (double-double).
DoubleDouble logDoubleDouble(float x);

}  // namespace hdrtm
