// Helpers shared by every stage of the engine: logging, the NaN-passing clamp,
// the float-to-code conversion and the sample-plane geometry.
#pragma once

#include <android/log.h>

#include <cstdint>

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

constexpr int kPlaneCount = 3;
// Relative linear light 1.0 stands for this many nits (the PQ peak).
constexpr float kNitsPerUnit = 10000.0f;
constexpr int kLutPoints = 17 * 17 * 17;  // 4913 samples a plane
// Samples a stage takes through its maths calls at a time: its scratch is a
// few 1 KB blocks on its own stack.
constexpr unsigned int kCallBlock = 256;

// Clamp to [0, 1] that replaces only values below 0 or above 1: NaN passes.
// Both tests always run, as selects, so that loops over planes vectorise.
inline float clampUnitKeepNaN(float v) {
    v = v < 0.0f ? 0.0f : v;
    return v > 1.0f ? 1.0f : v;
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
    const float w = v > 0.0f ? v : 0.0f;  // NaN, zero, negatives give 0
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

}  // namespace hdrtm

#include <bit>

namespace hdrtm {

// A float constant given by its IEEE-754 bit pattern.
constexpr float floatFromBits(uint32_t bits) { return std::bit_cast<float>(bits); }

}  // namespace hdrtm
