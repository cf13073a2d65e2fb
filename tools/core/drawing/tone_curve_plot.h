// The tone curve a tuning produces, sampled through the library's own yTM
// and plotted log-log, input nits against output nits.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "drawing/raster.h"
#include "tm_params.h"

namespace hdrtm::tool {

struct CurveSeries {
    std::string label;
    Rgb8 colour;
    std::vector<std::pair<double, double>> points;  // (input nits, output nits)
};

struct CurvePlotData {
    std::string title;
    double blackNits = 0.0;
    double peakNits = 0.0;
    std::vector<CurveSeries> curves;
    std::vector<std::pair<double, double>> controlPoints;  // table form only
};

// Samples the parametric curve and, when the record selects it (version 1),
// the table curve with its control points. `params` is a loaded or defaulted
// record whose control points are still 10-bit codes.
CurvePlotData sampleToneCurve(const TMParams& params, const std::string& title);

// The plot as the bytes of an SVG or PNG file, chosen by the extension of
// `path`. Throws std::runtime_error for another extension.
std::string curvePlotBytes(const CurvePlotData& data, const std::string& path);
// Writes curvePlotBytes to `path`; throws for a failed write too.
void writeCurvePlot(const CurvePlotData& data, const std::string& path);

}  // namespace hdrtm::tool
