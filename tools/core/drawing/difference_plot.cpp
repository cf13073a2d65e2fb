#include "drawing/difference_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "drawing/plot_canvas.h"
#include "number_text.h"

namespace hdrtm::tool {
namespace {

constexpr int kWidth = 820;
constexpr int kHeight = 500;
constexpr float kLeft = 80.0f;
constexpr float kGreyColumn = 64.0f;  // neutral nodes, left of the hue axis
constexpr float kRight = 130.0f;      // room for the colour scale
constexpr float kTop = 60.0f;
constexpr float kBottom = 60.0f;
constexpr double kMinNits = 1e-3;     // luminance axis, log scale
constexpr double kMaxNits = 1e4;
constexpr double kHueStep = 60.0;     // degrees between hue ticks
constexpr float kDotRadius = 3.0f;
// One colour scale for every picture, log ΔE_ITP from 0.1 (unseen) to 100,
// with one just-noticeable difference (1) marked, so pictures compare.
constexpr double kScaleLowDeltaE = 0.1;
constexpr double kScaleHighDeltaE = 100.0;
constexpr double kJustNoticeable = 1.0;
constexpr double kScaleTicks[] = {0.1, 1.0, 10.0, 100.0};
constexpr int kScaleSteps = 64;       // bands of the colour scale
constexpr Rgb8 kJndColour = {230, 40, 40};
constexpr Rgb8 kAxisColour = {40, 40, 40};
constexpr Rgb8 kGridColour = {225, 225, 225};
// From no difference (dark) to the largest (bright), even in lightness.
constexpr Rgb8 kRamp[] = {{68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}};

Rgb8 rampColour(double t) {
    const int last = static_cast<int>(std::size(kRamp)) - 1;
    const double x = std::clamp(t, 0.0, 1.0) * last;
    const int i = std::min(static_cast<int>(x), last - 1);
    const double f = x - i;
    Rgb8 c;
    for (int k = 0; k < 3; ++k) c[k] = static_cast<uint8_t>(std::lround(kRamp[i][k] + f * (kRamp[i + 1][k] - kRamp[i][k])));
    return c;
}

// Where `deltaE` falls on the colour scale, 0..1.
double scaleFraction(double deltaE) {
    return logFraction(std::clamp(deltaE, kScaleLowDeltaE, kScaleHighDeltaE), kScaleLowDeltaE, kScaleHighDeltaE);
}

std::string number(double v) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.3g", v);
    return text;
}

}  // namespace

std::string differencePlotBytes(const LutDifference& d, const std::string& title, const std::string& path) {
    std::unique_ptr<Canvas> canvas = makeCanvas(path, kWidth, kHeight);
    if (!canvas) throw std::runtime_error(path + ": the plot is written as .svg or .png");
    Canvas& c = *canvas;
    const float hueLeft = kLeft + kGreyColumn;
    const float plotW = kWidth - hueLeft - kRight;
    const float plotH = kHeight - kTop - kBottom;
    const auto py = [&](double nits) {
        return static_cast<float>(kTop + plotH - logFraction(nits, kMinNits, kMaxNits) * plotH);
    };
    const auto px = [&](const NodeDifference& n) {
        return n.neutral ? kLeft + kGreyColumn / 2.0f : static_cast<float>(hueLeft + n.hueDegrees / 360.0 * plotW);
    };
    c.text(kWidth / 2.0f, 24.0f, title, kAxisColour, Anchor::kMiddle);
    c.text(kWidth / 2.0f, 44.0f,
           "ΔE_ITP mean " + number(d.meanDeltaE) + ", 95th percentile " + number(d.p95DeltaE) + ", max " +
               number(d.maxDeltaE) + " (1 ≈ one just-noticeable difference)",
           kAxisColour, Anchor::kMiddle);
    for (double decade = kMinNits; decade <= kMaxNits * 1.001; decade *= 10.0) {
        c.line(kLeft, py(decade), hueLeft + plotW, py(decade), kGridColour, 1.0f);
        c.text(kLeft - 8.0f, py(decade) + 5.0f, numberText(decade), kAxisColour, Anchor::kEnd);
    }
    for (double hue = 0.0; hue <= 360.0; hue += kHueStep) {
        const float x = static_cast<float>(hueLeft + hue / 360.0 * plotW);
        c.line(x, kTop, x, kTop + plotH, kGridColour, 1.0f);
        c.text(x, kTop + plotH + 20.0f, number(hue) + "°", kAxisColour, Anchor::kMiddle);
    }
    c.text(kLeft + kGreyColumn / 2.0f, kTop + plotH + 20.0f, "grey", kAxisColour, Anchor::kMiddle);
    c.line(kLeft, kTop + plotH, hueLeft + plotW, kTop + plotH, kAxisColour, 1.5f);
    c.line(kLeft, kTop, kLeft, kTop + plotH, kAxisColour, 1.5f);
    c.line(hueLeft, kTop, hueLeft, kTop + plotH, kAxisColour, 1.0f);
    c.text(hueLeft + plotW / 2.0f, kHeight - 14.0f, "hue of the input colour (ICtCp, degrees)", kAxisColour,
           Anchor::kMiddle);
    c.text(12.0f, kTop - 4.0f, "input nits", kAxisColour, Anchor::kStart);

    // The largest differences are drawn last, on top.
    std::vector<NodeDifference> nodes = d.nodes;
    std::sort(nodes.begin(), nodes.end(),
              [](const NodeDifference& x, const NodeDifference& y) { return x.deltaE < y.deltaE; });
    for (const NodeDifference& n : nodes) {
        if (n.inputNits < kMinNits) continue;
        c.dot(px(n), py(n.inputNits), kDotRadius, rampColour(scaleFraction(n.deltaE)));
    }

    const float scaleX = hueLeft + plotW + 30.0f;
    const float band = plotH / kScaleSteps;
    for (int i = 0; i < kScaleSteps; ++i) {
        const double t = 1.0 - (i + 0.5) / kScaleSteps;
        c.rect(scaleX, kTop + i * band, 18.0f, band + 0.5f, rampColour(t));
    }
    const auto scaleY = [&](double deltaE) { return static_cast<float>(kTop + (1.0 - scaleFraction(deltaE)) * plotH); };
    for (double tick : kScaleTicks) {
        const std::string label = (tick == kScaleLowDeltaE    ? "≤ "
                                   : tick == kScaleHighDeltaE ? "≥ "
                                                              : "") +
                                  number(tick) + (tick == kJustNoticeable ? " JND" : "");
        c.text(scaleX + 24.0f, scaleY(tick) + 5.0f, label, tick == kJustNoticeable ? kJndColour : kAxisColour,
               Anchor::kStart);
    }
    c.line(scaleX - 4.0f, scaleY(kJustNoticeable), scaleX + 22.0f, scaleY(kJustNoticeable), kJndColour, 2.0f);
    c.text(scaleX, kTop - 8.0f, "ΔE_ITP", kAxisColour, Anchor::kStart);
    return c.encode();
}

}  // namespace hdrtm::tool
