// Tables, polynomials and constants of the correctly rounded logf, log10f and powf.
// Written by tools/gen_maths_tables.py (300-bit arithmetic, each value the
// nearest double, double-doubles as head and tail); regenerate rather than edit.
#pragma once

namespace hdrtm {

constexpr int kLogTableBits = 7;
constexpr int kExpTableBits = 6;
// Log reduction: 1/c, log2 c, and ln c as head and tail, i = 0..128.
extern const double kLogInvC[129];
extern const double kLog2C[129];
extern const double kLogCHead[129];
extern const double kLogCTail[129];
// 2^(j/64), head and tail.
extern const double kExpTableHead[64];
extern const double kExpTableTail[64];

// log2(1 + r) = r (c0 + c1 r + ... + c4 r^4) for |r| <= 2^-8: relative error 2^-46.5.
constexpr double kLog2Poly[5] = {
    0x1.71547652b82fep+0, -0x1.7154765290271p-1, 0x1.ec709dc35b9e6p-2, -0x1.7155b049bacd6p-2,
    0x1.2777d22bdf0bap-2,
};
// 2^r = 1 + r (c0 + c1 r + c2 r^2 + c3 r^3) for |r| <= 2^-7: relative error 2^-47.5.
constexpr double kExp2Poly[4] = {
    0x1.62e42fefa2334p-1, 0x1.ebfbdff82bb0dp-3, 0x1.c6b0ba021d355p-5, 0x1.3b2acb941a198p-7,
};
// log10 2 and log2 10.
constexpr double kLog10Of2 = 0x1.34413509f79ffp-2;
constexpr double kLog2Of10 = 0x1.a934f0979a371p+1;
// ln 2, head and tail.
constexpr double kLn2Head = 0x1.62e42fefa39efp-1;
constexpr double kLn2Tail = 0x1.abc9e3b39803fp-56;
// ln 2 / 64 in three parts; the first times any |k| < 2^14 is exact.
constexpr double kLn2Over64Part1 = 0x1.62e42fefa4000p-7;
constexpr double kLn2Over64Part2 = -0x1.8432a1b0e2634p-49;
constexpr double kLn2Over64Part3 = 0x1.f97b57a079a19p-109;
// 64 / ln 2.
constexpr double k64OverLn2 = 0x1.71547652b82fep+6;
// 1 / ln 10, head and tail.
constexpr double kInvLn10Head = 0x1.bcb7b1526e50ep-2;
constexpr double kInvLn10Tail = 0x1.95355baaafad3p-57;
// 1/k, head, for the logarithm's series (entry 0 unused).
constexpr double kInverseHead[16] = {
    0x0.0p+0, 0x1.0000000000000p+0, 0x1.0000000000000p-1, 0x1.5555555555555p-2,
    0x1.0000000000000p-2, 0x1.999999999999ap-3, 0x1.5555555555555p-3, 0x1.2492492492492p-3,
    0x1.0000000000000p-3, 0x1.c71c71c71c71cp-4, 0x1.999999999999ap-4, 0x1.745d1745d1746p-4,
    0x1.5555555555555p-4, 0x1.3b13b13b13b14p-4, 0x1.2492492492492p-4, 0x1.1111111111111p-4,
};
// 1/k, tail.
constexpr double kInverseTail[16] = {
    0x0.0p+0, 0x0.0p+0, 0x0.0p+0, 0x1.5555555555555p-56,
    0x0.0p+0, -0x1.999999999999ap-57, 0x1.5555555555555p-57, 0x1.2492492492492p-57,
    0x0.0p+0, 0x1.c71c71c71c71cp-58, -0x1.999999999999ap-58, -0x1.745d1745d1746p-59,
    0x1.5555555555555p-58, -0x1.3b13b13b13b14p-58, 0x1.2492492492492p-58, 0x1.1111111111111p-60,
};
// 1/k!, head, for the exponential's series.
constexpr double kInverseFactorialHead[11] = {
    0x1.0000000000000p+0, 0x1.0000000000000p+0, 0x1.0000000000000p-1, 0x1.5555555555555p-3,
    0x1.5555555555555p-5, 0x1.1111111111111p-7, 0x1.6c16c16c16c17p-10, 0x1.a01a01a01a01ap-13,
    0x1.a01a01a01a01ap-16, 0x1.71de3a556c734p-19, 0x1.27e4fb7789f5cp-22,
};
// 1/k!, tail.
constexpr double kInverseFactorialTail[11] = {
    0x0.0p+0, 0x0.0p+0, 0x0.0p+0, 0x1.5555555555555p-57,
    0x1.5555555555555p-59, 0x1.1111111111111p-63, -0x1.f49f49f49f49fp-65, 0x1.a01a01a01a01ap-73,
    0x1.a01a01a01a01ap-76, -0x1.c154f8ddc6c00p-73, 0x1.cbbc05b4fa99ap-76,
};

}  // namespace hdrtm
