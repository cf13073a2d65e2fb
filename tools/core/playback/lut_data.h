// A 17^3 colour LUT as the library produced it, with what a reader needs to
// interpret it: where its samples lie and what its input and output mean.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace hdrtm::tool {

constexpr int kLutSize = 17;                               // points per axis
constexpr int kLutEntries = kLutSize * kLutSize * kLutSize;  // 4913, red fastest
constexpr int kInputCodeMax = 1023;                        // 10-bit grid codes run 0..1023

// The library's sampling grids as 10-bit input codes, the same on each axis.
// The uniform grid steps by 64 and ends at 1023, not 1024.
constexpr std::array<uint32_t, kLutSize> kUniformGrid = {
    0, 64, 128, 192, 256, 320, 384, 448, 512, 576, 640, 704, 768, 832, 896, 960, 1023};
// Dense in the dark and mid tones; sampled for the hardware LUT of a
// version 2.0 tuning.
constexpr std::array<uint32_t, kLutSize> kNonUniformGrid = {
    0, 62, 123, 185, 254, 308, 386, 451, 482, 513, 544, 575, 606, 637, 668, 923, 1023};

// Signal encodings at a LUT's input or output.
enum class Signal { kPq, kHlg, kSdr, kPanel };

struct PanelInfo {
    float peakNits = 500.0f;
    float blackNits = 0.02f;
    uint32_t colorMode = 3;  // HDR_COLOR_SPACE of the panel
    uint32_t gammaSpace = 1;  // OUTPUT_GAMMA_SPACE of the panel signal (1: power 1/2.2)
    float gammaValue = 2.2f;  // the exponent of a custom output gamma
};

struct Lut3d {
    int bitDepth = 10;  // output codes run 0..2^bitDepth - 1
    std::vector<std::array<uint32_t, 3>> codes = std::vector<std::array<uint32_t, 3>>(kLutEntries);
    std::array<uint32_t, kLutSize> grid = kUniformGrid;  // 10-bit input codes per axis
    bool uniformGrid = true;
    Signal input = Signal::kPq;
    Signal output = Signal::kPanel;
    PanelInfo panel;

    uint32_t maxCode() const { return (1u << bitDepth) - 1u; }
    // Output of grid point (r, g, b) normalised to 0..1.
    std::array<float, 3> normalised(int index) const;
};

const char* signalName(Signal s);   // "pq", as options spell it
const char* signalLabel(Signal s);  // "PQ", as text names it
bool parseSignal(const std::string& name, Signal* out);
const char* colorModeName(uint32_t mode);

}  // namespace hdrtm::tool
