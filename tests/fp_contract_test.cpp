// Multiply-adds are never fused: a fused a*b+c skips the rounding of the
// product, so LUTs would differ between CPUs (GCC fuses by default on 64-bit
// Arm). These checks fail when a build drops -ffp-contract=off, both for the
// test code and for the library's own objects.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "color_conversion.h"

namespace {

// 1 + 2^-12: its square 1 + 2^-11 + 2^-24 is not a float and rounds (to even)
// down to 1 + 2^-11, so a*a - (1 + 2^-11) is 0 unfused and 2^-24 fused.
const float kInexactFactor = hdrtm::floatFromBits(0x3F800800);
const float kRoundedSquare = hdrtm::floatFromBits(0x3F801000);  // 1 + 2^-11
const float kFusedResidue = hdrtm::floatFromBits(0x33800000);   // 2^-24

TEST(MultiplyAdd, ProductIsRoundedBeforeTheSum) {
    EXPECT_EQ(std::fma(kInexactFactor, kInexactFactor, -kRoundedSquare), kFusedResidue);
    // volatile keeps the compiler from folding the expression at build time.
    volatile float factor = kInexactFactor, addend = -kRoundedSquare;
    const float a = factor, c = addend;
    EXPECT_EQ(a * a + c, 0.0f);
}

// The library's matrix stage sums m[r][0]*in0 + m[r][1]*in1 + m[r][2]*in2; with
// in0 = a, in1 = -a and a row (a, a, 0) every rounded sum is exactly 0, while
// fusing either product leaves +-2^-24. A whole plane covers vectorised loops
// and their tails.
TEST(MultiplyAdd, LibraryMatrixStageRoundsEveryProduct) {
    const float a = kInexactFactor;
    const hdrtm::Matrix3 m = {{a, a, 0.0f}, {a, a, 0.0f}, {a, a, 0.0f}};
    const auto n = hdrtm::kLutPoints;
    std::vector<float> in0(n, a), in1(n, -a), in2(n, 0.0f), out(3 * n, 1.0f);
    float *in[] = {in0.data(), in1.data(), in2.data()}, *outPlanes[] = {out.data(), out.data() + n, out.data() + 2 * n};
    hdrtm::applyMatrix(m, in, outPlanes, n);
    EXPECT_EQ(std::count(out.begin(), out.end(), 0.0f), 3 * n);
}

}  // namespace
