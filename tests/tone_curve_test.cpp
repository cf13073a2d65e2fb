// The logarithmic tone curve, its control-point table and luminance mapping.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "cr_maths.h"
#include "hdr_tm.h"
#include "tone_curve.h"
#include "transfer_functions.h"

using hdrtm::crLog10f;
using hdrtm::crPowf;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The default tuning's curve as yTM sets it up; mode 1 derives xMax.
class ParametricCurve : public ::testing::Test {
protected:
    float yMin = crLog10f(0.02f), yMax = crLog10f(500.0f), xMin = crLog10f(0.0005f);
    float yToe = crLog10f(125.0f), yShoulder = crLog10f(275.0f), slope = 1.15f;
    float intercept = crLog10f(8.0f) * (1.0f - slope);
    float xToe = (yToe - intercept) / slope, xShoulder = (yShoulder - intercept) / slope;
    float forward(float x, unsigned char mode = 1, float xMax = 0.0f) {
        return logTM(x, yMin, yMax, 2.0f, xMax, mode, xMin, yToe, yShoulder, intercept, slope);
    }
    float inverse(float y, unsigned char mode = 1, float xMax = 0.0f) {
        return logTMInverse(y, yMin, yMax, 2.0f, xMax, mode, xMin, yToe, yShoulder, intercept, slope);
    }
};

TEST_F(ParametricCurve, PiecesMeetAtTheJoinsAndTheInverseUndoesForwardInBothModes) {
    const float xMax = inverse(yMax);  // the shoulder piece returns xMax at yMax
    EXPECT_EQ(xMax, inverse(yMax + 1.0f));
    for (float join : {xToe, xShoulder, xMax})
        EXPECT_NEAR(forward(std::nextafter(join, -10.0f)), forward(join), 1e-5f) << join;
    EXPECT_EQ(forward(xMin - 1.0f), yMin);
    EXPECT_EQ(forward(xMax + 1.0f), yMax);
    for (float x = xMin; x <= xMax; x += 0.015f) {
        EXPECT_NEAR(inverse(forward(x)), x, 1e-4f) << x;
        EXPECT_NEAR(inverse(forward(x, 0, xMax), 0, xMax), x, 1e-4f) << x;
        EXPECT_NEAR(forward(x, 0, xMax), forward(x), 1e-5f) << x;
    }
}

// Each piece's own formula, tested piece after piece.
float pieceByPiece(const hdrtm::LogCurve& c, float x) {
    const float e = c.toeExponent, k = c.shoulderExponent, toe = c.xToe - c.xMin, span = c.shoulderSpan;
    if (x < c.xMin) return c.yMin;
    if (x < c.xToe) return c.yMin + toe * (c.slope / e) * crPowf((x - c.xMin) / toe, e);
    if (x < c.xShoulder) return c.slope * x + c.intercept;
    if (x <= c.xMax) return c.yMax - span * (c.slope / k) * crPowf((c.xMax - x) / span, k);
    return c.yMax;
}

float pieceByPieceInverse(const hdrtm::LogCurve& c, float y) {
    const float e = c.toeExponent, k = c.shoulderExponent, toe = c.xToe - c.xMin, span = c.shoulderSpan;
    if (y < c.yMin) return c.xMin;
    if (y < c.yToe) return c.xMin + toe * crPowf((y - c.yMin) / toe * e / c.slope, 1.0f / e);
    if (y < c.yShoulder) return (y - c.intercept) / c.slope;
    if (y <= c.yMax) return c.xMax - span * crPowf((c.yMax - y) / span * k / c.slope, 1.0f / k);
    return c.xMax;
}

// The curve runs block by block without branches: every point, joins and
// their neighbours included, gets the bits of its piece's formula both ways,
// also for a tuning whose toe ends before it starts.
TEST_F(ParametricCurve, RunsOfPointsGetEachPieceFormulaBitForBit) {
    const float inf = std::numeric_limits<float>::infinity();
    const auto sameBits = [](float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    for (float toeEnd : {yToe, crLog10f(0.0001f)}) {
        for (unsigned char mode : {0, 1}) {
            const hdrtm::LogCurve c = hdrtm::makeLogCurve(yMin, yMax, 2.0f, crLog10f(400.0f), mode, xMin,
                                                          toeEnd, yShoulder, intercept, slope);
            std::vector<float> x = {kNaN, inf, -inf};
            for (float join : {c.xMin, c.xToe, c.xShoulder, c.xMax, c.yMin, c.yToe, c.yShoulder, c.yMax})
                x.insert(x.end(), {std::nextafter(join, -inf), join, std::nextafter(join, inf)});
            for (float v = c.xMin - 1.0f; v < c.xMax + 1.0f; v += 0.007f) x.push_back(v);
            std::vector<float> y = x, back = x;
            hdrtm::logCurveForward(c, y.data(), static_cast<uint32_t>(y.size()));
            hdrtm::logCurveInverse(c, back.data(), static_cast<uint32_t>(back.size()));
            for (size_t i = 0; i < x.size(); ++i) {
                EXPECT_TRUE(sameBits(y[i], pieceByPiece(c, x[i]))) << int(mode) << " x " << x[i] << ": " << y[i];
                EXPECT_TRUE(sameBits(back[i], pieceByPieceInverse(c, x[i]))) << int(mode) << " y " << x[i];
            }
        }
    }
}

// Outputs i^2 at inputs 10 i in all 24 slots, 17 of them counted.
TEST(TableLookup, InterpolatesAndExtrapolatesTheEndSegments) {
    toneMapperLUT table{17, {}, {}};
    for (int i = 0; i < kToneCurveMaxPoints; ++i) {
        table.points_x[i] = 10.0f * static_cast<float>(i);
        table.points_y[i] = static_cast<float>(i * i);
    }
    for (int j = 0; j < 17; ++j) EXPECT_EQ(logTM_LUT(table.points_x[j], &table), table.points_y[j]);
    EXPECT_EQ(logTM_LUT(145.0f, &table), 210.5f);
    EXPECT_EQ(logTMInverse_LUT(6.5f, &table), 25.0f);
    EXPECT_EQ(logTM_LUT(-10.0f, &table), -1.0f);
    EXPECT_EQ(logTMInverse_LUT(287.0f, &table), 170.0f);
    EXPECT_TRUE(std::isnan(logTM_LUT(kNaN, &table)));
    for (auto [count, x, y] : {std::tuple{2, 30.0f, 3.0f}, {4, 50.0f, 19.0f}, {-1, 240.0f, 574.0f}}) {
        table.num_points = count;  // a negative count reads as unsigned: all 24 points
        EXPECT_EQ(logTM_LUT(x, &table), y) << count;
    }
}

// The upward search for the bracketing pair, one value at a time.
float searchedOneByOne(const float* in, const float* out, int32_t count, float v) {
    const uint32_t points = std::min(static_cast<uint32_t>(count), 24u);
    const uint32_t half = points / 2, quarter = points / 4, last = points < 2 ? 1 : points - 1;
    uint32_t upper = in[quarter] < v ? quarter + 1 : 1;
    if (in[half] < v) upper = in[half + quarter] < v ? half + quarter + 1 : half + 1;
    upper = std::min(upper, last);
    while (upper < last && !(in[upper] >= v)) ++upper;
    const float t = (v - in[upper - 1]) / (in[upper] - in[upper - 1]);
    return out[upper] * t + out[upper - 1] * (1.0f - t);
}

// Rising tables (strictly, with repeats and signed zeros, with infinite ends)
// and tables that fall (anywhere, or only at their last point) or hold NaN,
// every count, looked up in blocks both ways: the points themselves, values
// between and beyond them, and the edge values.
TEST(TableLookup, BlocksGiveTheOneByOneSearchForEveryTable) {
    const float inf = std::numeric_limits<float>::infinity();
    std::mt19937 random(2024);
    std::uniform_real_distribution<float> step(0.0f, 0.5f), anywhere(-4.0f, 4.0f);
    enum Kind { kRising, kRepeats, kInfiniteEnds, kFalls, kFallsAtTheEnd, kHoldsNaN, kKinds };
    for (int round = 0; round < 600; ++round) {
        const int kind = round % kKinds;
        toneMapperLUT table{round % 28 - 2, {}, {}};
        float x = -3.0f;
        for (int i = 0; i < kToneCurveMaxPoints; ++i) {
            x += kind == kRepeats && i % 3 == 1 ? 0.0f : step(random) + 0.01f;
            table.points_x[i] = kind == kFalls ? anywhere(random) : x;
            table.points_y[i] = anywhere(random);
        }
        if (kind == kRepeats) table.points_x[3] = -0.0f, table.points_x[4] = 0.0f, table.points_x[5] = 0.0f;
        if (kind == kInfiniteEnds) table.points_x[0] = -inf, table.points_x[23] = inf;
        if (kind == kHoldsNaN) table.points_x[round / kKinds % 24] = kNaN;
        const int last = std::clamp(static_cast<int>(static_cast<uint32_t>(table.num_points)), 2, 24) - 1;
        if (kind == kFallsAtTheEnd) table.points_x[last] = table.points_x[last - 1] - 1.0f;
        std::vector<float> values = {kNaN, inf, -inf, 0.0f, -0.0f, -100.0f, 100.0f};
        for (int i = 0; i < kToneCurveMaxPoints; ++i) {
            for (const float* axis : {table.points_x, table.points_y}) {
                values.insert(values.end(), {axis[i], std::nextafter(axis[i], inf), std::nextafter(axis[i], -inf),
                                             axis[i] + 0.125f, anywhere(random)});
            }
        }
        for (const MAP_DIRECTION direction : {MAP_FORWARD, MAP_INVERSE}) {
            const bool inverse = direction == MAP_INVERSE;
            const float* in = inverse ? table.points_y : table.points_x;
            const float* out = inverse ? table.points_x : table.points_y;
            std::vector<float> looked = values;
            hdrtm::lookUpControlPoints(table, direction, looked.data(), static_cast<uint32_t>(looked.size()));
            for (size_t i = 0; i < values.size(); ++i) {
                const float expected = searchedOneByOne(in, out, table.num_points, values[i]);
                const bool same = std::bit_cast<uint32_t>(looked[i]) == std::bit_cast<uint32_t>(expected) ||
                                  (std::isnan(looked[i]) && std::isnan(expected));
                ASSERT_TRUE(same) << "round " << round << " kind " << kind << " count " << table.num_points
                                  << (inverse ? " inverse" : " forward") << " value " << values[i] << ": "
                                  << looked[i] << " for " << expected;
            }
        }
    }
}

// The default tuning; map() runs yTM over a one-point grid.
class DefaultTuning : public ::testing::Test {
protected:
    void SetUp() override { set_default_vals(&params); }
    float map(float y, uint32_t direction = MAP_FORWARD) {
        params.grid_size = 1, params.map_direction = direction;
        float out = -1.0f;
        yTM(&params, &y, &out);
        return out;
    }
    TMParams params{};
};

TEST_F(DefaultTuning, ControlPointsBecomeLogNitsAndAnOversizedRecordStaysInItsArrays) {
    const toneMapperLUT codes = params.curve;
    CalCurveLUT(&params);
    for (int i = 0; i < 17; ++i) {
        const float pq = static_cast<float>(hdrtm::kPqDecodeTable[static_cast<int>(codes.points_x[i])]);
        const double panel = std::pow(codes.points_y[i] / 1023.0, 2.2);
        EXPECT_NEAR(params.curve.points_x[i], std::log10(pq * 9999.999 + 0.0005), 2e-6) << i;
        EXPECT_NEAR(params.curve.points_y[i], std::log10(0.02 + panel * (500 - 0.02)), 2e-6) << i;
    }
    EXPECT_EQ(params.curve.points_x[0], crLog10f(0.0005f));
    EXPECT_EQ(params.curve.points_x[17], 0.0f);

    set_default_vals(&params);
    params.curve.num_points = 100, params.curve.points_x[3] = 5000.0f;  // x beyond 10 bits: read as code 1023
    CalCurveLUT(&params);
    EXPECT_EQ(params.curve.points_x[3], params.curve.points_x[16]);
    EXPECT_EQ(params.version, 0u);
}

TEST_F(DefaultTuning, BlackStaysBlackAndPeakGivesTheShoulderEnd) {
    for (float y : {0.0f, -0.5f, kNaN}) EXPECT_EQ(map(y), 0.0f) << y;
    EXPECT_FLOAT_EQ(map(0.0f, MAP_INVERSE), 0.0005f / 10000.0f);      // toe start t0
    EXPECT_EQ(map(kNaN, MAP_INVERSE), 0.02f / 10000.0f);              // the black level
    EXPECT_NEAR(map(1.0f, MAP_INVERSE) * 10000.0f, 490.339f, 1e-3f);  // 10^xMax nits
    params.panel_min_luminance = 0.0f;
    EXPECT_EQ(map(0.0f), 0.0f);
}

TEST_F(DefaultTuning, InverseUndoesForwardWithBrightnessAndThroughTheTable) {
    params.bright_enable = 1, params.sysGamma = 2.2f;
    float previous = 0.0f;
    for (float nits = 0.01f; nits < 480.0f; nits *= 1.3f) {
        const float mapped = map(nits / 10000.0f);
        EXPECT_GT(mapped, previous) << nits;
        previous = mapped;
        EXPECT_NEAR(map(mapped, MAP_INVERSE) * 10000.0f / nits, 1.0f, 2e-4f) << nits;
    }
    // Version 1 maps through the control-point table, both ways.
    params.bright_enable = 0;
    CalCurveLUT(&params);
    params.version = 1;
    const float in = crPowf(10.0f, params.curve.points_x[9]) / 10000.0f;  // code 513 -> 528
    const float out = (crPowf(10.0f, params.curve.points_y[9]) - 0.02f) / (500.0f - 0.02f);
    EXPECT_NEAR(map(in), out, 1e-4f);
    EXPECT_NEAR(map(out, MAP_INVERSE) / in, 1.0f, 1e-4f);
}

TEST_F(DefaultTuning, ThresholdsAreStrictAndScaleIsForwardOnly) {
    const float lower = 0.5f / 10000.0f, upper = 400.0f / 10000.0f, knee = 300.0f / 10000.0f;
    const float atLower = map(lower), atUpper = map(upper), inside = map(0.01f);
    const float atKnee = map(knee), inverseAbove = map(0.5f, MAP_INVERSE);
    params.bright_enable = 1, params.sysGamma = 2.0f;
    EXPECT_EQ(map(lower), atLower);
    EXPECT_EQ(map(upper), atUpper);
    EXPECT_GT(map(0.01f), inside);
    params.bright_enable = 0, params.linearScale = 1, params.scaleStart = 300.0f, params.ratio = 0.5f;
    EXPECT_EQ(map(knee), atKnee);
    EXPECT_LT(map(upper), atUpper);
    EXPECT_EQ(map(0.5f, MAP_INVERSE), inverseAbove);
}

}  // namespace
