// logf and log10f, correctly rounded.
//
// Range reduction: x = 2^e z, z in about [0.75, 1.5), and z (1/c) = 1 + r
// exactly for c the nearest of 129 centres (1/c to 27 fraction bits, c = 1
// next to 1.0), |r| <= 2^-8.
// Fast path: log2 x = e + log2 c + log2(1 + r), log2(1 + r) by a polynomial
// of degree 5, in double precision: within 2^-46.4 (relative); then times
// ln 2 or log10 2. Rounding test: if every value within four times that
// bound rounds to one float, it is the result (all but about 1 in 2^19
// arguments).
// Slow path: ln x = e ln 2 + ln c + ln(1 + r) in double-double arithmetic,
// the series of ln(1 + r) to degree 15 (its low terms in double-double), ln c
// and ln 2 as double-doubles: within 2^-100 of the result (relative); log10
// is that times 1/ln 10. The rounding test again, against the float
// midpoints next to it. The exhaustive check (scripts/check-maths.sh) runs
// every float through both functions.
// Special cases: NaN gives NaN, +inf gives +inf, +-0 gives -inf, any other
// negative argument NaN; 1 gives +0.
#include <cmath>
#include <limits>

#include "cr_maths.h"
#include "cr_maths_core.h"

namespace hdrtm {
namespace {

// The slow path's claimed error bound, with a margin of four.
constexpr double kLogSlowRelativeError = 0x1p-98;


// Arguments outside the positive finite floats: bits - 1 wraps +0 above the
// rest.
HDRTM_INLINE bool isPositiveFinite(uint32_t bits) { return bits - 1u < kFloatLargestBits; }

float logSpecialCase(float x) {
    if (std::isnan(x)) return x + x;  // quiet NaN
    if (x == 0.0f) return -std::numeric_limits<float>::infinity();
    if (x < 0.0f) return std::numeric_limits<float>::quiet_NaN();
    return x;  // +inf
}

}  // namespace

DoubleDouble logDoubleDouble(float x) {
    // A subnormal is scaled up by 2^23 (exactly) to a normal.
    const bool subnormal = std::bit_cast<uint32_t>(x) < kFloatMinNormalBits;
    LogArgument a = reduceLogArgument(subnormal ? x * 0x1p23f : x);
    if (subnormal) a.exponent -= kFloatFractionBits;
    const double r = a.r;
    // sum over k of (-1)^(k+1) r^(k-1) / k, k = 1..15, by Horner: terms from
    // 8 up are below 2^-59 of the sum and go in double precision.
    double high = kInverseHead[15];
    for (int k = 14; k >= 8; --k) {
        high = high * r + ((k & 1) != 0 ? kInverseHead[k] : -kInverseHead[k]);
    }
    DoubleDouble series = {high, 0.0};
    for (int k = 7; k >= 1; --k) {
        const DoubleDouble coefficient = (k & 1) != 0 ? DoubleDouble{kInverseHead[k], kInverseTail[k]}
                                                      : DoubleDouble{-kInverseHead[k], -kInverseTail[k]};
        series = add(multiply(series, r), coefficient);
    }
    const DoubleDouble log1p = multiply(series, r);
    const double exponent = static_cast<double>(a.exponent);
    const DoubleDouble exponentLn2 = add(twoProduct(exponent, kLn2Head), exponent * kLn2Tail);
    const DoubleDouble logC = {kLogCHead[a.index], kLogCTail[a.index]};
    return add(add(exponentLn2, logC), log1p);
}

namespace {

// The midpoints between a non-negative float and its neighbours, exact in
// double precision: past the largest float lies the boundary where rounding
// goes to infinity, and below +0 lies -2^-149.
struct Midpoints {
    double down, up;
};

Midpoints midpointsAround(float f) {
    constexpr double kOverflowBoundary = 0x1.ffffffp127;
    const uint32_t bits = std::bit_cast<uint32_t>(f);
    if (bits >= kFloatInfinityBits) return {kOverflowBoundary, std::numeric_limits<double>::infinity()};
    const double here = f;
    const double up = bits == kFloatLargestBits ? 0x1p128 : std::bit_cast<float>(bits + 1);
    const double down = bits == 0 ? -0x1p-149 : std::bit_cast<float>(bits - 1);
    return {(here + down) * 0.5, (here + up) * 0.5};
}

}  // namespace

bool roundDoubleDouble(DoubleDouble value, double bound, float* nearest) {
    const bool negative = value.head < 0.0;
    if (negative) value = {-value.head, -value.tail};
    // head + tail rounded to a double may land on a midpoint and then round
    // to the wrong float: the candidate moves one float when the value lies
    // past one of its midpoints. value - midpoint has the sign of the
    // computed (head - midpoint) + tail: the heads' difference is exact
    // where they are close, and a rounded sum keeps its sign.
    float candidate = static_cast<float>(value.head + value.tail);
    Midpoints m = midpointsAround(candidate);
    if ((value.head - m.up) + value.tail > 0.0) {
        candidate = std::bit_cast<float>(std::bit_cast<uint32_t>(candidate) + 1);
        m = midpointsAround(candidate);
    } else if ((value.head - m.down) + value.tail < 0.0) {
        candidate = std::bit_cast<float>(std::bit_cast<uint32_t>(candidate) - 1);
        m = midpointsAround(candidate);
    }
    *nearest = negative ? -candidate : candidate;
    // Decided when no midpoint lies within the bound; the margin covers the
    // differences' roundings.
    const double margin = bound * (1.0 + 0x1p-40);
    return (value.head - m.up) + value.tail < -margin && (value.head - m.down) + value.tail > margin;
}

float nearestFloat(DoubleDouble value, double bound) {
    float nearest;
    roundDoubleDouble(value, bound, &nearest);
    return nearest;
}

float logSlowPath(float x) {
    const DoubleDouble value = logDoubleDouble(x);
    return nearestFloat(value, absoluteValue(value.head) * kLogSlowRelativeError);
}

float log10SlowPath(float x) {
    const DoubleDouble value = multiply(logDoubleDouble(x), DoubleDouble{kInvLn10Head, kInvLn10Tail});
    return nearestFloat(value, absoluteValue(value.head) * kLogSlowRelativeError);
}

namespace {

// log2 x times `scale`, the slow path where the fast one leaves it open.
float logarithm(float x, double scale, float (*slowPath)(float)) {
    const FastResult r = logDecided(x, scale);
    if (r.decided) return r.value;
    if (!isPositiveFinite(std::bit_cast<uint32_t>(x))) return logSpecialCase(x);
    return slowPath(x);
}

}  // namespace

float crLogf(float x) { return logarithm(x, kLn2Head, logSlowPath); }

float crLog10f(float x) { return logarithm(x, kLog10Of2, log10SlowPath); }

}  // namespace hdrtm
