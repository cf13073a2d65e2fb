// A LUT on a real image, as the display hardware applies it: 10-bit input
// codes, tetrahedral interpolation between the LUT's true grid positions,
// integer output codes at the LUT's bit depth, kept as 16-bit samples.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "files/cube_file.h"
#include "files/png_image.h"
#include "playback/lut_data.h"

namespace hdrtm::tool {

// The signal an image's cICP transfer code says it holds: PQ (16), HLG (18)
// or SDR (1, 13, 14, 15). False for any other transfer.
bool signalOfTransfer(uint32_t transfer, Signal* out);

// Output bit depth assumed for a LUT file that does not record its own (a
// .cube hdrtm did not write).
constexpr int kForeignLutBits = 16;

// One pixel's 10-bit input codes through `table` as hardware does: its
// output codes at the LUT's bit depth.
std::array<uint32_t, 3> lookUpCodes(const CubeTable& table, const std::array<uint32_t, 3>& inputCodes);

// One row of `pixels` 16-bit RGB samples through `table` as hardware does:
// 10-bit input codes, output codes at the LUT's depth, written as 16-bit
// samples.
void applyRow(const CubeTable& table, const std::vector<uint16_t>& in, uint16_t* out, size_t pixels);

// The same row, holding `input`, clipped plainly to the panel of `table`,
// encoded as its panel signal.
void clipRow(const CubeTable& table, Signal input, const std::vector<uint16_t>& in, uint16_t* out, size_t pixels);

// What an applied image shows to the right of the LUT's output.
enum class Beside { kNothing, kPlainClip, kSecondLut };

// Every row of `image`, which holds `input`, through `lut`, with `beside` to
// its right (`second` for kSecondLut), as the bytes of a 16-bit PNG, with a
// cICP chunk when all of it is one blending space's signal. `rowsDone` hears
// how many rows are through. Throws std::runtime_error when a row cannot be
// read or encoded.
std::string applyToImage(PngReader& image, Signal input, const CubeTable& lut, Beside beside,
                         const CubeTable* second, const std::function<void(int rowsDone)>& rowsDone);

}  // namespace hdrtm::tool
