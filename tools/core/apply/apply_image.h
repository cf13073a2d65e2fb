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

// The H.273 primaries a LUT reads its input in: BT.2020 for PQ and HLG,
// BT.709 for SDR, as the entry's pipelines convert them.
uint32_t inputPrimaries(Signal input);

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

// 16-bit samples of the narrow (video) range of H.273, stored at
// `sourceBits` bits, spread over the full range, in place.
void narrowToFullRange(std::vector<uint16_t>& samples, int sourceBits);

// Pixels of the band of captions above the halves of an applied image.
constexpr int kCaptionBandHeight = 24;

// What an applied image shows to the right of the LUT's output.
enum class Beside { kNothing, kPlainClip, kSecondLut };

// How an image goes through a LUT.
struct ApplySetup {
    Signal input = Signal::kPq;  // what the image holds
    bool narrowRange = false;    // its samples use the narrow range (cICP full-range flag 0)
    const CubeTable* lut = nullptr;
    Beside beside = Beside::kNothing;
    const CubeTable* second = nullptr;  // for kSecondLut
    // Captions drawn in a band above the LUT's half and the other, when
    // something is beside it.
    std::array<std::string, 2> captions;
};

// The colour tags of the applied image: cICP when its colours have H.273
// codes, else cHRM and gAMA where they can say it; none when its halves
// hold different signals. `description` says in words what they name, or
// why there are none.
PngTags appliedImageTags(const ApplySetup& setup, std::string* description);

// Every row of `image` through the LUT, with what `setup` puts beside it,
// as the bytes of a 16-bit PNG tagged by appliedImageTags, keeping the
// image's alpha. `rowsDone` hears how many rows are through. Throws
// std::runtime_error when a row cannot be read or encoded.
std::string applyToImage(PngReader& image, const ApplySetup& setup, const std::function<void(int rowsDone)>& rowsDone);

}  // namespace hdrtm::tool
