#include "maths_reference.h"

#include <mpfr.h>

#include <optional>

namespace mathsref {
namespace {

// MPFR's exponent range set to single precision's (2^-149 is 0.1 x 2^-148,
// the largest float 0.11...1 x 2^128), so that mpfr_subnormalize rounds as
// a float would.
struct SinglePrecision {
    mpfr_t x, y, result;
    SinglePrecision() {
        mpfr_set_emin(-148);
        mpfr_set_emax(128);
        mpfr_inits2(24, x, y, result, static_cast<mpfr_ptr>(nullptr));
    }
    ~SinglePrecision() { mpfr_clears(x, y, result, static_cast<mpfr_ptr>(nullptr)); }
    float rounded(int ternary) {
        mpfr_subnormalize(result, ternary, MPFR_RNDN);
        return mpfr_get_flt(result, MPFR_RNDN);
    }
};

float unary(int (*function)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), float x) {
    SinglePrecision s;
    mpfr_set_flt(s.x, x, MPFR_RNDN);
    return s.rounded(function(s.result, s.x, MPFR_RNDN));
}

// The float every value within `relative` of v rounds to, or nothing when a
// rounding boundary lies within the bound. A result the double-precision
// function gives as NaN or infinite is that (the C library's special cases
// are exact), and one far below the smallest float is a zero.
std::optional<float> decided(double v, double relative) {
    if (std::isnan(v) || std::isinf(v)) return static_cast<float>(v);
    if (std::fabs(v) < 0x1p-200) return std::signbit(v) ? -0.0f : 0.0f;
    const double bound = std::fabs(v) * relative;
    const float low = static_cast<float>(v - bound);
    if (low != static_cast<float>(v + bound)) return std::nullopt;
    return low;
}

// Generous bounds: glibc's log and pow are within about 0.52 units of 2^-53,
// its log10 within two.
constexpr double kLogBound = 0x1p-48;
constexpr double kPowBound = 0x1p-48;

}  // namespace

float mpfrLogf(float x) { return unary(mpfr_log, x); }
float mpfrLog10f(float x) { return unary(mpfr_log10, x); }

float mpfrPowf(float x, float y) {
    SinglePrecision s;
    mpfr_set_flt(s.x, x, MPFR_RNDN);
    mpfr_set_flt(s.y, y, MPFR_RNDN);
    return s.rounded(mpfr_pow(s.result, s.x, s.y, MPFR_RNDN));
}

float referenceLogf(float x) {
    const std::optional<float> fast = decided(std::log(static_cast<double>(x)), kLogBound);
    return fast ? *fast : mpfrLogf(x);
}

float referenceLog10f(float x) {
    const std::optional<float> fast = decided(std::log10(static_cast<double>(x)), kLogBound);
    return fast ? *fast : mpfrLog10f(x);
}

float referencePowf(float x, float y) {
    const std::optional<float> fast = decided(std::pow(static_cast<double>(x), static_cast<double>(y)), kPowBound);
    return fast ? *fast : mpfrPowf(x, y);
}

}  // namespace mathsref
