// Single-precision logf, log10f and powf as MPFR gives them: the exact value
// rounded once to a float (to nearest, ties to even, subnormals included),
// the special values of C's Annex F. The reference for the library's own
// correctly rounded maths.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace mathsref {

float mpfrLogf(float x);
float mpfrLog10f(float x);
float mpfrPowf(float x, float y);

// The same results, fast: the C library's double-precision log, log10 and pow
// (within a few units of 2^-53, their special cases exact) decide almost
// every argument, and MPFR the few whose value lies near a rounding boundary.
float referenceLogf(float x);
float referenceLog10f(float x);
float referencePowf(float x, float y);

// Equal bits, or both NaN (a NaN's payload is not part of the result).
inline bool sameResult(float a, float b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

}  // namespace mathsref
