// The library's powf, logf and log10f against MPFR: a stride of every float,
// random pairs, every exponent the stages pass as a constant, the exact and
// halfway powers and the special values; the tables against their
// definitions; the fast paths within the error bounds their rounding tests
// assume, and the slow paths correct on their own. scripts/check-maths.sh
// runs the exhaustive version.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "constant_exponents.h"
#include "cr_maths.h"
#include "cr_maths_core.h"
#include "maths_reference.h"

using namespace hdrtm;
using mathsref::sameResult;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Mismatches are counted and the first few printed, so that a fault shows
// its pattern rather than a flood.
struct MismatchCount {
    const char* what;
    int count = 0;
    void check(float got, float want, float x, float y = 0.0f) {
        if (sameResult(got, want)) return;
        if (++count <= 8) {
            ADD_FAILURE() << what << "(" << std::hexfloat << x << ", " << y << ") = " << got
                          << ", MPFR " << want;
        }
    }
};

// Sample counts divided by HDRTM_MATHS_SAMPLE_DIVISOR (1 when unset): the
// builds that run under an emulator take a sixteenth, which still shows the
// fast paths and the vector code of that processor giving the same bits.
uint64_t sampleDivisor() {
    const char* text = std::getenv("HDRTM_MATHS_SAMPLE_DIVISOR");
    const uint64_t divisor = text != nullptr ? std::strtoull(text, nullptr, 10) : 1;
    return divisor == 0 ? 1 : divisor;
}

// Bits k * stride + an offset that walks the low bits too.
float stridedFloat(uint64_t k, uint64_t stride) {
    return std::bit_cast<float>(static_cast<uint32_t>(k * stride + ((k * 0x9E3779B1u) % stride)));
}

TEST(CorrectlyRoundedMaths, LogarithmsMatchMpfrOnAStrideOfEveryFloat) {
    const uint64_t stride = 256 * sampleDivisor();  // 2^24 arguments of each
    MismatchCount log{"logf"}, log10{"log10f"};
    for (uint64_t k = 0; k < (uint64_t{1} << 32) / stride; ++k) {
        const float x = stridedFloat(k, stride);
        log.check(crLogf(x), mathsref::referenceLogf(x), x);
        log10.check(crLog10f(x), mathsref::referenceLog10f(x), x);
    }
    EXPECT_EQ(log.count + log10.count, 0);
}

TEST(CorrectlyRoundedMaths, PowMatchesMpfrOnRandomPairs) {
    std::mt19937_64 random(2026);
    MismatchCount pow{"powf"};
    for (uint64_t i = 0; i < 400000 / sampleDivisor(); ++i) {
        // Any two floats: mostly overflow, underflow, NaN and 1.
        const float x = std::bit_cast<float>(static_cast<uint32_t>(random()));
        const float y = std::bit_cast<float>(static_cast<uint32_t>(random()));
        pow.check(crPowf(x, y), mathsref::referencePowf(x, y), x, y);
        // A positive base and an exponent that keeps x^y a float: log2 x^y
        // uniform in [-160, 140].
        const float base = std::fabs(x) == 1.0f || !std::isfinite(x) || x == 0.0f ? 3.0f : std::fabs(x);
        const double target = std::uniform_real_distribution<double>(-160.0, 140.0)(random);
        const float exponent = static_cast<float>(target / std::log2(static_cast<double>(base)));
        pow.check(crPowf(base, exponent), mathsref::referencePowf(base, exponent), base, exponent);
        // Negative bases with integer exponents.
        const float integer = std::nearbyint(exponent);
        pow.check(crPowf(-base, integer), mathsref::referencePowf(-base, integer), -base, integer);
    }
    EXPECT_EQ(pow.count, 0);
}

TEST(CorrectlyRoundedMaths, PowMatchesMpfrForEveryConstantExponent) {
    const uint64_t stride = 2048 * sampleDivisor();  // 2^20 positive bases each, and 2^20 negative
    for (const float exponent : constantExponents()) {
        MismatchCount pow{"powf"};
        for (uint64_t k = 0; k < (uint64_t{1} << 32) / stride; ++k) {
            const float x = stridedFloat(k, stride);
            pow.check(crPowf(x, exponent), mathsref::referencePowf(x, exponent), x, exponent);
        }
        EXPECT_EQ(pow.count, 0) << "exponent " << exponent;
    }
}

TEST(CorrectlyRoundedMaths, TenToTheYMatchesMpfrAndPow) {
    MismatchCount exp10{"10^y"}, asPow{"powf(10, y) against 10^y"};
    // Every y from -46 to 39 with a stride, both signs of the bits.
    for (uint64_t k = 0; k < (uint64_t{1} << 32) / 4096; ++k) {
        const float y = stridedFloat(k, 4096);
        if (!(std::fabs(y) < 46.0f)) continue;
        const float want = mathsref::referencePowf(10.0f, y);
        exp10.check(crExp10f(y), want, 10.0f, y);
        asPow.check(crPowf(10.0f, y), want, 10.0f, y);
    }
    for (const float y : {0.0f, -0.0f, 1.0f, 10.0f, 11.0f, -1.0f, 38.5f, 38.6f, -45.0f, -45.5f, -46.0f,
                          kInf, -kInf, kNaN, 1e-30f, -1e-30f, 0x1p-149f}) {
        exp10.check(crExp10f(y), mathsref::mpfrPowf(10.0f, y), 10.0f, y);
    }
    EXPECT_EQ(exp10.count + asPow.count, 0);
}

// Results with at most 25 significant bits (floats and midpoints), which no
// approximation can round, and Annex F's special values.
TEST(CorrectlyRoundedMaths, ExactHalfwayAndSpecialPowersMatchMpfr) {
    MismatchCount pow{"powf"};
    auto both = [&](float x, float y) {
        pow.check(crPowf(x, y), mathsref::mpfrPowf(x, y), x, y);
        pow.check(crPowf(-x, y), mathsref::mpfrPowf(-x, y), -x, y);
    };
    // Integer and 2^-k powers of small integers and their binary scalings:
    // 3^15, 5^10, 4095^2, sqrt(9 * 2^-20), the fourth root of 81, 7^(3/2), ...
    const int step = static_cast<int>(sampleDivisor());
    for (int m = 1; m <= 4097; m += (m < 300 ? step : 97)) {
        for (const float scale : {1.0f, 0x1p-20f, 0x1p-130f, 0x1p40f, 0x1p-8f}) {
            for (int k = 0; k <= 4; ++k) {
                for (int n = -18; n <= 18; ++n) both(static_cast<float>(m) * scale, std::ldexp(static_cast<float>(n), -k));
            }
        }
    }
    // Squares and their square roots, to the last bit of a float.
    for (uint32_t q = 4095; q < 4096 + 64; ++q) {
        both(static_cast<float>(q * q), 0.5f);
        both(static_cast<float>(q), 2.0f);
        both(static_cast<float>(q * q) * 0x1p-60f, 0.5f);
        both(static_cast<float>(q * q) * 0x1p-61f, 0.5f);
    }
    // Powers of two: every exponent, to integer and half-integer powers, to
    // subnormals, 2^-150 (halfway to 0) and overflow.
    for (int e = -149; e <= 127; ++e) {
        for (const float y : {1.0f, 2.0f, 0.5f, -0.5f, -1.0f, 1.5f, 3.0f, -3.0f, 0.25f, 1.0f / 3.0f, 1.01f}) {
            both(std::ldexp(1.0f, e), y);
        }
    }
    both(0x1p-75f, 2.0f);  // 2^-150
    both(0x1p-50f, 3.0f);  // 2^-150
    both(0x1.8p-75f, 2.0f);
    // Annex F: +-0, +-1, +-inf, NaN, odd and even integers, non-integers,
    // subnormals and the extremes, every pair.
    const float specials[] = {0.0f, 0x1p-149f, 0.5f, 1.0f, 1.5f, 2.0f, 3.0f, 0x1p24f, 0x1.fffffep127f, kInf, kNaN};
    for (const float x : specials) {
        for (const float y : specials) {
            both(x, y);
            both(x, -y);
        }
    }
    EXPECT_EQ(pow.count, 0);
}

// Every entry against its definition, computed in 200-bit arithmetic.
TEST(CorrectlyRoundedMaths, TablesHoldWhatTheyClaim) {
    mpfr_t exact, part;
    mpfr_inits2(200, exact, part, static_cast<mpfr_ptr>(nullptr));
    auto relativeError = [&](double head, double tail) {
        mpfr_set_d(part, head, MPFR_RNDN);
        mpfr_sub(part, part, exact, MPFR_RNDN);
        mpfr_add_d(part, part, tail, MPFR_RNDN);
        mpfr_div(part, part, exact, MPFR_RNDN);
        return std::fabs(mpfr_get_d(part, MPFR_RNDN));
    };
    for (int i = 0; i <= (1 << kLogTableBits); ++i) {
        const double invC = kLogInvC[i];
        EXPECT_EQ(invC, std::ldexp(std::nearbyint(std::ldexp(invC, 27)), -27)) << i;  // 27 fraction bits
        if (invC == 1.0) continue;  // c = 1 next to 1.0: both logarithms 0
        // 1/c of the centre 1 + i/128, halved from i = 64 on.
        const double centre = (1.0 + i / 128.0) * (i >= 64 ? 0.5 : 1.0);
        EXPECT_LT(std::fabs(invC * centre - 1.0), 0x1p-26) << i;
        mpfr_set_d(part, invC, MPFR_RNDN);
        mpfr_log(exact, part, MPFR_RNDN);
        mpfr_neg(exact, exact, MPFR_RNDN);
        EXPECT_LT(relativeError(kLogCHead[i], kLogCTail[i]), 0x1p-104) << i;
        mpfr_set_d(part, invC, MPFR_RNDN);
        mpfr_log2(exact, part, MPFR_RNDN);
        mpfr_neg(exact, exact, MPFR_RNDN);
        EXPECT_LT(relativeError(kLog2C[i], 0.0), 0x1p-53) << i;
    }
    for (int j = 0; j < (1 << kExpTableBits); ++j) {
        mpfr_set_ui(exact, j, MPFR_RNDN);
        mpfr_div_ui(exact, exact, 1 << kExpTableBits, MPFR_RNDN);
        mpfr_exp2(exact, exact, MPFR_RNDN);
        EXPECT_LT(relativeError(kExpTableHead[j], kExpTableTail[j]), 0x1p-104) << j;
    }
    mpfr_clears(exact, part, static_cast<mpfr_ptr>(nullptr));
}

// The rounding tests rest on error bounds; a wrong polynomial, table entry
// or reduction shows here long before it gives a wrong float.
TEST(CorrectlyRoundedMaths, FastPathsStayWithinAQuarterOfTheirBounds) {
    mpfr_t exact, approx;
    mpfr_inits2(120, exact, approx, static_cast<mpfr_ptr>(nullptr));
    auto relativeError = [&](double value) {
        mpfr_set_d(approx, value, MPFR_RNDN);
        mpfr_sub(approx, approx, exact, MPFR_RNDN);
        mpfr_div(approx, approx, exact, MPFR_RNDN);
        return std::fabs(mpfr_get_d(approx, MPFR_RNDN));
    };
    double worstLog = 0.0, worstExp = 0.0;
    std::mt19937_64 random(7);
    for (uint64_t i = 0; i < 300000 / sampleDivisor(); ++i) {
        // Positive normal floats, dense near 1 where the logarithm is small.
        const float x = i % 2 == 0 ? std::bit_cast<float>(static_cast<uint32_t>(random() % 0x7F000000u) + 0x00800000u)
                                   : 1.0f + std::ldexp(static_cast<float>(static_cast<int>(random() % 512) - 256), -24);
        if (x == 1.0f) continue;
        mpfr_set_flt(exact, x, MPFR_RNDN);
        mpfr_log2(exact, exact, MPFR_RNDN);
        worstLog = std::max(worstLog, relativeError(log2Fast(reduceLogArgument(x))));
        const double t = std::uniform_real_distribution<double>(kExp2Underflow, kExp2Overflow)(random);
        mpfr_set_d(exact, t, MPFR_RNDN);
        mpfr_exp2(exact, exact, MPFR_RNDN);
        worstExp = std::max(worstExp, relativeError(exp2Fast(t)));
    }
    mpfr_clears(exact, approx, static_cast<mpfr_ptr>(nullptr));
    // logf's and log10f's bound is the logarithm's; powf's adds |t| times it
    // (t's error, |t| up to 151) to the exponential's.
    EXPECT_LT(151.0 * worstLog + worstExp, kPowFastRelativeError / 2);
    EXPECT_LT(worstLog, kLogFastRelativeError / 4) << std::log2(worstLog);
    EXPECT_LT(worstExp, kPowFastRelativeError / 4) << std::log2(worstExp);
}

// The slow paths are taken by a few arguments in a million; here they run
// on every argument, so that their own correctness does not rest on the
// rare ones.
TEST(CorrectlyRoundedMaths, SlowPathsAloneAreCorrectlyRounded) {
    std::mt19937_64 random(11);
    MismatchCount log{"logSlowPath"}, log10{"log10SlowPath"}, pow{"powSlowPath"};
    for (uint64_t i = 0; i < 100000 / sampleDivisor(); ++i) {
        const float x = std::bit_cast<float>(static_cast<uint32_t>(random() % 0x7F7FFFFFu) + 1u);
        log.check(logSlowPath(x), mathsref::referenceLogf(x), x);
        log10.check(log10SlowPath(x), mathsref::referenceLog10f(x), x);
        const double target = std::uniform_real_distribution<double>(-152.0, 129.0)(random);
        const float y = static_cast<float>(target / std::log2(static_cast<double>(x)));
        if (!std::isfinite(y) || y == 0.0f) continue;
        pow.check(powSlowPath(x, y), mathsref::referencePowf(x, y), x, y);
    }
    EXPECT_EQ(log.count + log10.count + pow.count, 0);
}

// Arguments whose logarithm lies within 2^-54 of a midpoint between two
// floats, found by the exhaustive check: the fast path leaves them open, and
// the double-double value, rounded to a double, lands on the midpoint
// itself; the slow path must still decide them.
TEST(CorrectlyRoundedMaths, HardestLogarithmsAreDecidedByTheSlowPath) {
    MismatchCount log{"logf"};
    for (const float x : {0x1.827a74p-7f, 0x1.2f1fd6p+3f, 0x1.bacb4ap+25f, 0x1.b121a6p+76f, 0x1.6351d8p+95f}) {
        EXPECT_EQ(logDecided(x, kLn2Head).decided, 0u) << std::hexfloat << x;
        const DoubleDouble value = logDoubleDouble(x);
        float nearest;
        EXPECT_TRUE(roundDoubleDouble(value, std::fabs(value.head) * 0x1p-98, &nearest)) << std::hexfloat << x;
        log.check(crLogf(x), mathsref::mpfrLogf(x), x);
    }
    EXPECT_EQ(log.count, 0);
}

TEST(CorrectlyRoundedMaths, LogarithmSpecialValuesMatchMpfr) {
    MismatchCount log{"logf"}, log10{"log10f"};
    for (const float x : {0.0f, -0.0f, 1.0f, -1.0f, kInf, -kInf, kNaN, -kNaN, 0x1p-149f, -0x1p-149f, 0x1p-126f,
                          0x1.fffffep127f, 10.0f, 1e10f, 0.1f, 0x1.000002p0f, 0x1.fffffep-1f}) {
        log.check(crLogf(x), mathsref::mpfrLogf(x), x);
        log10.check(crLog10f(x), mathsref::mpfrLog10f(x), x);
    }
    EXPECT_EQ(log.count + log10.count, 0);
}

}  // namespace
