#include "plot_canvas.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace hdrtm::tool {
namespace {

constexpr int kPngTextScale = 2;      // pixel-font magnification in PNG plots
constexpr int kPngGlyphAdvance = 6;   // font cell width before scaling
constexpr int kPngGlyphHeight = 7;

std::string hex(Rgb8 c) {
    char buffer[8];
    std::snprintf(buffer, sizeof(buffer), "#%02x%02x%02x", c[0], c[1], c[2]);
    return buffer;
}

std::string escaped(const std::string& s) {
    std::string out;
    for (char c : s) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out += c;
        }
    }
    return out;
}

class SvgCanvas : public Canvas {
public:
    SvgCanvas(int w, int h) : width_(w), height_(h) { body_ << std::setprecision(5); }

    void line(float x0, float y0, float x1, float y1, Rgb8 colour, float width,
              bool dashed) override {
        body_ << "<line x1=\"" << x0 << "\" y1=\"" << y0 << "\" x2=\"" << x1 << "\" y2=\"" << y1
              << "\" stroke=\"" << hex(colour) << "\" stroke-width=\"" << width << "\""
              << (dashed ? " stroke-dasharray=\"6 4\"" : "") << "/>\n";
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
              << "\" text-anchor=\"" << a << "\">" << escaped(s) << "</text>\n";
    }
    void save(const std::string& path) override {
        std::ofstream out(path);
        if (!out) throw std::runtime_error(path + ": cannot write: " + std::strerror(errno));
        out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width_ << "\" height=\""
            << height_ << "\" viewBox=\"0 0 " << width_ << " " << height_
            << "\" font-family=\"sans-serif\" font-size=\"13\">\n"
            << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
            << body_.str() << "</svg>\n";
        out.flush();
        if (!out) throw std::runtime_error(path + ": write failed");
    }

private:
    int width_;
    int height_;
    std::ostringstream body_;
};

class PngCanvas : public Canvas {
public:
    PngCanvas(int w, int h) : image_(w, h) {}

    void line(float x0, float y0, float x1, float y1, Rgb8 colour, float width,
              bool dashed) override {
        const int pen = std::max(1, static_cast<int>(std::lround(width)));
        if (!dashed) {
            image_.line(x0, y0, x1, y1, colour, pen);
            return;
        }
        constexpr float kDash = 6.0f;
        constexpr float kGap = 4.0f;
        const float length = std::hypot(x1 - x0, y1 - y0);
        for (float s = 0.0f; s < length; s += kDash + kGap) {
            const float e = std::min(length, s + kDash);
            image_.line(x0 + (x1 - x0) * s / length, y0 + (y1 - y0) * s / length,
                        x0 + (x1 - x0) * e / length, y0 + (y1 - y0) * e / length, colour, pen);
        }
    }
    void polyline(const std::vector<std::pair<float, float>>& points, Rgb8 colour,
                  float width) override {
        for (size_t i = 1; i < points.size(); ++i) {
            line(points[i - 1].first, points[i - 1].second, points[i].first, points[i].second, colour,
                 width, false);
        }
    }
    void rect(float x, float y, float w, float h, Rgb8 colour) override {
        image_.fillRect(static_cast<int>(x), static_cast<int>(y), static_cast<int>(std::lround(w)),
                        static_cast<int>(std::lround(h)), colour);
    }
    void dot(float x, float y, float radius, Rgb8 colour) override {
        const int r = static_cast<int>(std::ceil(radius));
        for (int j = -r; j <= r; ++j) {
            for (int i = -r; i <= r; ++i) {
                if (static_cast<float>(i * i + j * j) <= radius * radius) {
                    image_.set(static_cast<int>(std::lround(x)) + i, static_cast<int>(std::lround(y)) + j,
                               colour);
                }
            }
        }
    }
    void text(float x, float y, const std::string& s, Rgb8 colour, Anchor anchor) override {
        const int width = static_cast<int>(s.size()) * kPngGlyphAdvance * kPngTextScale;
        int left = static_cast<int>(x);
        if (anchor == Anchor::kMiddle) left -= width / 2;
        if (anchor == Anchor::kEnd) left -= width;
        image_.text(left, static_cast<int>(y) - kPngGlyphHeight * kPngTextScale + 1, s, colour,
                    kPngTextScale);
    }
    void save(const std::string& path) override { writePng(path, image_); }

private:
    Image image_;
};

bool endsWith(const std::string& s, const std::string& suffix) {
    return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

std::unique_ptr<Canvas> makeCanvas(const std::string& path, int width, int height) {
    if (endsWith(path, ".svg")) return std::make_unique<SvgCanvas>(width, height);
    if (endsWith(path, ".png")) return std::make_unique<PngCanvas>(width, height);
    return nullptr;
}

}  // namespace hdrtm::tool
