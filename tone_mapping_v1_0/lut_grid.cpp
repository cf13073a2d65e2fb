// LUT sampling grids, the grid fill shared by input_gen and the pipelines,
// and the per-channel index table of a non-uniform grid.
#include <algorithm>

#include "lut3d.h"
#include "tm_stages.h"

namespace hdrtm {

const uint32_t kUniformGridCodes[kGridPointsPerAxis] = {
    0, 64, 128, 192, 256, 320, 384, 448, 512, 576, 640, 704, 768, 832, 896, 960, 1023};

const uint32_t kNonUniformGridCodes[kGridPointsPerAxis] = {
    0, 62, 123, 185, 254, 308, 386, 451, 482, 513, 544, 575, 606, 637, 668, 923, 1023};

const uint32_t kHardwareGridCodes[kGridPointsPerAxis] = {
    0, 248, 492, 741, 1017, 1233, 1546, 1806, 1930, 2054, 2178, 2302, 2426, 2550, 2675,
    3696, 4096};

HDRTM_VECTOR_CLONES
void fillPlanesFromAxes(const float (*axisValues)[kGridPointsPerAxis], float** planes,
                        unsigned int n) {
    // A row holds 17 points: a larger count fills the 17-point grid.
    const int points = static_cast<int>(std::min(n, static_cast<unsigned int>(kGridPointsPerAxis)));
    // The axes in locals: the planes could otherwise overlap them, and every
    // store would reload them.
    float axes[kPlaneCount][kGridPointsPerAxis];
    for (int axis = 0; axis < kPlaneCount; ++axis) {
        for (int p = 0; p < points; ++p) axes[axis][p] = axisValues[axis][p];
    }
    float* red = planes[0];
    float* green = planes[1];
    float* blue = planes[2];
    for (int b = 0; b < points; ++b) {
        for (int g = 0; g < points; ++g) {
            const int row = (b * points + g) * points;
            HDRTM_INDEPENDENT_POINTS
            for (int r = 0; r < points; ++r) {
                red[row + r] = axes[0][r];
                green[row + r] = axes[1][g];
                blue[row + r] = axes[2][b];
            }
        }
    }
}

void fillSamplePlanes(const uint32_t (*grid)[kGridPointsPerAxis], float** planes, unsigned int n) {
    float codes[kPlaneCount][kGridPointsPerAxis];
    for (int axis = 0; axis < kPlaneCount; ++axis) {
        for (int p = 0; p < kGridPointsPerAxis; ++p) {
            codes[axis][p] = static_cast<float>(grid[axis][p]);
        }
    }
    fillPlanesFromAxes(codes, planes, n);
}

namespace {

// Index-table entries: 129 inputs 0, 8, ..., 1016 and then 1023 (not 1024).
constexpr int kIndexEntries = 129;
constexpr int kIndexInputStep = 8;
constexpr int kLastCode = 1023;
// Grid point s sits at index position 64 s; the last segment ends at 1023.
constexpr int kIndexPositionStep = 64;
constexpr int kLastSegment = kGridPointsPerAxis - 2;
constexpr uint32_t kTenBits = 0x3FF;

// Index position of input code x on one grid row; `segment` only grows.
uint32_t indexPosition(const unsigned int* row, int x, int& segment) {
    auto point = [row](int s) { return static_cast<int>(static_cast<int16_t>(row[s])); };
    // Bounded: a row whose last point is below 1023 maps larger inputs
    // through its last segment instead of searching past the row.
    while (segment < kLastSegment && x > point(segment + 1)) ++segment;
    const int lo = point(segment);
    const int hi = point(segment + 1);
    const int positionLo = kIndexPositionStep * segment;
    const int positionHi = segment < kLastSegment ? kIndexPositionStep * (segment + 1) : kLastCode;
    int position;
    if (hi == lo) {
        // Zero-width segment: its midpoint, rounded up.
        position = ((positionLo + 1) + positionHi) / 2;
    } else {
        // Linear interpolation rounded to nearest, halves up.
        const int width = hi - lo;
        position = ((hi - x) * positionLo + (width >> 1) + (x - lo) * positionHi) / width;
    }
    return static_cast<uint32_t>(position) & kTenBits;
}

}  // namespace
}  // namespace hdrtm

void input_gen(unsigned int (*grid)[kGridPointsPerAxis], float** planes,
               unsigned char pointsPerAxis) {
    hdrtm::fillSamplePlanes(grid, planes, pointsPerAxis);
}

// Writes only the three 10-bit fields: bits 30 and 31 stay as the caller left them.
void nonuniformity_mapping(unsigned int (*grid)[kGridPointsPerAxis], Color10Bit* out) {
    using namespace hdrtm;
    // One search state per channel; the channels do not interact.
    int segment[kPlaneCount] = {0, 0, 0};
    for (int t = 0; t < kIndexEntries; ++t) {
        const int x = t == kIndexEntries - 1 ? kLastCode : kIndexInputStep * t;
        out[t].r = indexPosition(grid[0], x, segment[0]);
        out[t].g = indexPosition(grid[1], x, segment[1]);
        out[t].b = indexPosition(grid[2], x, segment[2]);
    }
}
