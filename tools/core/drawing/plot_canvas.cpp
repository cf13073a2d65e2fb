#include "drawing/plot_canvas.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "files/output_files.h"

namespace hdrtm::tool {
namespace {

constexpr int kFontSize = 13;     // pixels, as the SVG's font-size
constexpr double kDash = 6.0;     // dashed lines: dash and gap in pixels, as the SVG's
constexpr double kGap = 4.0;

std::string hex(Rgb8 c) {
    char buffer[8];
    std::snprintf(buffer, sizeof(buffer), "#%02x%02x%02x", c[0], c[1], c[2]);
    return buffer;
}

class SvgCanvas : public Canvas {
public:
    SvgCanvas(int w, int h) : width_(w), height_(h) { body_ << std::setprecision(5); }

    void line(float x0, float y0, float x1, float y1, Rgb8 colour, float width,
              bool dashed) override {
        body_ << "<line x1=\"" << x0 << "\" y1=\"" << y0 << "\" x2=\"" << x1 << "\" y2=\"" << y1
              << "\" stroke=\"" << hex(colour) << "\" stroke-width=\"" << width << "\""
              << (dashed ? " stroke-dasharray=\"" + std::to_string(int(kDash)) + " " +
                               std::to_string(int(kGap)) + "\""
                         : std::string())
              << "/>\n";
    }
    void polyline(const std::vector<std::pair<float, float>>& points, Rgb8 colour,
                  float width) override {
        body_ << "<polyline fill=\"none\" stroke=\"" << hex(colour) << "\" stroke-width=\"" << width
              << "\" points=\"";
        for (const auto& [x, y] : points) body_ << x << "," << y << " ";
        body_ << "\"/>\n";
    }
    void rect(float x, float y, float w, float h, Rgb8 colour) override {
        body_ << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << w << "\" height=\"" << h
              << "\" fill=\"" << hex(colour) << "\"/>\n";
    }
    void dot(float x, float y, float radius, Rgb8 colour) override {
        body_ << "<circle cx=\"" << x << "\" cy=\"" << y << "\" r=\"" << radius << "\" fill=\""
              << hex(colour) << "\"/>\n";
    }
    void text(float x, float y, const std::string& s, Rgb8 colour, Anchor anchor) override {
        const char* a = anchor == Anchor::kStart ? "start" : anchor == Anchor::kMiddle ? "middle" : "end";
        body_ << "<text x=\"" << x << "\" y=\"" << y << "\" fill=\"" << hex(colour)
              << "\" text-anchor=\"" << a << "\">" << xmlEscaped(s) << "</text>\n";
    }
    std::string encode() override {
        std::ostringstream out;
        out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width_ << "\" height=\""
            << height_ << "\" viewBox=\"0 0 " << width_ << " " << height_
            << "\" font-family=\"" << kFontFamily << ", sans-serif\" font-size=\"" << kFontSize << "\">\n"
            << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
            << body_.str() << "</svg>\n";
        return out.str();
    }

private:
    int width_;
    int height_;
    std::ostringstream body_;
};

class PngCanvas : public Canvas {
public:
    PngCanvas(int w, int h) : raster_(w, h, {255, 255, 255}), cr_(raster_.context()) {}

    void line(float x0, float y0, float x1, float y1, Rgb8 colour, float width,
              bool dashed) override {
        cairo_move_to(cr_, x0, y0);
        cairo_line_to(cr_, x1, y1);
        stroke(colour, width, dashed);
    }
    void polyline(const std::vector<std::pair<float, float>>& points, Rgb8 colour,
                  float width) override {
        for (const auto& [x, y] : points) cairo_line_to(cr_, x, y);
        stroke(colour, width, false);
    }
    void rect(float x, float y, float w, float h, Rgb8 colour) override {
        cairo_rectangle(cr_, x, y, w, h);
        setColour(cr_, colour);
        cairo_fill(cr_);
    }
    void dot(float x, float y, float radius, Rgb8 colour) override {
        cairo_new_sub_path(cr_);
        cairo_arc(cr_, x, y, radius, 0.0, 2.0 * M_PI);
        setColour(cr_, colour);
        cairo_fill(cr_);
    }
    void text(float x, float y, const std::string& s, Rgb8 colour, Anchor anchor) override {
        drawText(cr_, x, y, s, colour, anchor, kFontSize);
    }
    std::string encode() override { return encodePng(raster_); }

private:
    void stroke(Rgb8 colour, float width, bool dashed) {
        const double dash[] = {kDash, kGap};
        cairo_set_dash(cr_, dash, dashed ? 2 : 0, 0.0);
        cairo_set_line_width(cr_, width);
        cairo_set_line_join(cr_, CAIRO_LINE_JOIN_ROUND);
        setColour(cr_, colour);
        cairo_stroke(cr_);
    }

    Raster raster_;
    cairo_t* cr_;
};

bool endsWith(const std::string& s, const std::string& suffix) {
    return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

double logFraction(double v, double lo, double hi) {
    constexpr double kTiny = 1e-12;  // below every axis; keeps log10 finite
    const double logLo = std::log10(lo);
    const double l = std::log10(std::max(v, kTiny));
    return std::clamp((l - logLo) / (std::log10(hi) - logLo), 0.0, 1.0);
}

std::unique_ptr<Canvas> makeCanvas(const std::string& path, int width, int height) {
    if (endsWith(path, ".svg")) return std::make_unique<SvgCanvas>(width, height);
    if (endsWith(path, ".png")) return std::make_unique<PngCanvas>(width, height);
    return nullptr;
}

}  // namespace hdrtm::tool
