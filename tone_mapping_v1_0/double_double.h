// Double-double arithmetic for the slow paths of the correctly rounded maths:
// a value held as head + tail, |tail| <= half an ulp of head, about 106 bits.
// Error-free sums and products from plain double operations (Knuth's two-sum,
// Veltkamp's split and Dekker's product), so that no result depends on the
// processor fusing a multiply-add; the build never lets the compiler fuse one.
#pragma once

#include "tm_common.h"

namespace hdrtm {

struct DoubleDouble {
    double head;
    double tail;
};

// a + b exactly, as the rounded sum and its error.
HDRTM_INLINE DoubleDouble twoSum(double a, double b) {
    const double sum = a + b;
    const double bPart = sum - a;
    const double aPart = sum - bPart;
    return {sum, (a - aPart) + (b - bPart)};
}

// a + b exactly when |a| >= |b| (or a is 0).
HDRTM_INLINE DoubleDouble fastTwoSum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

// a as two halves of 26 and 27 bits, whose products are exact.
HDRTM_INLINE DoubleDouble veltkampSplit(double a) {
    constexpr double kSplitter = 134217729.0;  // 2^27 + 1
    const double scaled = a * kSplitter;
    const double high = scaled - (scaled - a);
    return {high, a - high};
}

// a * b exactly, as the rounded product and its error (|a*b| below 2^996).
HDRTM_INLINE DoubleDouble twoProduct(double a, double b) {
    const double product = a * b;
    const DoubleDouble x = veltkampSplit(a);
    const DoubleDouble y = veltkampSplit(b);
    const double error =
        ((x.head * y.head - product) + x.head * y.tail + x.tail * y.head) + x.tail * y.tail;
    return {product, error};
}

// Sums and products, relative error within a few units of 2^-104.
HDRTM_INLINE DoubleDouble add(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble heads = twoSum(a.head, b.head);
    const DoubleDouble tails = twoSum(a.tail, b.tail);
    const DoubleDouble first = fastTwoSum(heads.head, heads.tail + tails.head);
    return fastTwoSum(first.head, first.tail + tails.tail);
}

HDRTM_INLINE DoubleDouble add(DoubleDouble a, double b) {
    const DoubleDouble heads = twoSum(a.head, b);
    return fastTwoSum(heads.head, heads.tail + a.tail);
}

HDRTM_INLINE DoubleDouble multiply(DoubleDouble a, double b) {
    const DoubleDouble heads = twoProduct(a.head, b);
    return fastTwoSum(heads.head, heads.tail + a.tail * b);
}

HDRTM_INLINE DoubleDouble multiply(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble heads = twoProduct(a.head, b.head);
    return fastTwoSum(heads.head, heads.tail + (a.head * b.tail + a.tail * b.head));
}

}  // namespace hdrtm
