#include "drawing/tone_curve_plot.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "drawing/plot_canvas.h"
#include "files/output_files.h"
#include "number_text.h"
#include "tm_stages.h"

namespace hdrtm::tool {
namespace {

constexpr int kCurveGridSize = 17;                 // yTM evaluates grid_size^3 samples
constexpr int kCurveSamples = kCurveGridSize * kCurveGridSize * kCurveGridSize;
constexpr double kNitsPerUnit = 10000.0;           // linear light 1.0 = 10000 cd/m2
constexpr double kPlotMinNits = 1e-3;              // plot range, both axes
constexpr double kPlotMaxNits = 1e4;
constexpr int kWidth = 780;
constexpr int kHeight = 540;
constexpr float kLeft = 80.0f;
constexpr float kRight = 250.0f;   // room for the legend
constexpr float kTop = 64.0f;
constexpr float kBottom = 60.0f;

constexpr Rgb8 kAxisColour = {40, 40, 40};
constexpr Rgb8 kGridColour = {225, 225, 225};
constexpr Rgb8 kIdentityColour = {170, 170, 170};
constexpr Rgb8 kBlackColour = {90, 60, 160};
constexpr Rgb8 kPeakColour = {200, 60, 40};
constexpr Rgb8 kParametricColour = {20, 100, 200};
constexpr Rgb8 kTableColour = {230, 130, 0};
constexpr Rgb8 kPointColour = {150, 70, 0};

std::vector<std::pair<double, double>> sample(TMParams p) {
    std::vector<float> in(kCurveSamples);
    std::vector<float> out(kCurveSamples);
    const double logMin = std::log10(kPlotMinNits);
    const double logMax = std::log10(kPlotMaxNits);
    for (int i = 0; i < kCurveSamples; ++i) {
        const double nits = std::pow(10.0, logMin + (logMax - logMin) * i / (kCurveSamples - 1));
        in[i] = static_cast<float>(nits / kNitsPerUnit);
    }
    p.grid_size = kCurveGridSize;
    p.map_direction = MAP_FORWARD;
    yTM(&p, in.data(), out.data());
    // yTM's output is relative to the panel's range; back to nits.
    const double lmin = std::max(static_cast<double>(p.panel_min_luminance) / kNitsPerUnit, 5e-8);
    const double lmax = static_cast<double>(p.panel_max_luminance) / kNitsPerUnit;
    std::vector<std::pair<double, double>> points;
    for (int i = 0; i < kCurveSamples; i += 16) {
        const double nits = (lmin + static_cast<double>(out[i]) * (lmax - lmin)) * kNitsPerUnit;
        points.emplace_back(static_cast<double>(in[i]) * kNitsPerUnit, nits);
    }
    return points;
}

}  // namespace

CurvePlotData sampleToneCurve(const TMParams& params, const std::string& title) {
    CurvePlotData data;
    data.title = title;
    data.blackNits = params.panel_min_luminance;
    data.peakNits = params.panel_max_luminance;
    TMParams parametric = params;
    parametric.version = 0;
    data.curves.push_back({"parametric", kParametricColour, sample(parametric)});
    if (params.version == 1) {
        TMParams table = params;
        CalCurveLUT(&table);
        data.curves.push_back({"table (used)", kTableColour, sample(table)});
        const int n = std::min(table.curve.num_points, kGridPointsPerAxis);
        for (int i = 0; i < n; ++i) {
            data.controlPoints.emplace_back(std::pow(10.0, table.curve.points_x[i]),
                                            std::pow(10.0, table.curve.points_y[i]));
        }
    } else {
        data.curves.front().label = "parametric (used)";
    }
    return data;
}

std::string curvePlotBytes(const CurvePlotData& data, const std::string& path) {
    std::unique_ptr<Canvas> canvas = makeCanvas(path, kWidth, kHeight);
    if (!canvas) throw std::runtime_error(path + ": the plot is written as .svg or .png");
    const float plotW = kWidth - kLeft - kRight;
    const float plotH = kHeight - kTop - kBottom;
    const auto px = [&](double nits) {
        return static_cast<float>(kLeft + logFraction(nits, kPlotMinNits, kPlotMaxNits) * plotW);
    };
    const auto py = [&](double nits) {
        return static_cast<float>(kTop + plotH - logFraction(nits, kPlotMinNits, kPlotMaxNits) * plotH);
    };
    Canvas& c = *canvas;
    c.text(kWidth / 2.0f, 28.0f, data.title, kAxisColour, Anchor::kMiddle);
    for (double decade = kPlotMinNits; decade <= kPlotMaxNits * 1.001; decade *= 10.0) {
        c.line(px(decade), kTop, px(decade), kTop + plotH, kGridColour, 1.0f);
        c.line(kLeft, py(decade), kLeft + plotW, py(decade), kGridColour, 1.0f);
        c.text(px(decade), kTop + plotH + 20.0f, numberText(decade), kAxisColour, Anchor::kMiddle);
        c.text(kLeft - 8.0f, py(decade) + 5.0f, numberText(decade), kAxisColour, Anchor::kEnd);
    }
    c.line(kLeft, kTop + plotH, kLeft + plotW, kTop + plotH, kAxisColour, 1.5f);
    c.line(kLeft, kTop, kLeft, kTop + plotH, kAxisColour, 1.5f);
    c.text(kLeft + plotW / 2.0f, kHeight - 14.0f, "content luminance in (nits, cd/m²)", kAxisColour,
           Anchor::kMiddle);
    c.text(12.0f, kTop - 14.0f, "panel luminance out (nits, cd/m²)", kAxisColour, Anchor::kStart);
    c.line(px(kPlotMinNits), py(kPlotMinNits), px(kPlotMaxNits), py(kPlotMaxNits), kIdentityColour,
           1.0f, true);
    c.line(kLeft, py(data.peakNits), kLeft + plotW, py(data.peakNits), kPeakColour, 1.0f, true);
    c.line(kLeft, py(data.blackNits), kLeft + plotW, py(data.blackNits), kBlackColour, 1.0f, true);
    for (const CurveSeries& s : data.curves) {
        std::vector<std::pair<float, float>> points;
        for (const auto& [x, y] : s.points) points.emplace_back(px(x), py(y));
        c.polyline(points, s.colour, 2.0f);
    }
    for (const auto& [x, y] : data.controlPoints) {
        if (x >= kPlotMinNits && y >= kPlotMinNits) c.dot(px(x), py(y), 3.5f, kPointColour);
    }

    float legendY = kTop + 10.0f;
    const float legendX = kLeft + plotW + 16.0f;
    const auto legend = [&](Rgb8 colour, const std::string& label, bool dashed) {
        c.line(legendX, legendY - 4.0f, legendX + 22.0f, legendY - 4.0f, colour, 2.0f, dashed);
        c.text(legendX + 28.0f, legendY, label, kAxisColour, Anchor::kStart);
        legendY += 22.0f;
    };
    for (const CurveSeries& s : data.curves) legend(s.colour, s.label, false);
    if (!data.controlPoints.empty()) {
        c.dot(legendX + 11.0f, legendY - 4.0f, 3.5f, kPointColour);
        c.text(legendX + 28.0f, legendY, "control points", kAxisColour, Anchor::kStart);
        legendY += 22.0f;
    }
    legend(kPeakColour, "peak " + numberText(data.peakNits) + " nits", true);
    legend(kBlackColour, "black " + numberText(data.blackNits) + " nits", true);
    legend(kIdentityColour, "output = input", true);
    return c.encode();
}

void writeCurvePlot(const CurvePlotData& data, const std::string& path) {
    writeFileAtomically(path, curvePlotBytes(data, path));
}

}  // namespace hdrtm::tool
