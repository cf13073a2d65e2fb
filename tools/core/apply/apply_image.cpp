#include "apply/apply_image.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "colour/color_difference.h"
#include "colour/lut_lookup.h"
#include "hdr_playback.h"

namespace hdrtm::tool {
namespace {

constexpr double kSampleMax = 65535.0;  // 16-bit PNG samples
// H.273 transfer code points the cICP chunk uses beyond those of the entry's layers.
constexpr uint32_t kTransferSrgb = 13;
constexpr uint32_t kTransferBt2020[] = {14, 15};  // BT.2020 10- and 12-bit, as BT.709

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

std::string applyToImage(PngReader& image, Signal input, const CubeTable& lut, Beside beside,
                         const CubeTable* second, const std::function<void(int rowsDone)>& rowsDone) {
    const size_t width = static_cast<size_t>(image.width());
    const int sides = beside == Beside::kNothing ? 1 : 2;
    // A LUT into a blending space writes that space's signal, which cICP can name.
    Cicp outputCicp{kPrimariesBt2020, static_cast<uint8_t>(lut.output == Signal::kHlg ? kTransferHlg : kTransferPq),
                    0, 1};
    const bool labelled = lut.output != Signal::kPanel && beside != Beside::kPlainClip &&
                          (beside == Beside::kNothing || second->output == lut.output);
    PngWriter writer(image.width() * sides, image.height(), labelled ? &outputCicp : nullptr);
    std::vector<uint16_t> in;
    std::vector<uint16_t> out(width * 3 * sides);
    for (int y = 0; y < image.height(); ++y) {
        image.readRow(in);
        applyRow(lut, in, out.data(), width);
        if (beside == Beside::kPlainClip) clipRow(lut, input, in, out.data() + width * 3, width);
        if (beside == Beside::kSecondLut) applyRow(*second, in, out.data() + width * 3, width);
        writer.writeRow(out);
        rowsDone(y + 1);
    }
    return writer.finish();
}

}  // namespace hdrtm::tool
