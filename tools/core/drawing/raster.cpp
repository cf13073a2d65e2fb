#include "drawing/raster.h"

#include <cairo-ft.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstring>
#include <stdexcept>

namespace hdrtm::tool {
namespace {

constexpr double kByteScale = 255.0;
// Debian's fonts-dejavu-core, loaded by file rather than through fontconfig,
// so every machine draws the same glyphs.
constexpr const char* kFontFiles[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                      "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"};

struct Fonts {
    FT_Library library = nullptr;
    cairo_font_face_t* faces[2] = {};  // regular, bold
};

Fonts& fonts() {
    static Fonts loaded;
    return loaded;
}

// The regular or bold face, loaded on first use; cairo frees the FreeType
// face with its own.
cairo_font_face_t* fontFace(bool bold) {
    Fonts& f = fonts();
    cairo_font_face_t*& face = f.faces[bold ? 1 : 0];
    if (face != nullptr) return face;
    const char* file = kFontFiles[bold ? 1 : 0];
    FT_Face ftFace = nullptr;
    if ((f.library == nullptr && FT_Init_FreeType(&f.library) != 0) ||
        FT_New_Face(f.library, file, 0, &ftFace) != 0) {
        throw std::runtime_error(std::string("cannot load the font ") + file + " (Debian fonts-dejavu-core)");
    }
    face = cairo_ft_font_face_create_for_ft_face(ftFace, 0);
    static const cairo_user_data_key_t kFtFaceKey{};
    cairo_font_face_set_user_data(face, &kFtFaceKey, ftFace,
                                  [](void* p) { FT_Done_Face(static_cast<FT_Face>(p)); });
    return face;
}

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
    cairo_set_font_face(cr, fontFace(bold));
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

void releaseDrawingCaches() {
    Fonts& f = fonts();
    for (cairo_font_face_t*& face : f.faces) {
        if (face != nullptr) cairo_font_face_destroy(face);
        face = nullptr;
    }
    cairo_debug_reset_static_data();  // its caches hold the last references to the faces
    if (f.library != nullptr) FT_Done_FreeType(f.library);
    f.library = nullptr;
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
