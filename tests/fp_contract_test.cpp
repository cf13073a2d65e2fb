// Multiply-adds are never fused: a fused a*b+c skips the rounding of the
// product, so LUTs would differ between CPUs (GCC fuses by default on 64-bit
// Arm). These checks fail when a build drops -ffp-contract=off, both for the
// test code and for the library's own objects.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "color_conversion.h"

namespace {

// 1 + 2^-12: its square 1 + 2^-11 + 2^-24 is not a float and rounds (to even)
// down to 1 + 2^-11, so a*a - (1 + 2^-11) is 0 unfused and 2^-24 fused.
const float kInexactFactor = hdrtm::floatFromBits(0x3F800800);
const float kRoundedSquare = hdrtm::floatFromBits(0x3F801000);  // 1 + 2^-11
const float kFusedResidue = hdrtm::floatFromBits(0x33800000);   // 2^-24

TEST(MultiplyAdd, InputsTellFusedFromUnfused) {
    EXPECT_EQ(std::fma(kInexactFactor, kInexactFactor, -kRoundedSquare), kFusedResidue);
}

TEST(MultiplyAdd, ProductIsRoundedBeforeTheSum) {
    // volatile keeps the compiler from folding the expression at build time.
    volatile float factor = kInexactFactor;
    volatile float addend = -kRoundedSquare;
    float a = factor;
    float c = addend;
    EXPECT_EQ(a * a + c, 0.0f);
}

// The library's matrix stage sums m[r][0]*in0 + m[r][1]*in1 + m[r][2]*in2; with
// in0 = a, in1 = -a and a row (a, a, 0) every rounded sum is exactly 0, while
// fusing either product leaves +-2^-24. A whole plane covers vectorised loops
// and their tails.
TEST(MultiplyAdd, LibraryMatrixStageRoundsEveryProduct) {
    const hdrtm::Matrix3 m = {{kInexactFactor, kInexactFactor, 0.0f},
                              {kInexactFactor, kInexactFactor, 0.0f},
                              {kInexactFactor, kInexactFactor, 0.0f}};
    std::vector<float> in0(hdrtm::kLutPoints, kInexactFactor);
    std::vector<float> in1(hdrtm::kLutPoints, -kInexactFactor);
    std::vector<float> in2(hdrtm::kLutPoints, 0.0f);
    std::vector<float> out[hdrtm::kPlaneCount];
    for (auto& plane : out) plane.assign(hdrtm::kLutPoints, 1.0f);
    float* in[] = {in0.data(), in1.data(), in2.data()};
    float* outPlanes[] = {out[0].data(), out[1].data(), out[2].data()};

    hdrtm::applyMatrix(m, in, outPlanes, hdrtm::kLutPoints);

    for (int p = 0; p < hdrtm::kPlaneCount; ++p) {
        for (int i = 0; i < hdrtm::kLutPoints; ++i) {
            ASSERT_EQ(out[p][i], 0.0f) << "plane " << p << " point " << i;
        }
    }
}

}  // namespace
