// An 8-bit RGB raster with the few drawing operations the previews and plots
// need, written as PNG through libpng.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace hdrtm::tool {

using Rgb8 = std::array<uint8_t, 3>;

struct Image {
    Image(int w, int h, Rgb8 background = {255, 255, 255});

    int width;
    int height;
    std::vector<uint8_t> pixels;  // rows top to bottom, RGB

    void set(int x, int y, Rgb8 c);  // ignores points outside the image
    Rgb8 get(int x, int y) const;
    void fillRect(int x, int y, int w, int h, Rgb8 c);
    // A line `thickness` pixels wide (square pen).
    void line(float x0, float y0, float x1, float y1, Rgb8 c, int thickness = 1);
    // Text in a 5x7 pixel font scaled by `scale`; digits, letters, ". -+/"
    // (letters print as capitals).
    void text(int x, int y, const std::string& s, Rgb8 c, int scale = 1);
};

// Writes `image` as an 8-bit RGB PNG. Throws std::runtime_error naming the
// file when it cannot.
void writePng(const std::string& path, const Image& image);

}  // namespace hdrtm::tool
