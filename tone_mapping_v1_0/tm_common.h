// Helpers shared by every stage of the engine: logging, the NaN-passing clamps,
// the float-to-code conversion and the sample-plane geometry.
#pragma once

#include <android/log.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace hdrtm {

constexpr const char* kLogTag = "LIBHDR_TM";

#define HDRTM_LOGE(...) __android_log_print(ANDROID_LOG_ERROR, ::hdrtm::kLogTag, __VA_ARGS__)
#define HDRTM_LOGI(...) __android_log_print(ANDROID_LOG_INFO, ::hdrtm::kLogTag, __VA_ARGS__)

// Put before a loop over sample planes whose points are independent: a point
// may overwrite its own samples but never reads another point's. The compiler
// then vectorises it without checking at run time how the planes overlap.
#if defined(__clang__)
#define HDRTM_INDEPENDENT_POINTS _Pragma("clang loop vectorize(assume_safety)")
#elif defined(__GNUC__)
#define HDRTM_INDEPENDENT_POINTS _Pragma("GCC ivdep")
#else
#define HDRTM_INDEPENDENT_POINTS
#endif

// Put before a function whose plane loops vectorise: on x86-64 it is built
// also for AVX2 and AVX-512 and the widest the processor runs is chosen at
// load. Vector arithmetic rounds each element exactly as scalar arithmetic
// does and multiply-adds stay unfused, so every variant gives the same bits.
// Other targets (arm64 has NEON throughout) build it once, and so does clang,
// which wants the attribute on a function's first declaration.
#if defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(HDRTM_NO_FUNCTION_CLONES)
#define HDRTM_VECTOR_CLONES \
    __attribute__((target_clones("default", "arch=x86-64-v3", "arch=x86-64-v4")))
#else
#define HDRTM_VECTOR_CLONES
#endif

// A log line put together without printf, with the very text printf gives
// for %d and %f. printf takes about 0.1 µs a line, more with %f, and a call
// logs up to some 250 lines. Longer text is cut at the capacity, liblog's
// own line size.
struct LogLine {
    char text[1024];
    size_t length = 0;
};
// Whether a line of this priority reaches the logger: lines are put together
// only then.
bool logLineWanted(int priority);
void appendText(LogLine& line, std::string_view text);
void appendInteger(LogLine& line, int32_t value);  // as %d
void appendFixed(LogLine& line, double value);     // as %f
void writeLogLine(int priority, LogLine& line);

// A log line from its pieces: text as it is, an int32_t as %d, a double (or
// a float) as %f. The caller asks logLineWanted first.
inline void appendPiece(LogLine& line, std::string_view text) { appendText(line, text); }
inline void appendPiece(LogLine& line, int32_t value) { appendInteger(line, value); }
inline void appendPiece(LogLine& line, double value) { appendFixed(line, value); }
template <typename... Pieces>
void writeLogPieces(int priority, const Pieces&... pieces) {
    LogLine line;
    (appendPiece(line, pieces), ...);
    writeLogLine(priority, line);
}

constexpr int kPlaneCount = 3;
// Relative linear light 1.0 stands for this many nits (the PQ peak).
constexpr float kNitsPerUnit = 10000.0f;
constexpr int kLutPoints = 17 * 17 * 17;  // 4913 samples a plane
// Samples a stage takes through the maths at a time: its scratch is a few
// 1 KB blocks on its own stack.
constexpr unsigned int kCallBlock = 256;

// Order tests, clamps, minima and maxima of floats, made on bit patterns.
// A float comparison that picks one of its own operands is what compilers
// turn into min/max instructions, whose rules differ from the comparison's:
// clang for arm64 makes `v < 0 ? 0 : v` an fmax, which returns +0 for -0.
// Tests on the bits leave nothing to recognise, give the comparison's own
// answer (false when either side is NaN, -0 not below +0) on every compiler
// and processor, and vectorise as integer compares and selects. Every clamp,
// minimum and maximum of the engine goes through these.

// Built inside every caller, and so inside every vector variant of it.
#define HDRTM_INLINE [[gnu::always_inline]] inline

constexpr uint32_t kFloatMagnitudeMask = 0x7FFFFFFFu;
constexpr uint32_t kFloatInfinityBits = 0x7F800000u;

HDRTM_INLINE bool isNaNBits(float v) {
    return (std::bit_cast<uint32_t>(v) & kFloatMagnitudeMask) > kFloatInfinityBits;
}

// The bits as a signed integer that orders as the float does: the magnitude,
// negated for negative values, so that -0 and +0 are equal. NaN is left to
// the callers.
HDRTM_INLINE int32_t orderKey(float v) {
    const int32_t bits = std::bit_cast<int32_t>(v);
    const int32_t magnitude = bits & static_cast<int32_t>(kFloatMagnitudeMask);
    return bits < 0 ? -magnitude : magnitude;
}

// a < b, as the float comparison answers it.
HDRTM_INLINE bool isBelow(float a, float b) {
    return !isNaNBits(a) && !isNaNBits(b) && orderKey(a) < orderKey(b);
}

// std::max and std::min: a, unless b is above (below) it; so a NaN a is
// returned and a NaN b is not.
HDRTM_INLINE float maxOf(float a, float b) { return isBelow(a, b) ? b : a; }
HDRTM_INLINE float minOf(float a, float b) { return isBelow(b, a) ? b : a; }

// Replaces only values below lo or above hi: NaN and -0 pass. Below lo wins
// when lo > hi.
HDRTM_INLINE float clampKeepNaN(float v, float lo, float hi) {
    return isBelow(v, lo) ? lo : isBelow(hi, v) ? hi : v;
}

// clampKeepNaN(v, 0, 1) for the plane loops: the two tests are float
// comparisons (false for NaN, -0 not below 0), made into masks that pick the
// bits, so that nothing reads as a comparison and select of floats. Vector
// code needs two compares and three bitwise operations, on every target.
HDRTM_INLINE float clampUnitKeepNaN(float v) {
    constexpr uint32_t kOneBits = 0x3F800000u;
    const uint32_t belowZero = 0u - static_cast<uint32_t>(v < 0.0f);
    const uint32_t aboveOne = 0u - static_cast<uint32_t>(v > 1.0f);
    const uint32_t bits = std::bit_cast<uint32_t>(v);
    return std::bit_cast<float>((bits & ~(belowZero | aboveOne)) | (aboveOne & kOneBits));
}

// `keepFirst ? first : second` for the plane loops, made from masks over
// the bits of two values the caller has already computed. Written as a
// conditional expression whose arms read the planes, clang branches on each
// element to load only the arm it keeps (SSE2 and NEON have no masked loads).
HDRTM_INLINE float selectValue(bool keepFirst, float first, float second) {
    const uint32_t mask = 0u - static_cast<uint32_t>(keepFirst);
    return std::bit_cast<float>((std::bit_cast<uint32_t>(first) & mask) |
                                (std::bit_cast<uint32_t>(second) & ~mask));
}

// Float to unsigned 32-bit code as the 64-bit Arm target converts it:
// truncation toward zero, NaN and negatives give 0, 2^32 and above saturate.
// On x86-64 a plain cast is undefined for those values, so spell it out.
// Written with selects and signed conversions only, so that loops over
// planes vectorise: values from 2^31 convert as v - 2^31 (exact there) plus
// 2^31.
inline uint32_t floatToUint32(float v) {
    constexpr float kTwo31 = 2147483648.0f;
    constexpr float kTwo32 = 4294967296.0f;
    const float w = isBelow(0.0f, v) ? v : 0.0f;  // NaN, zero, negatives give 0
    const bool high = w >= kTwo31;
    const bool saturated = w >= kTwo32;
    float low = high ? w - kTwo31 : w;
    low = saturated ? 0.0f : low;
    const uint32_t code =
        static_cast<uint32_t>(static_cast<int32_t>(low)) + (high ? 0x80000000u : 0u);
    return saturated ? 0xFFFFFFFFu : code;
}

// static_cast<float>(u), rounded the same way (to nearest, ties to even), from
// signed conversions only so that it vectorises: both 16-bit halves convert
// exactly and the one sum rounds the exact value.
inline float uint32ToFloat(uint32_t u) {
    constexpr float kTwo16 = 65536.0f;
    return static_cast<float>(static_cast<int32_t>(u >> 16)) * kTwo16 +
           static_cast<float>(static_cast<int32_t>(u & 0xFFFFu));
}

// Float to signed 32-bit table index by truncation toward zero (Arm rules:
// NaN gives 0, out-of-range saturates). Callers keep codes within 0..1023.
inline int32_t floatToInt32(float v) {
    if (v != v) return 0;
    if (v >= 2147483648.0f) return INT32_MAX;
    if (v < -2147483648.0f) return INT32_MIN;
    return static_cast<int32_t>(v);
}

// A float constant given by its IEEE-754 bit pattern.
constexpr float floatFromBits(uint32_t bits) { return std::bit_cast<float>(bits); }

}  // namespace hdrtm
