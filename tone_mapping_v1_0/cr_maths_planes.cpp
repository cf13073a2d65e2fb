// The correctly rounded maths over planes: the fast paths of
// cr_maths_core.h run over a block of samples in one vectorised pass (double
// lanes, the tables gathered), which also marks every sample it leaves open:
// an argument outside the fast path's domain, a result that overflows or
// underflows, or one the rounding test cannot decide. The scalar function
// then gives those few their result, so that every sample gets exactly the
// bits of the scalar function.
#include <algorithm>

#include "cr_maths.h"
#include "cr_maths_core.h"

namespace hdrtm {
// A named namespace: clang 14 does not vectorise the pass in an anonymous
// one (it then cannot bound the gathers of the exponential's table).
namespace planes {

// Samples a pass works on at a time: its marks are a 1 KB block on the stack.
constexpr size_t kBlock = 256;

// Put before the fast pass. Clang on its own takes two double lanes at a
// time and leaves part of the polynomials scalar; eight lanes, two sets in
// flight, keep its units busy (SSE2 and NEON hold two doubles a register).
#if defined(__clang__)
#define HDRTM_FAST_PASS \
    _Pragma("clang loop vectorize(assume_safety) vectorize_width(8) interleave_count(2)")
#else
#define HDRTM_FAST_PASS HDRTM_INDEPENDENT_POINTS
#endif

// One function over a plane: fast(v, i) is the fast path's FastResult for
// sample i, whose value is v, and scalar(v, i) the scalar function's result.
// Structs with inlined members rather than lambdas: clang vectorises the
// pass only when the fast path is inlined before it looks at the loop.
struct PowOfConstant {
    float exponent;
    HDRTM_INLINE FastResult fast(float x, size_t) const { return powDecided(x, exponent); }
    float scalar(float x, size_t) const { return crPowf(x, exponent); }
};

struct PowPerSample {
    const float* exponents;
    HDRTM_INLINE FastResult fast(float x, size_t i) const { return powDecided(x, exponents[i]); }
    float scalar(float x, size_t i) const { return crPowf(x, exponents[i]); }
};

struct Exp10 {
    HDRTM_INLINE FastResult fast(float y, size_t) const { return exp10Decided(y); }
    float scalar(float y, size_t) const { return crExp10f(y); }
};

struct Log {
    HDRTM_INLINE FastResult fast(float x, size_t) const { return logDecided(x, kLn2Head); }
    float scalar(float x, size_t) const { return crLogf(x); }
};

struct Log10 {
    HDRTM_INLINE FastResult fast(float x, size_t) const { return logDecided(x, kLog10Of2); }
    float scalar(float x, size_t) const { return crLog10f(x); }
};

// The fast pass over a plane, block by block, then the scalar function on
// what it left open; a sample not wanted keeps its value.
template <typename Function>
HDRTM_INLINE void overPlane(float* values, uint32_t count, const uint32_t* wanted, Function f) {
    uint32_t open[kBlock];
    for (size_t start = 0; start < count; start += kBlock) {
        const size_t n = std::min<size_t>(count - start, kBlock);
        float* const v = values + start;
        // An open sample keeps its argument for the scalar function.
        if (wanted == nullptr) {
            HDRTM_FAST_PASS
            for (size_t j = 0; j < n; ++j) {
                const FastResult r = f.fast(v[j], start + j);
                v[j] = selectValue(r.decided != 0, r.value, v[j]);
                open[j] = r.decided ^ 1u;
            }
        } else {
            const uint32_t* const w = wanted + start;
            HDRTM_FAST_PASS
            for (size_t j = 0; j < n; ++j) {
                const FastResult r = f.fast(v[j], start + j);
                const uint32_t want = w[j] != 0;
                v[j] = selectValue((want & r.decided) != 0, r.value, v[j]);
                open[j] = want & (r.decided ^ 1u);
            }
        }
        for (size_t j = 0; j < n; ++j) {
            if (open[j] != 0) v[j] = f.scalar(v[j], start + j);
        }
    }
}

}  // namespace planes

using namespace planes;

HDRTM_VECTOR_CLONES
void powPlane(float* values, uint32_t count, float exponent, const uint32_t* wanted) {
    overPlane(values, count, wanted, PowOfConstant{exponent});
}

HDRTM_VECTOR_CLONES
void powPlanePerSample(float* values, const float* exponents, uint32_t count,
                       const uint32_t* wanted) {
    overPlane(values, count, wanted, PowPerSample{exponents});
}

HDRTM_VECTOR_CLONES
void exp10Plane(float* values, uint32_t count, const uint32_t* wanted) {
    overPlane(values, count, wanted, Exp10{});
}

HDRTM_VECTOR_CLONES
void logPlane(float* values, uint32_t count, const uint32_t* wanted) {
    overPlane(values, count, wanted, Log{});
}

HDRTM_VECTOR_CLONES
void log10Plane(float* values, uint32_t count, const uint32_t* wanted) {
    overPlane(values, count, wanted, Log10{});
}

}  // namespace hdrtm
