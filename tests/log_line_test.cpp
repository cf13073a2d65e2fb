// Log lines put together without printf must read exactly as printf writes
// them: %f rounding (ties to even, on the exact binary value), signs of zero,
// magnitudes from subnormal to beyond 64 bits, and %d across the int32 range.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "tm_common.h"

namespace {

std::string printfFixed(double v) {
    char text[512];
    std::snprintf(text, sizeof(text), "%f", v);
    return text;
}

std::string lineFixed(double v) {
    hdrtm::LogLine line;
    hdrtm::appendFixed(line, v);
    return {line.text, line.length};
}

TEST(LogLine, FixedReadsAsPrintf) {
    const double kInf = std::numeric_limits<double>::infinity();
    const double cases[] = {
        0.0, -0.0, 1.0, -1.0, 0.5, 1e-7, -1e-7, 4e-7, 5e-7, 6e-7, -6e-7,
        0.0078125, 0.0234375, -0.0078125,  // ties at the sixth decimal
        1.0 / 3.0, 2.0 / 3.0, 0.1f, 3.14159274f, 9999.999f, 4095.0, 1e13, -1e13,
        1.8e13, 1e19, 1e30f, -1e30f, std::numeric_limits<double>::max(),
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<float>::denorm_min(),
        kInf, -kInf, std::nan(""), -std::nan("")};
    for (double v : cases) EXPECT_EQ(lineFixed(v), printfFixed(v)) << v;

    // Floats and doubles across every magnitude a tuning or a PCC holds.
    std::mt19937_64 random(2026);
    std::uniform_real_distribution<double> exponent(-30.0, 20.0);
    for (int i = 0; i < 200000; ++i) {
        const double magnitude = std::pow(10.0, exponent(random));
        const double v = (random() & 1) ? -magnitude : magnitude;
        ASSERT_EQ(lineFixed(v), printfFixed(v)) << v;
        const float f = static_cast<float>(v);
        ASSERT_EQ(lineFixed(f), printfFixed(f)) << f;
    }
}

TEST(LogLine, IntegersAndTextReadAsPrintf) {
    hdrtm::LogLine line;
    hdrtm::appendText(line, "Index [");
    hdrtm::appendInteger(line, 0);
    hdrtm::appendText(line, "] =");
    for (int32_t v : {1, -1, 4095, 1023000, std::numeric_limits<int32_t>::max(),
                      std::numeric_limits<int32_t>::min()}) {
        hdrtm::appendText(line, " ");
        hdrtm::appendInteger(line, v);
    }
    EXPECT_EQ(std::string(line.text, line.length),
              "Index [0] = 1 -1 4095 1023000 2147483647 -2147483648");
}

TEST(LogLine, LongTextIsCutAtTheCapacity) {
    hdrtm::LogLine line;
    for (int i = 0; i < 200; ++i) hdrtm::appendText(line, "0123456789");
    EXPECT_EQ(line.length, sizeof(line.text) - 1);
    hdrtm::writeLogLine(ANDROID_LOG_VERBOSE, line);  // room kept for the terminator
    EXPECT_EQ(line.text[line.length], '\0');
}

}  // namespace
