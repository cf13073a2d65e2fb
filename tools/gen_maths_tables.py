#!/usr/bin/env python3
"""Writes cr_maths_tables.h and cr_maths_tables.cpp into tone_mapping_v1_0:
the tables, polynomials and constants of the library's correctly rounded
logf, log10f and powf.

Every value is computed with 300-bit arithmetic (mpmath, Debian
python3-mpmath) and written as a hexadecimal double literal, so that the
compiler reads back exactly the double chosen here. A value that needs more
than one double is split into a head, the double nearest it, and a tail, the
double nearest what the head leaves (a double-double, about 106 bits).

- Log reduction, 129 entries: the significand m in [1, 2) goes to the
  nearest of 1 + i/128 (i = 0..128); from i = 64 on, m/2 and i's centre
  halved, so that the reduced argument z lies in about [0.75, 1.5). Each
  entry holds 1/c, c the centre, rounded to 27 fraction bits (its product
  with a 24-bit significand is exact in a double), log2 c of that rounded
  reciprocal as a double, and ln c as a double-double. i = 0 and i = 128 use
  c = 1, so that arguments near 1 keep their relative accuracy.
- 2^(j/64), j = 0..63, as double-doubles.
- The fast paths' polynomials: log2(1 + r) = r q(r) for |r| <= 2^-8 with q
  of degree 4, and 2^r - 1 = r p(r) for |r| <= 2^-7 with p of degree 3, each
  a Chebyshev fit rounded to doubles; their largest errors, measured here on
  a fine grid, go into the header's comments.

Usage: tools/gen_maths_tables.py [FOLDER]   (default tone_mapping_v1_0)
"""

import sys

import mpmath
from mpmath import mp, mpf

mp.prec = 300

LOG_TABLE_BITS = 7
LOG_TABLE_SIZE = (1 << LOG_TABLE_BITS) + 1
EXP_TABLE_BITS = 6
RECIPROCAL_FRACTION_BITS = 27
# The largest |k| the slow path's exponential meets: |t| <= 105, 64/ln2 a unit.
EXP_MAX_K_BITS = 14
LOG_POLY_DEGREE = 4
EXP_POLY_DEGREE = 3
LOG_POLY_RANGE = mpf(2) ** -8
EXP_POLY_RANGE = mpf(2) ** -7


def split(x):
    head = float(x)
    return head, float(x - mpf(head))


def with_trailing_zeros(x, significant_bits):
    """x rounded to `significant_bits` significant bits, so that its products
    with small integers are exact."""
    unit = mpf(2) ** (int(mpmath.floor(mpmath.log(abs(x), 2))) - significant_bits + 1)
    return mpmath.nint(x / unit) * unit


def hexd(v):
    return float(v).hex()


def log_centre(i):
    if i == 0 or i == LOG_TABLE_SIZE - 1:
        return mpf(1)
    centre = 1 + mpf(i) / (1 << LOG_TABLE_BITS)
    return centre if i < (1 << (LOG_TABLE_BITS - 1)) else centre / 2


def fitted(f, half_width, degree):
    """Chebyshev fit of f on [-half_width, half_width] (a little wider, for
    the reductions' roundings), coefficients rounded to doubles, lowest
    first."""
    w = half_width * mpf("1.01")
    coefficients = mpmath.chebyfit(f, [-w, w], degree + 1)
    return [float(c) for c in reversed(coefficients)]


def largest_relative_error(approximation, exact, half_width, points=4000):
    worst = mpf(0)
    for k in range(-points, points + 1):
        r = half_width * mpf("1.01") * k / points
        if r == 0:
            continue
        worst = max(worst, abs(approximation(r) / exact(r) - 1))
    return float(mpmath.log(worst, 2))


def polynomial(coefficients, r):
    total = mpf(0)
    for c in reversed(coefficients):
        total = total * r + mpf(c)
    return total


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else "tone_mapping_v1_0"
    inv_c, log2_c, ln_c = [], [], []
    for i in range(LOG_TABLE_SIZE):
        scale = mpf(2) ** RECIPROCAL_FRACTION_BITS
        reciprocal = mpmath.nint(scale / log_centre(i)) / scale
        inv_c.append(float(reciprocal))
        log2_c.append(float(-mpmath.log(reciprocal, 2)))
        ln_c.append(split(-mpmath.log(reciprocal)))
    exp_table = [split(mpf(2) ** (mpf(j) / (1 << EXP_TABLE_BITS))) for j in range(1 << EXP_TABLE_BITS)]

    def log2_quotient(r):
        return mpmath.log(1 + r, 2) / r if r != 0 else 1 / mpmath.log(2)

    def exp2_quotient(r):
        return (mpf(2) ** r - 1) / r if r != 0 else mpmath.log(2)

    log_poly = fitted(log2_quotient, LOG_POLY_RANGE, LOG_POLY_DEGREE)
    exp_poly = fitted(exp2_quotient, EXP_POLY_RANGE, EXP_POLY_DEGREE)
    log_error = largest_relative_error(lambda r: r * polynomial(log_poly, r),
                                       lambda r: mpmath.log(1 + r, 2), LOG_POLY_RANGE)
    exp_error = largest_relative_error(lambda r: 1 + r * polynomial(exp_poly, r),
                                       lambda r: mpf(2) ** r, EXP_POLY_RANGE)

    ln2 = mpmath.log(2)
    ln10 = mpmath.log(10)
    step = ln2 / (1 << EXP_TABLE_BITS)
    step_1 = with_trailing_zeros(step, 53 - EXP_MAX_K_BITS)
    step_2 = float(step - step_1)
    step_3 = float(step - step_1 - mpf(step_2))

    notice = ["// Written by tools/gen_maths_tables.py (300-bit arithmetic, each value the",
              "// nearest double, double-doubles as head and tail); regenerate rather than edit."]

    # Header: sizes, the tables' declarations, polynomials and constants.
    h = []
    h.append("// Tables, polynomials and constants of the correctly rounded logf, log10f and powf.")
    h.extend(notice)
    h += ["#pragma once", "", "namespace hdrtm {", ""]
    h.append(f"constexpr int kLogTableBits = {LOG_TABLE_BITS};")
    h.append(f"constexpr int kExpTableBits = {EXP_TABLE_BITS};")
    h.append("// Log reduction: 1/c, log2 c, and ln c as head and tail, i = 0..128.")
    for name in ("kLogInvC", "kLog2C", "kLogCHead", "kLogCTail"):
        h.append(f"extern const double {name}[{LOG_TABLE_SIZE}];")
    h.append("// 2^(j/64), head and tail.")
    for name in ("kExpTableHead", "kExpTableTail"):
        h.append(f"extern const double {name}[{1 << EXP_TABLE_BITS}];")
    h.append("")

    def const(name, value, comment=None):
        if comment:
            h.append(f"// {comment}")
        h.append(f"constexpr double {name} = {hexd(value)};")

    def array(name, values, comment):
        h.append(f"// {comment}")
        h.append(f"constexpr double {name}[{len(values)}] = {{")
        for k in range(0, len(values), 4):
            h.append("    " + " ".join(hexd(v) + "," for v in values[k:k + 4]))
        h.append("};")

    array("kLog2Poly", log_poly,
          f"log2(1 + r) = r (c0 + c1 r + ... + c4 r^4) for |r| <= 2^-8: relative error 2^{log_error:.1f}.")
    array("kExp2Poly", exp_poly,
          f"2^r = 1 + r (c0 + c1 r + c2 r^2 + c3 r^3) for |r| <= 2^-7: relative error 2^{exp_error:.1f}.")
    const("kLog10Of2", mpmath.log10(2), "log10 2 and log2 10.")
    const("kLog2Of10", mpmath.log(10, 2))
    const("kLn2Head", split(ln2)[0], "ln 2, head and tail.")
    const("kLn2Tail", split(ln2)[1])
    const("kLn2Over64Part1", float(step_1), "ln 2 / 64 in three parts; the first times any |k| < 2^14 is exact.")
    const("kLn2Over64Part2", step_2)
    const("kLn2Over64Part3", step_3)
    const("k64OverLn2", float((1 << EXP_TABLE_BITS) / ln2), "64 / ln 2.")
    const("kInvLn10Head", split(1 / ln10)[0], "1 / ln 10, head and tail.")
    const("kInvLn10Tail", split(1 / ln10)[1])
    inverses = [split(mpf(1) / k) if k else (0.0, 0.0) for k in range(16)]
    array("kInverseHead", [v[0] for v in inverses], "1/k, head, for the logarithm's series (entry 0 unused).")
    array("kInverseTail", [v[1] for v in inverses], "1/k, tail.")
    factorials = [split(1 / mpmath.factorial(k)) for k in range(11)]
    array("kInverseFactorialHead", [v[0] for v in factorials], "1/k!, head, for the exponential's series.")
    array("kInverseFactorialTail", [v[1] for v in factorials], "1/k!, tail.")
    h += ["", "}  // namespace hdrtm"]

    # Source: the tables.
    s = ["// Tables of the correctly rounded logf, log10f and powf."]
    s.extend(notice)
    s += ['#include "cr_maths_tables.h"', "", "namespace hdrtm {"]

    def table(name, values, comment):
        s.extend(["", f"// {comment}", f"alignas(64) const double {name}[{len(values)}] = {{"])
        for k in range(0, len(values), 4):
            s.append("    " + " ".join(hexd(v) + "," for v in values[k:k + 4]))
        s.append("};")

    table("kLogInvC", inv_c, "1/c for each reduction interval, 27 fraction bits.")
    table("kLog2C", log2_c, "log2 c = -log2(kLogInvC[i]).")
    table("kLogCHead", [v[0] for v in ln_c], "ln c = -ln(kLogInvC[i]), head.")
    table("kLogCTail", [v[1] for v in ln_c], "ln c, tail.")
    table("kExpTableHead", [v[0] for v in exp_table], "2^(j/64), head.")
    table("kExpTableTail", [v[1] for v in exp_table], "2^(j/64), tail.")
    s += ["", "}  // namespace hdrtm"]

    with open(f"{folder}/cr_maths_tables.h", "w") as f:
        f.write("\n".join(h) + "\n")
    with open(f"{folder}/cr_maths_tables.cpp", "w") as f:
        f.write("\n".join(s) + "\n")


if __name__ == "__main__":
    main()
