// The plane forms of the correctly rounded maths give every sample the
// scalar function's bits: easy arguments, arguments only the slow path
// decides, special values and arguments outside the fast path's domain,
// mixed in every plane length up to a few vectors, from misaligned starts,
// with and without a mask of wanted samples.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "cr_maths.h"

using namespace hdrtm;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

bool sameBits(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) || std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

// Arguments the planes meet: ordinary ones, special values, and ones whose
// result lies so near a rounding boundary that only the slow path decides
// (logarithms within 2^-54 of a midpoint, powers that are midpoints).
const std::vector<float> kSpecial = {0.0f, -0.0f, 1.0f, -1.0f, kInf, -kInf, kNaN, 0x1p-149f, -0x1p-140f,
                                     0x1p-126f, 0x1.fffffep127f, 0x1.827a74p-7f, 0x1.2f1fd6p+3f,
                                     0x1.b121a6p+76f, 0x1.000002p0f, 0x1.fffffep-1f, 4095.0f * 4095.0f,
                                     0x1.8p-75f, 300.0f, -45.5f, 38.6f, 100.0f};

struct PlaneFunction {
    const char* name;
    std::function<void(float*, const float*, uint32_t, const uint32_t*)> plane;  // values, exponents
    std::function<float(float, float)> scalar;                                   // value, exponent
};

const PlaneFunction kFunctions[] = {
    {"powPlane(x, 0.5)", [](float* v, const float*, uint32_t n, const uint32_t* w) { powPlane(v, n, 0.5f, w); },
     [](float x, float) { return crPowf(x, 0.5f); }},
    {"powPlane(x, 78.84375)",
     [](float* v, const float*, uint32_t n, const uint32_t* w) { powPlane(v, n, 78.84375f, w); },
     [](float x, float) { return crPowf(x, 78.84375f); }},
    {"powPlanePerSample", [](float* v, const float* e, uint32_t n, const uint32_t* w) { powPlanePerSample(v, e, n, w); },
     [](float x, float y) { return crPowf(x, y); }},
    {"exp10Plane", [](float* v, const float*, uint32_t n, const uint32_t* w) { exp10Plane(v, n, w); },
     [](float y, float) { return crExp10f(y); }},
    {"logPlane", [](float* v, const float*, uint32_t n, const uint32_t* w) { logPlane(v, n, w); },
     [](float x, float) { return crLogf(x); }},
    {"log10Plane", [](float* v, const float*, uint32_t n, const uint32_t* w) { log10Plane(v, n, w); },
     [](float x, float) { return crLog10f(x); }},
};

// `count` samples drawn from the special values and from random floats of
// the functions' usual ranges, with exponents to match.
void fill(std::mt19937& random, std::vector<float>& values, std::vector<float>& exponents) {
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    for (size_t i = 0; i < values.size(); ++i) {
        switch (random() % 4) {
            case 0: values[i] = kSpecial[random() % kSpecial.size()]; break;
            case 1: values[i] = unit(random); break;
            case 2: values[i] = unit(random) * 80.0f - 40.0f; break;
            default: values[i] = std::bit_cast<float>(static_cast<uint32_t>(random())); break;
        }
        exponents[i] = random() % 3 == 0 ? kSpecial[random() % kSpecial.size()] : unit(random) * 8.0f - 4.0f;
    }
    // The pow midpoints: 4095^2 to the power 0.5, 1.5 * 2^-75 squared.
    if (values.size() > 3) values[3] = 4095.0f * 4095.0f, exponents[3] = 0.5f;
}

TEST(CorrectlyRoundedPlanes, EverySampleGetsTheScalarBits) {
    std::mt19937 random(5);
    for (const PlaneFunction& f : kFunctions) {
        int mismatches = 0;
        for (uint32_t count = 0; count <= 40; ++count) {
            for (uint32_t offset = 0; offset < 4; ++offset) {
                for (const bool masked : {false, true}) {
                    std::vector<float> buffer(offset + count + 1, 123.0f);
                    std::vector<float> exponents(offset + count);
                    std::vector<float> values(count), planeExponents(count);
                    fill(random, values, planeExponents);
                    std::copy(values.begin(), values.end(), buffer.begin() + offset);
                    std::copy(planeExponents.begin(), planeExponents.end(), exponents.begin() + offset);
                    std::vector<uint32_t> wanted(offset + count);
                    for (uint32_t& w : wanted) w = random() % 3 != 0;
                    f.plane(buffer.data() + offset, exponents.data() + offset, count,
                            masked ? wanted.data() + offset : nullptr);
                    for (uint32_t i = 0; i < count; ++i) {
                        const bool want = !masked || wanted[offset + i] != 0;
                        const float expected = want ? f.scalar(values[i], planeExponents[i]) : values[i];
                        if (!sameBits(buffer[offset + i], expected) && ++mismatches <= 5) {
                            ADD_FAILURE() << f.name << " count " << count << " offset " << offset << " sample " << i
                                          << ": " << std::hexfloat << values[i] << ", " << planeExponents[i]
                                          << " gives " << buffer[offset + i] << ", scalar " << expected;
                        }
                    }
                    EXPECT_EQ(buffer[offset + count], 123.0f) << f.name << ": wrote past the plane";
                }
            }
        }
        EXPECT_EQ(mismatches, 0) << f.name;
    }
}

// A whole LUT plane, several blocks long, of the values a stage meets.
TEST(CorrectlyRoundedPlanes, LongPlanesGetTheScalarBits) {
    std::mt19937 random(9);
    for (const PlaneFunction& f : kFunctions) {
        std::vector<float> values(4913), exponents(4913);
        fill(random, values, exponents);
        std::vector<float> plane = values;
        f.plane(plane.data(), exponents.data(), 4913, nullptr);
        int mismatches = 0;
        for (size_t i = 0; i < plane.size(); ++i) mismatches += !sameBits(plane[i], f.scalar(values[i], exponents[i]));
        EXPECT_EQ(mismatches, 0) << f.name;
    }
}

}  // namespace
