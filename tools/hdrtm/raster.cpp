#include "raster.h"

#include <cstring>
#include <stdexcept>

namespace hdrtm::tool {
namespace {

constexpr double kByteScale = 255.0;

cairo_status_t appendToString(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

}  // namespace

Raster::Raster(int width, int height, Rgb8 background)
    : width_(width), height_(height),
      surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)),
      cr_(cairo_create(surface_)) {
    if (cairo_status(cr_) != CAIRO_STATUS_SUCCESS) {
        const std::string reason = cairo_status_to_string(cairo_status(cr_));
        cairo_destroy(cr_);
        cairo_surface_destroy(surface_);
        throw std::runtime_error("cannot make a " + std::to_string(width) + "x" +
                                 std::to_string(height) + " image: " + reason);
    }
    setColour(cr_, background);
    cairo_paint(cr_);
}

Raster::~Raster() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
}

Rgb8 Raster::pixel(int x, int y) const {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return {0, 0, 0};
    cairo_surface_flush(surface_);
    const unsigned char* row = cairo_image_surface_get_data(surface_) +
                               static_cast<size_t>(y) * cairo_image_surface_get_stride(surface_);
    uint32_t word = 0;
    std::memcpy(&word, row + 4 * x, sizeof(word));  // native-endian 0x00RRGGBB
    return {static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 8),
            static_cast<uint8_t>(word)};
}

void Raster::putRow(int x, int y, const Rgb8* colours, int count) {
    if (y < 0 || y >= height_) return;
    cairo_surface_flush(surface_);
    unsigned char* row = cairo_image_surface_get_data(surface_) +
                         static_cast<size_t>(y) * cairo_image_surface_get_stride(surface_);
    for (int i = 0; i < count; ++i) {
        if (x + i < 0 || x + i >= width_) continue;
        const Rgb8& c = colours[i];
        const uint32_t word = (uint32_t{c[0]} << 16) | (uint32_t{c[1]} << 8) | c[2];
        std::memcpy(row + 4 * (x + i), &word, sizeof(word));
    }
    cairo_surface_mark_dirty(surface_);
}

void setColour(cairo_t* cr, Rgb8 colour) {
    cairo_set_source_rgb(cr, colour[0] / kByteScale, colour[1] / kByteScale, colour[2] / kByteScale);
}

void drawText(cairo_t* cr, double x, double y, const std::string& text, Rgb8 colour, Anchor anchor,
              double size, bool bold) {
    cairo_select_font_face(cr, kFontFamily, CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
    cairo_text_extents_t extents;
    cairo_text_extents(cr, text.c_str(), &extents);
    double left = x;
    if (anchor == Anchor::kMiddle) left = x - extents.x_advance / 2.0;
    if (anchor == Anchor::kEnd) left = x - extents.x_advance;
    setColour(cr, colour);
    cairo_move_to(cr, left, y);
    cairo_show_text(cr, text.c_str());
    cairo_new_path(cr);
}

std::string encodePng(const Raster& raster) {
    std::string bytes;
    cairo_surface_t* surface = cairo_get_target(raster.context());
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface, appendToString, &bytes);
    if (status != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(std::string("cannot encode the PNG: ") + cairo_status_to_string(status));
    }
    return bytes;
}

}  // namespace hdrtm::tool
