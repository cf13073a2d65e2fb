// One drawing interface with two back ends, so a plot is drawn once and
// written as SVG (text, scalable) or PNG (anti-aliased raster drawn with cairo).
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "drawing/raster.h"

namespace hdrtm::tool {

class Canvas {
public:
    virtual ~Canvas() = default;
    virtual void line(float x0, float y0, float x1, float y1, Rgb8 colour, float width,
                      bool dashed = false) = 0;
    // Connected segments through `points` (x, y pairs).
    virtual void polyline(const std::vector<std::pair<float, float>>& points, Rgb8 colour,
                          float width) = 0;
    virtual void rect(float x, float y, float w, float h, Rgb8 colour) = 0;
    virtual void dot(float x, float y, float radius, Rgb8 colour) = 0;
    // `y` is the text's baseline.
    virtual void text(float x, float y, const std::string& s, Rgb8 colour, Anchor anchor) = 0;
    // The drawing as the bytes of its file.
    virtual std::string encode() = 0;
};

// Where `v` lies between `lo` and `hi` on a log axis, 0..1 (clamped).
double logFraction(double v, double lo, double hi);

// The back end a file name asks for: ".svg" or ".png". Returns null for any
// other extension.
std::unique_ptr<Canvas> makeCanvas(const std::string& path, int width, int height);

}  // namespace hdrtm::tool
