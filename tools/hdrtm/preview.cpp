#include "preview.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "number_text.h"
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

constexpr int kBandHeight = 28;
constexpr int kBandGap = 6;
constexpr int kScaleHeight = 30;     // nit scale under the grey ramp
constexpr int kLabelWidth = 118;
constexpr int kSideGap = 16;
constexpr int kMargin = 10;
constexpr int kHeaderHeight = 62;
constexpr double kTitleSize = 15.0;  // pixels
constexpr double kLabelSize = 12.0;
constexpr double kTickSize = 10.0;
constexpr double kTickLength = 5.0;
constexpr Rgb8 kBackground = {32, 32, 32};
constexpr Rgb8 kTextColour = {230, 230, 230};
// Grey levels marked on the nit scale.
constexpr double kScaleNits[] = {0.1, 1, 10, 100, 1000, 10000};

enum class BandKind { kGrey, kColour, kHues };

struct Band {
    const char* label;
    BandKind kind;
    std::array<float, 3> colour;  // ramp direction for kColour; level for kHues
};

constexpr Band kBands[] = {
    {"grey", BandKind::kGrey, {1, 1, 1}},     {"red", BandKind::kColour, {1, 0, 0}},
    {"green", BandKind::kColour, {0, 1, 0}},  {"blue", BandKind::kColour, {0, 0, 1}},
    {"cyan", BandKind::kColour, {0, 1, 1}},   {"magenta", BandKind::kColour, {1, 0, 1}},
    {"yellow", BandKind::kColour, {1, 1, 0}}, {"hues", BandKind::kHues, {1, 1, 1}},
    {"hues 50%", BandKind::kHues, {0.5f, 0.5f, 0.5f}},
};

const char* signalLabel(Signal s) {
    switch (s) {
        case Signal::kPq: return "PQ";
        case Signal::kHlg: return "HLG";
        case Signal::kSdr: return "SDR";
        case Signal::kPanel: return "panel";
    }
    return "?";
}

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

namespace {

// Display light in nits of a grey input signal `u` of `s`.
double greyNits(double u, Signal s) { return decodeToNits({float(u), float(u), float(u)}, s)[1]; }

// Tick marks and labels in nits under a grey ramp of signal `s`, and the
// panel's peak where the signal reaches it.
void drawNitScale(cairo_t* cr, double x0, double y, int width, Signal s, float panelPeak) {
    const double top = greyNits(1.0, s);
    const auto xAt = [&](double nits) { return x0 + encodeGrey(nits, s) * (width - 1); };
    setColour(cr, kTextColour);
    cairo_set_line_width(cr, 1.0);
    for (double nits : kScaleNits) {
        if (nits > top * 1.001) break;
        const double x = std::round(xAt(nits)) + 0.5;
        cairo_move_to(cr, x, y);
        cairo_line_to(cr, x, y + kTickLength);
        cairo_stroke(cr);
        // The top label ends at the ramp's end, clear of the other side.
        const Anchor anchor = nits > top * 0.999 ? Anchor::kEnd : Anchor::kMiddle;
        drawText(cr, anchor == Anchor::kEnd ? x0 + width : x, y + kTickLength + kTickSize, numberText(nits),
                 kTextColour, anchor, kTickSize);
    }
    if (panelPeak < top) {
        const double x = std::round(xAt(panelPeak)) + 0.5;
        setColour(cr, kPeakMarkerColour);
        cairo_set_line_width(cr, 2.0);
        cairo_move_to(cr, x, y - kBandHeight);
        cairo_line_to(cr, x, y + kTickLength);
        cairo_stroke(cr);
        // The label reads away from the ramp's nearer end.
        const bool leftHalf = x < x0 + width / 2.0;
        drawText(cr, leftHalf ? x + 3 : x - 3, y + kTickLength + 2 * kTickSize + 2,
                 "panel peak " + numberText(panelPeak) + " nits", kPeakMarkerColour,
                 leftHalf ? Anchor::kStart : Anchor::kEnd, kTickSize);
    }
}

}  // namespace

std::unique_ptr<Raster> renderPreview(const CubeTable& table, const std::string& title, int halfWidth) {
    const int bandCount = static_cast<int>(std::size(kBands));
    const int width = kLabelWidth + 2 * halfWidth + kSideGap + kMargin;
    const int height = kHeaderHeight + bandCount * (kBandHeight + kBandGap) + kScaleHeight + kMargin;
    auto raster = std::make_unique<Raster>(width, height, kBackground);
    cairo_t* cr = raster->context();
    drawText(cr, kMargin, 22, title, kTextColour, Anchor::kStart, kTitleSize, true);
    const int rightX = kLabelWidth + halfWidth + kSideGap;
    const std::string input = signalLabel(table.input);
    drawText(cr, kLabelWidth, 48,
             "through the LUT (" + input + " to " + signalLabel(table.output) + ")", kTextColour,
             Anchor::kStart, kLabelSize);
    drawText(cr, rightX, 48, "plain clip to the " + numberText(table.panel.peakNits) + "-nit panel",
             kTextColour, Anchor::kStart, kLabelSize);
    const bool sdrInput = table.input == Signal::kSdr;
    int y0 = kHeaderHeight;
    for (const Band& band : kBands) {
        std::vector<std::array<float, 3>> signal(halfWidth);
        for (int x = 0; x < halfWidth; ++x) {
            const float u = static_cast<float>(x) / static_cast<float>(halfWidth - 1);
            switch (band.kind) {
                case BandKind::kGrey: signal[x] = {u, u, u}; break;
                case BandKind::kColour:
                    signal[x] = {band.colour[0] * u, band.colour[1] * u, band.colour[2] * u};
                    break;
                case BandKind::kHues: {
                    const auto h = hue(u);
                    signal[x] = {h[0] * band.colour[0], h[1] * band.colour[1], h[2] * band.colour[2]};
                    break;
                }
            }
        }
        std::vector<Rgb8> lutSide(halfWidth);
        std::vector<std::array<double, 3>> lutNits(halfWidth);
        std::vector<std::array<double, 3>> sourceNits(halfWidth);
        for (int x = 0; x < halfWidth; ++x) {
            const auto out = lookUp(table, signal[x]);
            if (table.output == Signal::kPanel) {
                lutSide[x] = {toByte(out[0]), toByte(out[1]), toByte(out[2])};
            } else {
                lutNits[x] = decodeToNits(out, table.output);
            }
            sourceNits[x] = decodeToNits(signal[x], table.input);
        }
        // A LUT into a blending space is shown as that space's light on the panel.
        if (table.output != Signal::kPanel) lutSide = plainClip(lutNits, false, table.panel);
        const std::vector<Rgb8> clipSide = plainClip(sourceNits, sdrInput, table.panel);
        drawText(cr, kMargin, y0 + kBandHeight / 2.0 + 4, input + " " + band.label, kTextColour,
                 Anchor::kStart, kLabelSize);
        for (int y = y0; y < y0 + kBandHeight; ++y) {
            raster->putRow(kLabelWidth, y, lutSide.data(), halfWidth);
            raster->putRow(rightX, y, clipSide.data(), halfWidth);
        }
        y0 += kBandHeight;
        if (band.kind == BandKind::kGrey) {
            drawText(cr, kMargin, y0 + kTickLength + kTickSize + 1, "nits", kTextColour, Anchor::kStart,
                     kTickSize);
            drawNitScale(cr, kLabelWidth, y0 + 1, halfWidth, table.input, table.panel.peakNits);
            drawNitScale(cr, rightX, y0 + 1, halfWidth, table.input, table.panel.peakNits);
            y0 += kScaleHeight;
        }
        y0 += kBandGap;
    }
    return raster;
}

}  // namespace hdrtm::tool
