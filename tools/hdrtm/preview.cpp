#include "preview.h"

#include <algorithm>
#include <cmath>

#include "tm_stages.h"

namespace hdrtm::tool {
namespace {

// SMPTE ST 2084 (PQ) constants.
constexpr double kPqM1 = 2610.0 / 16384.0;
constexpr double kPqM2 = 2523.0 / 4096.0 * 128.0;
constexpr double kPqC1 = 3424.0 / 4096.0;
constexpr double kPqC2 = 2413.0 / 4096.0 * 32.0;
constexpr double kPqC3 = 2392.0 / 4096.0 * 32.0;
constexpr double kPqPeakNits = 10000.0;
// ARIB STD-B67 (HLG) constants and the reference display of BT.2100.
constexpr double kHlgA = 0.17883277;
constexpr double kHlgB = 0.28466892;
constexpr double kHlgC = 0.55991073;
constexpr double kHlgPeakNits = 1000.0;
constexpr double kHlgSystemGamma = 1.2;
// BT.2020 luminance weights.
constexpr double kLumaR = 0.2627;
constexpr double kLumaG = 0.678;
constexpr double kLumaB = 0.0593;
// SDR content: sRGB signal with white at 100 nits.
constexpr double kSdrWhiteNits = 100.0;
constexpr double kPreviewGamma = 2.2;  // encoding of the plain clip for viewing

constexpr int kBandHeight = 26;
constexpr int kBandGap = 2;
constexpr int kLabelWidth = 96;
constexpr int kSideGap = 12;
constexpr int kHeaderHeight = 38;
constexpr Rgb8 kBackground = {32, 32, 32};
constexpr Rgb8 kTextColour = {230, 230, 230};

enum class BandKind { kPqGrey, kHlgGrey, kColour, kHues };

struct Band {
    const char* label;
    BandKind kind;
    std::array<float, 3> colour;  // ramp direction for kColour; level for kHues
};

constexpr Band kBands[] = {
    {"PQ GREY", BandKind::kPqGrey, {1, 1, 1}},  {"HLG GREY", BandKind::kHlgGrey, {1, 1, 1}},
    {"RED", BandKind::kColour, {1, 0, 0}},      {"GREEN", BandKind::kColour, {0, 1, 0}},
    {"BLUE", BandKind::kColour, {0, 0, 1}},     {"CYAN", BandKind::kColour, {0, 1, 1}},
    {"MAGENTA", BandKind::kColour, {1, 0, 1}},  {"YELLOW", BandKind::kColour, {1, 1, 0}},
    {"HUES", BandKind::kHues, {1, 1, 1}},       {"HUES 50%", BandKind::kHues, {0.5f, 0.5f, 0.5f}},
};

double srgbEncode(double v) {
    return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
}
double srgbDecode(double v) {
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

// Display light in nits of a grey at `nits`, as a signal of `s`.
float encodeGrey(double nits, Signal s) {
    switch (s) {
        case Signal::kPq: return static_cast<float>(nitsToPq(nits));
        case Signal::kHlg:
            return static_cast<float>(sceneToHlg(
                std::pow(std::min(nits / kHlgPeakNits, 1.0), 1.0 / kHlgSystemGamma)));
        default: return static_cast<float>(srgbEncode(std::min(nits / kSdrWhiteNits, 1.0)));
    }
}

// Signal of `s` to display light in nits, per pixel.
std::array<double, 3> decodeToNits(const std::array<float, 3>& v, Signal s) {
    std::array<double, 3> out{};
    if (s == Signal::kPq) {
        for (int c = 0; c < 3; ++c) out[c] = pqToNits(v[c]);
    } else if (s == Signal::kHlg) {
        for (int c = 0; c < 3; ++c) out[c] = hlgToScene(v[c]);
        const double ys = kLumaR * out[0] + kLumaG * out[1] + kLumaB * out[2];
        const double gain = kHlgPeakNits * std::pow(std::max(ys, 0.0), kHlgSystemGamma - 1.0);
        for (double& e : out) e *= gain;
    } else {
        for (int c = 0; c < 3; ++c) out[c] = srgbDecode(std::clamp<double>(v[c], 0.0, 1.0)) * kSdrWhiteNits;
    }
    return out;
}

std::array<float, 3> hue(float u) {
    const float h = u * 6.0f;
    const float f = h - std::floor(h);
    switch (static_cast<int>(h) % 6) {
        case 0: return {1, f, 0};
        case 1: return {1 - f, 1, 0};
        case 2: return {0, 1, f};
        case 3: return {0, 1 - f, 1};
        case 4: return {f, 0, 1};
        default: return {1, 0, 1 - f};
    }
}

uint8_t toByte(double v) {
    return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
}

// Linear light in nits (BT.2020 primaries, or BT.709 when `bt709`) clipped
// to the panel's peak and encoded for viewing, in the panel's primaries.
std::vector<Rgb8> plainClip(std::vector<std::array<double, 3>> nits, bool bt709, const PanelInfo& panel) {
    const unsigned int n = static_cast<unsigned int>(nits.size());
    std::vector<float> planeData[3];
    for (auto& p : planeData) p.resize(n);
    for (unsigned int i = 0; i < n; ++i) {
        for (int c = 0; c < 3; ++c) planeData[c][i] = static_cast<float>(nits[i][c] / panel.peakNits);
    }
    float* planes[3] = {planeData[0].data(), planeData[1].data(), planeData[2].data()};
    if (bt709) rgb2rgb_conv(planes, BT709_TO_BT2020, n);
    switch (panel.colorMode) {
        case SPACE_SRGB:
        case SPACE_BT709: rgb2rgb_conv(planes, BT2020_TO_BT709, n); break;
        case SPACE_ADOBE: rgb2rgb_conv(planes, BT2020_TO_ADOBE, n); break;
        case SPACE_DCIP3: rgb2rgb_conv(planes, BT2020_TO_P3, n); break;
        default: break;
    }
    std::vector<Rgb8> out(n);
    for (unsigned int i = 0; i < n; ++i) {
        for (int c = 0; c < 3; ++c) {
            const double v = std::clamp(static_cast<double>(planes[c][i]), 0.0, 1.0);
            out[i][c] = toByte(std::pow(v, 1.0 / kPreviewGamma));
        }
    }
    return out;
}

// Segment and fraction of `x` among the sample positions.
std::pair<int, float> locate(const std::vector<float>& pos, float x) {
    const int last = static_cast<int>(pos.size()) - 1;
    x = std::clamp(x, pos.front(), pos.back());
    int i = static_cast<int>(std::upper_bound(pos.begin(), pos.end(), x) - pos.begin()) - 1;
    i = std::clamp(i, 0, last - 1);
    const float span = pos[i + 1] - pos[i];
    return {i, span > 0.0f ? (x - pos[i]) / span : 0.0f};
}

}  // namespace

double pqToNits(double signal) {
    const double p = std::pow(std::clamp(signal, 0.0, 1.0), 1.0 / kPqM2);
    return kPqPeakNits * std::pow(std::max(p - kPqC1, 0.0) / (kPqC2 - kPqC3 * p), 1.0 / kPqM1);
}

double nitsToPq(double nits) {
    const double y = std::pow(std::clamp(nits / kPqPeakNits, 0.0, 1.0), kPqM1);
    return std::pow((kPqC1 + kPqC2 * y) / (1.0 + kPqC3 * y), kPqM2);
}

double hlgToScene(double signal) {
    const double e = std::clamp(signal, 0.0, 1.0);
    return e <= 0.5 ? e * e / 3.0 : (std::exp((e - kHlgC) / kHlgA) + kHlgB) / 12.0;
}

double sceneToHlg(double scene) {
    const double e = std::clamp(scene, 0.0, 1.0);
    return e <= 1.0 / 12.0 ? std::sqrt(3.0 * e) : kHlgA * std::log(12.0 * e - kHlgB) + kHlgC;
}

std::array<float, 3> lookUp(const CubeTable& t, const std::array<float, 3>& rgb) {
    const auto [r, fr] = locate(t.positions, rgb[0]);
    const auto [g, fg] = locate(t.positions, rgb[1]);
    const auto [b, fb] = locate(t.positions, rgb[2]);
    const int n = t.size;
    // Captured by value: clang 14 cannot capture structured bindings.
    const auto at = [&t, n, r = r, g = g, b = b](int dr, int dg,
                                                  int db) -> const std::array<float, 3>& {
        return t.values[((b + db) * n + (g + dg)) * n + (r + dr)];
    };
    // Tetrahedral interpolation, as display hardware does: walk from the
    // cell's first corner to its last along the axes in order of their
    // fractions, so greys stay on the grey axis (trilinear interpolation
    // would bend them through off-axis corners).
    std::array<std::pair<float, int>, 3> steps = {{{fr, 0}, {fg, 1}, {fb, 2}}};
    std::stable_sort(steps.begin(), steps.end(),
                     [](const auto& a, const auto& x) { return a.first > x.first; });
    int offset[3] = {0, 0, 0};
    const std::array<float, 3>* previous = &at(0, 0, 0);
    std::array<float, 3> out = *previous;
    for (const auto& [fraction, axis] : steps) {
        offset[axis] = 1;
        const std::array<float, 3>& corner = at(offset[0], offset[1], offset[2]);
        for (int c = 0; c < 3; ++c) out[c] += fraction * (corner[c] - (*previous)[c]);
        previous = &corner;
    }
    return out;
}

Image renderPreview(const CubeTable& table, const std::string& title, int halfWidth) {
    const int bandCount = static_cast<int>(std::size(kBands));
    const int width = kLabelWidth + 2 * halfWidth + kSideGap;
    const int height = kHeaderHeight + bandCount * (kBandHeight + kBandGap);
    Image image(width, height, kBackground);
    image.text(6, 6, title, kTextColour);
    const int rightX = kLabelWidth + halfWidth + kSideGap;
    image.text(kLabelWidth, 24, std::string("THROUGH THE LUT (") + signalName(table.input) + " TO " +
                                    signalName(table.output) + ")", kTextColour);
    image.text(rightX, 24, "PLAIN CLIP TO THE PANEL", kTextColour);
    const bool sdrInput = table.input == Signal::kSdr;
    for (int bandIndex = 0; bandIndex < bandCount; ++bandIndex) {
        const Band& band = kBands[bandIndex];
        std::vector<std::array<float, 3>> input(halfWidth);
        for (int x = 0; x < halfWidth; ++x) {
            const float u = static_cast<float>(x) / static_cast<float>(halfWidth - 1);
            switch (band.kind) {
                case BandKind::kPqGrey: {
                    const float s = encodeGrey(pqToNits(u), table.input);
                    input[x] = {s, s, s};
                    break;
                }
                case BandKind::kHlgGrey: {
                    const double nits = kHlgPeakNits * std::pow(hlgToScene(u), kHlgSystemGamma);
                    const float s = encodeGrey(nits, table.input);
                    input[x] = {s, s, s};
                    break;
                }
                case BandKind::kColour:
                    input[x] = {band.colour[0] * u, band.colour[1] * u, band.colour[2] * u};
                    break;
                case BandKind::kHues: {
                    const auto h = hue(u);
                    input[x] = {h[0] * band.colour[0], h[1] * band.colour[1], h[2] * band.colour[2]};
                    break;
                }
            }
        }
        std::vector<Rgb8> lutSide(halfWidth);
        std::vector<std::array<double, 3>> lutNits(halfWidth);
        std::vector<std::array<double, 3>> sourceNits(halfWidth);
        for (int x = 0; x < halfWidth; ++x) {
            const auto out = lookUp(table, input[x]);
            if (table.output == Signal::kPanel) {
                lutSide[x] = {toByte(out[0]), toByte(out[1]), toByte(out[2])};
            } else {
                lutNits[x] = decodeToNits(out, table.output);
            }
            sourceNits[x] = decodeToNits(input[x], table.input);
        }
        // A LUT into a blending space is shown as that space's light on the panel.
        if (table.output != Signal::kPanel) lutSide = plainClip(lutNits, false, table.panel);
        const std::vector<Rgb8> clipSide = plainClip(sourceNits, sdrInput, table.panel);
        const int y0 = kHeaderHeight + bandIndex * (kBandHeight + kBandGap);
        image.text(6, y0 + (kBandHeight - 7) / 2, band.label, kTextColour);
        for (int y = y0; y < y0 + kBandHeight; ++y) {
            for (int x = 0; x < halfWidth; ++x) {
                image.set(kLabelWidth + x, y, lutSide[x]);
                image.set(rightX + x, y, clipSide[x]);
            }
        }
    }
    return image;
}

}  // namespace hdrtm::tool
