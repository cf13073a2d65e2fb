// Anti-aliased raster drawing through cairo, shared by the PNG plots and the
// previews: an RGB surface, text in one proportional font, PNG encoding.
#pragma once

#include <cairo.h>

#include <array>
#include <cstdint>
#include <string>

namespace hdrtm::tool {

using Rgb8 = std::array<uint8_t, 3>;

enum class Anchor { kStart, kMiddle, kEnd };

// The font of every label (the SVG plots name it; rasters load its files).
constexpr const char* kFontFamily = "DejaVu Sans";

// A cairo image surface and its drawing context, owned together.
class Raster {
public:
    Raster(int width, int height, Rgb8 background);
    ~Raster();
    Raster(const Raster&) = delete;
    Raster& operator=(const Raster&) = delete;

    int width() const { return width_; }
    int height() const { return height_; }
    cairo_t* context() const { return cr_; }
    Rgb8 pixel(int x, int y) const;  // black outside the surface
    // One row of `count` pixels from (x, y), drawn without smoothing.
    void putRow(int x, int y, const Rgb8* colours, int count);

private:
    int width_;
    int height_;
    cairo_surface_t* surface_;
    cairo_t* cr_;
};

void setColour(cairo_t* cr, Rgb8 colour);
// Text whose baseline starts, centres or ends at (x, y).
void drawText(cairo_t* cr, double x, double y, const std::string& text, Rgb8 colour, Anchor anchor,
              double size, bool bold = false);

// Frees the fonts and the caches cairo keeps for the life of the process,
// so that leak checkers see only real leaks. Call when done drawing.
void releaseDrawingCaches();

// The surface as PNG bytes. Throws std::runtime_error when cairo cannot
// encode it.
std::string encodePng(const Raster& raster);

}  // namespace hdrtm::tool
