#include "apply/apply_image.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "colour/color_difference.h"
#include "colour/lut_lookup.h"
#include "drawing/raster.h"
#include "hdr_playback.h"
#include "number_text.h"
#include "playback/playback_run.h"

namespace hdrtm::tool {
namespace {

constexpr double kSampleMax = 65535.0;  // 16-bit PNG samples
// H.273 transfer code points the cICP chunk uses beyond those of the entry's layers.
constexpr uint32_t kTransferSrgb = 13;
constexpr uint32_t kTransferLinear = 8;
constexpr uint32_t kTransferGamma22 = 4;  // BT.470 System M: a power of 2.2
constexpr uint32_t kTransferBt2020[] = {14, 15};  // BT.2020 10- and 12-bit, as BT.709

// H.273 narrow range: black at 16, white at 235, in units of 2^(n-8).
constexpr double kNarrowBlack = 16.0;
constexpr double kNarrowSpan = 219.0;
constexpr uint8_t kMatrixRgb = 0;  // cICP matrix: the samples are RGB
constexpr uint8_t kFullRange = 1;

// The panel's colours as a PNG can name them: H.273 codes (0: none) and
// CIE xy for cHRM.
constexpr double kD65[2] = {0.3127, 0.3290};
struct PanelPrimaries {
    const char* name;
    uint32_t code;  // H.273 colour primaries; 0: none
    double red[2], green[2], blue[2];
};
constexpr PanelPrimaries kPanelPrimaries[] = {  // by HDR_COLOR_SPACE
    {"sRGB", kPrimariesBt709, {0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}},
    {"BT.709", kPrimariesBt709, {0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}},
    {"Adobe RGB", 0, {0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}},
    {"Display P3", kPrimariesP3, {0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}},
    {"BT.2020", kPrimariesBt2020, {0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}},
};
struct PanelTransfer {
    const char* name;
    uint32_t code;     // H.273 transfer characteristics; 0: none
    double fileGamma;  // gAMA's encoding exponent; 0: not a power
};
constexpr PanelTransfer kPanelTransfers[] = {  // by OUTPUT_GAMMA_SPACE
    {"linear", kTransferLinear, 1.0},
    {"gamma 2.2", kTransferGamma22, 1.0 / 2.2},
    {"sRGB", kTransferSrgb, 0.0},
    {"BT.709", kTransferBt709, 0.0},
    {"custom gamma", 0, 0.0},
};

constexpr double kCaptionSize = 13.0;
constexpr Rgb8 kCaptionColour = {210, 210, 210};
constexpr uint16_t kByteToSample = 257;    // 8-bit to 16-bit samples

// Two LUT outputs that are the same signal, so one tag names both halves.
bool sameSignal(const CubeTable& a, const CubeTable& b) {
    if (a.output != b.output) return false;
    if (a.output != Signal::kPanel) return true;
    return a.panel.colorMode == b.panel.colorMode && a.panel.gammaSpace == b.panel.gammaSpace &&
           (a.panel.gammaSpace != GAMMA_CUSTOM || a.panel.gammaValue == b.panel.gammaValue);
}

// The band above the two halves, each caption clipped to its half.
void writeCaptions(PngWriter& writer, int halfWidth, const std::array<std::string, 2>& captions) {
    Raster band(2 * halfWidth, kCaptionBandHeight, {0, 0, 0});
    cairo_t* cr = band.context();
    for (int side = 0; side < 2; ++side) {
        cairo_save(cr);
        cairo_rectangle(cr, side * halfWidth, 0, halfWidth, kCaptionBandHeight);
        cairo_clip(cr);
        drawText(cr, side * halfWidth + 6.0, kCaptionBandHeight - 8.0, captions[side], kCaptionColour, Anchor::kStart,
                 kCaptionSize);
        cairo_restore(cr);
    }
    cairo_surface_flush(cairo_get_target(cr));
    std::vector<uint16_t> row(static_cast<size_t>(band.width()) * 3);
    for (int y = 0; y < kCaptionBandHeight; ++y) {
        for (int x = 0; x < band.width(); ++x) {
            const Rgb8 p = band.pixel(x, y);
            for (int c = 0; c < 3; ++c) row[x * 3 + c] = static_cast<uint16_t>(p[c] * kByteToSample);
        }
        writer.writeRow(row);
    }
}

}  // namespace

bool signalOfTransfer(uint32_t transfer, Signal* out) {
    if (transfer == kTransferPq) {
        *out = Signal::kPq;
    } else if (transfer == kTransferHlg) {
        *out = Signal::kHlg;
    } else if (transfer == kTransferBt709 || transfer == kTransferSrgb ||
               std::count(std::begin(kTransferBt2020), std::end(kTransferBt2020), transfer) > 0) {
        *out = Signal::kSdr;
    } else {
        return false;
    }
    return true;
}

std::array<uint32_t, 3> lookUpCodes(const CubeTable& table, const std::array<uint32_t, 3>& inputCodes) {
    const double maxCode = std::ldexp(1.0, table.bitDepth) - 1.0;
    std::array<float, 3> position;
    for (int c = 0; c < 3; ++c) {
        position[c] = static_cast<float>(inputCodes[c]) / static_cast<float>(kInputCodeMax);
    }
    const std::array<float, 3> v = lookUp(table, position);
    std::array<uint32_t, 3> out;
    for (int c = 0; c < 3; ++c) out[c] = static_cast<uint32_t>(std::round(std::clamp(double(v[c]), 0.0, 1.0) * maxCode));
    return out;
}

void applyRow(const CubeTable& table, const std::vector<uint16_t>& in, uint16_t* out, size_t pixels) {
    const double maxCode = std::ldexp(1.0, table.bitDepth) - 1.0;
    for (size_t p = 0; p < pixels; ++p) {
        std::array<uint32_t, 3> codes;
        for (int c = 0; c < 3; ++c) {
            codes[c] = static_cast<uint32_t>(std::lround(in[p * 3 + c] * double(kInputCodeMax) / kSampleMax));
        }
        const std::array<uint32_t, 3> v = lookUpCodes(table, codes);
        for (int c = 0; c < 3; ++c) out[p * 3 + c] = static_cast<uint16_t>(std::lround(v[c] * kSampleMax / maxCode));
    }
}

void clipRow(const CubeTable& table, Signal input, const std::vector<uint16_t>& in, uint16_t* out, size_t pixels) {
    std::vector<Nits3> light(pixels);
    for (size_t p = 0; p < pixels; ++p) {
        const std::array<float, 3> signal = {float(in[p * 3] / kSampleMax), float(in[p * 3 + 1] / kSampleMax),
                                             float(in[p * 3 + 2] / kSampleMax)};
        light[p] = inputLight(signal, input);
    }
    const auto clipped = clipToPanel(light, table.panel);
    for (size_t p = 0; p < pixels; ++p) {
        for (int c = 0; c < 3; ++c) out[p * 3 + c] = static_cast<uint16_t>(std::lround(clipped[p][c] * kSampleMax));
    }
}

void narrowToFullRange(std::vector<uint16_t>& samples, int sourceBits) {
    // H.273: narrow-range code = (219 E + 16) 2^(n-8) at n bits.
    const double toSource = (std::ldexp(1.0, sourceBits) - 1.0) / kSampleMax;
    const double unit = std::ldexp(1.0, sourceBits - 8);
    for (uint16_t& v : samples) {
        const double e = (v * toSource / unit - kNarrowBlack) / kNarrowSpan;
        v = static_cast<uint16_t>(std::lround(std::clamp(e, 0.0, 1.0) * kSampleMax));
    }
}

uint32_t inputPrimaries(Signal input) { return input == Signal::kSdr ? kPrimariesBt709 : kPrimariesBt2020; }

PngTags appliedImageTags(const ApplySetup& setup, std::string* description) {
    const CubeTable& lut = *setup.lut;
    // The signal of the half beside: the plain clip is encoded for the LUT's panel.
    const CubeTable* other = setup.beside == Beside::kSecondLut ? setup.second : nullptr;
    PngTags tags;
    if (other != nullptr && !sameSignal(lut, *other)) {
        *description = "untagged: its halves hold different signals";
        return tags;
    }
    tags.hasCicp = true;
    if (lut.output != Signal::kPanel) {
        const uint8_t transfer = static_cast<uint8_t>(lut.output == Signal::kHlg ? kTransferHlg : kTransferPq);
        tags.cicp = {static_cast<uint8_t>(kPrimariesBt2020), transfer, kMatrixRgb, kFullRange};
        *description = std::string("tagged BT.2020 ") + signalLabel(lut.output) + " (cICP)";
        return tags;
    }
    const PanelInfo& panel = lut.panel;
    const PanelPrimaries& primaries = kPanelPrimaries[panel.colorMode < std::size(kPanelPrimaries) ? panel.colorMode : 0];
    const PanelTransfer& transfer =
        kPanelTransfers[panel.gammaSpace < std::size(kPanelTransfers) ? panel.gammaSpace : GAMMA_LINEAR];
    std::string transferName = transfer.name;
    double fileGamma = transfer.fileGamma;
    if (panel.gammaSpace == GAMMA_CUSTOM) {
        transferName = "gamma " + numberText(panel.gammaValue);
        fileGamma = 1.0 / panel.gammaValue;
    }
    const std::string words = primaries.name + std::string(" primaries, ") + transferName;
    if (primaries.code != 0 && transfer.code != 0) {
        tags.cicp = {static_cast<uint8_t>(primaries.code), static_cast<uint8_t>(transfer.code), kMatrixRgb, kFullRange};
        *description = "tagged " + words + " (cICP)";
        return tags;
    }
    // cICP has no code for them: the older chunks say what they can.
    tags.hasCicp = false;
    tags.hasChromaticities = true;
    std::copy(std::begin(kD65), std::end(kD65), tags.white);
    std::copy(std::begin(primaries.red), std::end(primaries.red), tags.red);
    std::copy(std::begin(primaries.green), std::end(primaries.green), tags.green);
    std::copy(std::begin(primaries.blue), std::end(primaries.blue), tags.blue);
    tags.fileGamma = fileGamma;
    *description = "tagged " + words + (fileGamma > 0.0 ? " (cHRM, gAMA)" : " (cHRM; no chunk names that transfer)");
    return tags;
}

std::string applyToImage(PngReader& image, const ApplySetup& setup, const std::function<void(int rowsDone)>& rowsDone) {
    const size_t width = static_cast<size_t>(image.width());
    const int sides = setup.beside == Beside::kNothing ? 1 : 2;
    std::string description;
    const PngTags tags = appliedImageTags(setup, &description);
    const bool captioned = sides == 2 && !(setup.captions[0].empty() && setup.captions[1].empty());
    const int band = captioned ? kCaptionBandHeight : 0;
    PngWriter writer(image.width() * sides, image.height() + band, tags, image.hasAlpha());
    if (captioned) writeCaptions(writer, image.width(), setup.captions);
    std::vector<uint16_t> in;
    std::vector<uint16_t> alpha;
    std::vector<uint16_t> out(width * 3 * sides);
    std::vector<uint16_t> outAlpha(width * sides);
    for (int y = 0; y < image.height(); ++y) {
        image.readRow(in, alpha);
        if (setup.narrowRange) narrowToFullRange(in, image.sourceBits());
        applyRow(*setup.lut, in, out.data(), width);
        if (setup.beside == Beside::kPlainClip) clipRow(*setup.lut, setup.input, in, out.data() + width * 3, width);
        if (setup.beside == Beside::kSecondLut) applyRow(*setup.second, in, out.data() + width * 3, width);
        for (int side = 0; side < sides; ++side) std::copy(alpha.begin(), alpha.end(), outAlpha.begin() + side * width);
        writer.writeRow(out, outAlpha);
        rowsDone(y + 1);
    }
    return writer.finish();
}

}  // namespace hdrtm::tool
