// The library's own single-precision powf, logf and log10f, correctly
// rounded ("cr"): each returns the float nearest the exact value (ties to
// even), subnormals, overflow and the special values of C's Annex F
// included. Every stage calls these rather than the C library's, whose
// rounding differs between C libraries and their versions, so that a LUT has
// the same bytes on every C library, compiler and processor.
//
// Each function has a fast path in double precision with a rounding test: a
// bound on the fast path's error, and whether every value within it rounds to
// the same float. The few arguments whose value lies too near a rounding
// boundary take a slow path in double-double arithmetic (and powf's exact
// and halfway cases an exact computation). Only portable arithmetic: double
// and float operations, never fused, integer bit operations and the tables of
// cr_maths_tables.cpp. The fast paths are inline (cr_maths_core.h), written
// once for these scalar functions and for loops over planes.
#pragma once

#include <cstdint>

namespace hdrtm {

// Natural logarithm.
float crLogf(float x);
// Base-10 logarithm.
float crLog10f(float x);
// x raised to the power y.
float crPowf(float x, float y);
// 10 raised to the power y: crPowf(10, y), without the logarithm of 10.
float crExp10f(float y);

// The same over a plane of `count` samples, in place, each sample getting
// exactly the scalar function's bits; with `wanted`, only the samples whose
// entry is not 0 (the others keep their value). Most samples take a
// vectorised fast path; the few it cannot decide, the scalar function.
void powPlane(float* values, uint32_t count, float exponent, const uint32_t* wanted = nullptr);
// values[i] to the power exponents[i].
void powPlanePerSample(float* values, const float* exponents, uint32_t count,
                       const uint32_t* wanted = nullptr);
void exp10Plane(float* values, uint32_t count, const uint32_t* wanted = nullptr);
void logPlane(float* values, uint32_t count, const uint32_t* wanted = nullptr);
void log10Plane(float* values, uint32_t count, const uint32_t* wanted = nullptr);

}  // namespace hdrtm
