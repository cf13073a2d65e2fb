// powf (and 10^y), correctly rounded.
//
// x^y = 2^t, t = y log2|x|, with the sign from y's parity for negative x.
// Fast path: log2|x| as logf computes it (within 2^-46.4), t rounded once,
// and 2^t by t = k/64 + r (|r| <= 1/128), 2^(k/64) from a 64-entry table and
// the exponent bits, 2^r by a polynomial of degree 4: within
// 2^-46.9 (|t| + 1) of x^y, 2^-39.6 at most for the t that give a float.
// Rounding test: if every value within 2^-37 of it rounds to one float, it
// is the result (all but about 1 in 5,000 arguments); t above 128 overflows
// and t below -151 rounds to 0 (2^-150 is half the smallest subnormal).
// Slow path: first the exact and halfway cases, which no approximation can
// decide. x^y has at most 25 significant bits (a float, or a midpoint between
// two) only when x = 2^e and e y is an integer, or x = m 2^e with m odd >= 3
// and y = n/2^k, k <= 3, 0 < n <= 15 (3^16 > 2^25), m a perfect 2^k-th power
// q^(2^k), 2^k dividing e and q^n below 2^25; these are computed exactly.
// Otherwise ln|x| and t = y ln|x| in double-double arithmetic, e^t by
// t = k ln2/64 + r (|k| < 2^14, |r| <= ln2/128) and 2^(k/64), e^r by its series to
// degree 10 (its low terms in double-double): within 2^-100.9 |t| + 2^-102;
// the rounding test again, against the float midpoints next to it.
// 10^y is 2^t with t = y log2 10 rounded once, and the same rounding test and
// slow path, so that it gives exactly powf(10, y).
// Special cases are those of C's Annex F, in this order: x^+-0 = 1 (NaN x
// too), 1^y = 1 (NaN y too), NaN gives NaN, (-1)^+-inf = 1, then infinities
// and zeros by the sign of y and whether y is an odd integer, and a negative
// finite x with a y that is not an integer gives NaN.
#include <cmath>
#include <limits>

#include "cr_maths.h"
#include "cr_maths_core.h"

namespace hdrtm {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr uint32_t kFloatSignBit = 0x80000000u;

// The slow path's claimed error bound, with a margin of four or more.
HDRTM_INLINE double powSlowRelativeError(double t) { return absoluteValue(t) * 0x1p-98 + 0x1p-99; }

enum class IntegerKind { kNotInteger, kOdd, kEven };

IntegerKind integerKind(float y) {
    const uint32_t bits = std::bit_cast<uint32_t>(y) & kFloatMagnitudeMask;
    const int32_t exponent = static_cast<int32_t>(bits >> kFloatFractionBits) - kFloatExponentBias;
    if (exponent < 0) return bits == 0 ? IntegerKind::kEven : IntegerKind::kNotInteger;
    if (exponent > kFloatFractionBits) return IntegerKind::kEven;  // 2^24 and up
    const uint32_t significand = (bits & kFloatFractionMask) | kFloatMinNormalBits;
    const int fractionBits = kFloatFractionBits - exponent;
    if ((significand & ((1u << fractionBits) - 1u)) != 0) return IntegerKind::kNotInteger;
    return ((significand >> fractionBits) & 1u) != 0 ? IntegerKind::kOdd : IntegerKind::kEven;
}

// 2^n as a double, from its exponent bits: n an integer in [-1022, 1023].
double twoToThe(int64_t n) { return std::bit_cast<double>(static_cast<uint64_t>(n + 1023) << 52); }

// The float nearest value * 2^n, rounded once (value an integer below 2^26,
// n an integer of any size): beyond 2^200 every such value overflows and
// below 2^-200 every one rounds to 0; 2^-150 is halfway to 0 and goes to 0,
// the even neighbour.
float scaledToFloat(double value, double n) {
    if (n > 200.0) return kInfinity;
    if (n < -200.0) return 0.0f;
    return static_cast<float>(value * twoToThe(static_cast<int64_t>(n)));
}

// x^y when it has at most 25 significant bits, so that it is a float or a
// midpoint between two; false when it is not (then it is not a dyadic
// rational, or has more bits, and is no harder to round than any other).
bool exactPower(float x, float y, float* result) {
    const uint32_t bits = std::bit_cast<uint32_t>(x);
    // x = odd * 2^exponent
    uint32_t odd = bits & kFloatFractionMask;
    int32_t exponent = -149;
    if (bits >= kFloatMinNormalBits) {
        odd |= kFloatMinNormalBits;
        exponent = static_cast<int32_t>(bits >> kFloatFractionBits) - 150;
    }
    const int zeros = std::countr_zero(odd);
    odd >>= zeros;
    exponent += zeros;
    if (odd == 1) {
        const double n = static_cast<double>(y) * exponent;  // exact: 24 bits times 8
        // Every double from 2^52 up is an integer.
        if (absoluteValue(n) < 0x1p52 && n != static_cast<double>(static_cast<int64_t>(n))) {
            return false;
        }
        *result = scaledToFloat(1.0, n);
        return true;
    }
    // y = n / 2^k, n odd, 0 < y; n <= 15 and k <= 3.
    const uint32_t yBits = std::bit_cast<uint32_t>(y);
    if (y < 0.0f || yBits < kFloatMinNormalBits) return false;
    uint32_t n = (yBits & kFloatFractionMask) | kFloatMinNormalBits;
    int32_t yExponent = static_cast<int32_t>(yBits >> kFloatFractionBits) - 150;
    const int yZeros = std::countr_zero(n);
    n >>= yZeros;
    yExponent += yZeros;
    if (yExponent > 3 || yExponent < -3) return false;
    if (yExponent > 0) n <<= yExponent;
    const int k = yExponent < 0 ? -yExponent : 0;
    if (n > 15) return false;
    // q = odd^(1/2^k), when it is an integer; square roots of integers below
    // 2^53 are exact, so the test is exact.
    uint64_t q = odd;
    for (int i = 0; i < k; ++i) {
        const uint64_t root = static_cast<uint64_t>(std::sqrt(static_cast<double>(q)));
        if (root * root != q) return false;
        q = root;
    }
    if ((exponent & ((1 << k) - 1)) != 0) return false;  // 2^(e y) irrational
    constexpr uint64_t kMidpointBits = 1u << 25;
    uint64_t power = 1;
    for (uint32_t i = 0; i < n; ++i) {
        power *= q;
        if (power > kMidpointBits) return false;
    }
    *result = scaledToFloat(static_cast<double>(power), static_cast<double>(exponent / (1 << k)) * n);
    return true;
}

// e^t overflows above kExpOverflow (e^88.72 is the largest float's rounding
// boundary) and rounds to 0 below kExpUnderflow (e^-103.97 is 2^-150).
constexpr double kExpOverflow = 89.0;
constexpr double kExpUnderflow = -104.0;

// e^t in double-double, t in [kExpUnderflow, kExpOverflow].
DoubleDouble expDoubleDouble(DoubleDouble t) {
    constexpr double kRoundShift = 0x1.8p52;
    const double k = (t.head * k64OverLn2 + kRoundShift) - kRoundShift;
    // r = t - k ln2/64: the first part's product and difference are exact.
    const DoubleDouble part2 = twoProduct(k, kLn2Over64Part2);
    DoubleDouble r = twoSum(t.head - k * kLn2Over64Part1, -part2.head);
    r = add(r, t.tail);
    r = add(r, -part2.tail - k * kLn2Over64Part3);
    // e^r.head by sum over k of r^(k-1) / k!, k = 1..10, times r, plus 1; terms
    // from 7 up are below 2^-57 of the sum and go in double precision.
    const double x = r.head;
    double high = kInverseFactorialHead[10];
    for (int i = 9; i >= 7; --i) high = high * x + kInverseFactorialHead[i];
    DoubleDouble series = {high, 0.0};
    for (int i = 6; i >= 1; --i) {
        series = add(multiply(series, x), DoubleDouble{kInverseFactorialHead[i], kInverseFactorialTail[i]});
    }
    DoubleDouble expR = add(DoubleDouble{1.0, 0.0}, multiply(series, x));
    // e^(head + tail) = e^head (1 + tail), |tail| below 2^-60.
    expR = add(expR, expR.head * r.tail);
    const int64_t kInteger = static_cast<int64_t>(k);
    const int64_t j = kInteger & ((1 << kExpTableBits) - 1);
    const DoubleDouble value = multiply(expR, DoubleDouble{kExpTableHead[j], kExpTableTail[j]});
    const double scale = twoToThe(kInteger >> kExpTableBits);
    return {value.head * scale, value.tail * scale};
}

// 2^t where the fast path left it open: out of range, or the slow path.
float exp2Undecided(double t, float x, float y) {
    if (t > kExp2Overflow) return kInfinity;
    if (t < kExp2Underflow) return 0.0f;
    return powSlowPath(x, y);
}

// x^y for x positive and finite (subnormals too), y finite and not zero.
float powMagnitude(float x, float y) {
    const FastResult r = powDecided(x, y);
    if (r.decided) return r.value;
    if (!inFastDomain(x)) return powSlowPath(x, y);  // a subnormal
    return exp2Undecided(static_cast<double>(y) * log2Fast(reduceLogArgument(x)), x, y);
}

// Everything the fast path leaves open: the special values, signs,
// subnormals, results out of range and the slow path.
float powOpen(float x, float y) {
    const uint32_t xBits = std::bit_cast<uint32_t>(x);
    const uint32_t yMagnitude = std::bit_cast<uint32_t>(y) & kFloatMagnitudeMask;
    if (yMagnitude == 0) return 1.0f;
    if (xBits == kFloatOneBits) return 1.0f;
    if (std::isnan(x) || std::isnan(y)) return x + y;  // quiet NaN
    const float magnitude = std::fabs(x);
    if (yMagnitude == kFloatInfinityBits) {
        if (magnitude == 1.0f) return 1.0f;
        return (magnitude < 1.0f) == (y < 0.0f) ? kInfinity : 0.0f;
    }
    const IntegerKind kind = integerKind(y);
    const bool negative = (xBits & kFloatSignBit) != 0 && kind == IntegerKind::kOdd;
    float result = 0.0f;
    if (magnitude == 0.0f) {
        result = y < 0.0f ? kInfinity : 0.0f;
    } else if (magnitude == kInfinity) {
        result = y < 0.0f ? 0.0f : kInfinity;
    } else if ((xBits & kFloatSignBit) != 0 && kind == IntegerKind::kNotInteger) {
        return std::numeric_limits<float>::quiet_NaN();
    } else {
        result = powMagnitude(magnitude, y);
    }
    return negative ? -result : result;
}

}  // namespace

float powSlowPath(float x, float y) {
    float exact;
    if (exactPower(x, y, &exact)) return exact;
    const DoubleDouble t = multiply(logDoubleDouble(x), static_cast<double>(y));
    if (t.head > kExpOverflow) return kInfinity;
    if (t.head < kExpUnderflow) return 0.0f;
    const DoubleDouble value = expDoubleDouble(t);
    return nearestFloat(value, value.head * powSlowRelativeError(t.head));
}

float crPowf(float x, float y) {
    const FastResult r = powDecided(x, y);
    return r.decided ? r.value : powOpen(x, y);
}

float crExp10f(float y) {
    const FastResult r = exp10Decided(y);
    if (r.decided) return r.value;
    if (!isFiniteNonZero(y)) {
        if ((std::bit_cast<uint32_t>(y) & kFloatMagnitudeMask) == 0) return 1.0f;
        if (std::isnan(y)) return y + y;
        return y > 0.0f ? kInfinity : 0.0f;
    }
    return exp2Undecided(static_cast<double>(y) * kLog2Of10, 10.0f, y);
}

}  // namespace hdrtm
