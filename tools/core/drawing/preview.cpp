#include "drawing/preview.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "colour/color_difference.h"
#include "colour/lut_lookup.h"
#include "colour/signal_light.h"
#include "number_text.h"

namespace hdrtm::tool {
namespace {

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

// Light in nits on BT.2020 primaries clipped plainly to the panel, as the
// panel shows it.
std::vector<Rgb8> plainClip(const std::vector<std::array<double, 3>>& nits, const PanelInfo& panel) {
    std::vector<Rgb8> out;
    for (const auto& v : clipToPanel(nits, panel)) out.push_back({toByte(v[0]), toByte(v[1]), toByte(v[2])});
    return out;
}

// Display light in nits of a grey input signal `u` of `s`.
double greyNits(double u, Signal s) { return signalToNits({float(u), float(u), float(u)}, s)[1]; }

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
                lutNits[x] = signalToNits(out, table.output);
            }
            sourceNits[x] = inputLight(signal[x], table.input);
        }
        // A LUT into a blending space is shown as that space's light on the panel.
        if (table.output != Signal::kPanel) lutSide = plainClip(lutNits, table.panel);
        const std::vector<Rgb8> clipSide = plainClip(sourceNits, table.panel);
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
