// 16-bit RGB PNG images read and written a row at a time, so an image of
// any size passes through in the memory of a few rows. The cICP chunk
// (ITU-T H.273 code points) says what the samples encode.
#pragma once

#include <png.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace hdrtm::tool {

// H.273 code points of a cICP chunk.
struct Cicp {
    uint8_t primaries = 0;
    uint8_t transfer = 0;
    uint8_t matrix = 0;
    uint8_t fullRange = 1;
};

// Colour tags of a PNG beside its cICP chunk: cHRM primaries and a gAMA
// power, for colours cICP has no code for, and text chunks.
struct PngTags {
    bool hasCicp = false;
    Cicp cicp;
    bool hasChromaticities = false;
    double white[2] = {}, red[2] = {}, green[2] = {}, blue[2] = {};  // CIE xy
    double fileGamma = 0.0;  // gAMA: the encoding exponent (1/2.2 for a power of 2.2); 0: none
    std::vector<std::pair<std::string, std::string>> texts;  // tEXt keyword, text
};

// Reads any PNG as 16-bit RGB rows (grey, palette and 8-bit samples are
// converted), with its alpha apart. Throws std::runtime_error naming the
// file and the problem.
class PngReader {
public:
    explicit PngReader(const std::string& path);
    ~PngReader();
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    int width() const { return width_; }
    int height() const { return height_; }
    int sourceBits() const { return sourceBits_; }  // bits per sample in the file
    bool hasCicp() const { return hasCicp_; }
    Cicp cicp() const { return cicp_; }
    // An alpha channel or a transparent colour.
    bool hasAlpha() const { return hasAlpha_; }
    // The next row as width * 3 samples, red first (alpha dropped).
    void readRow(std::vector<uint16_t>& rgb);
    // The same with its alpha, width samples (all opaque without alpha).
    void readRow(std::vector<uint16_t>& rgb, std::vector<uint16_t>& alpha);

private:
    std::string path_;
    FILE* file_ = nullptr;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    int width_ = 0;
    int height_ = 0;
    int sourceBits_ = 0;
    bool hasCicp_ = false;
    bool hasAlpha_ = false;
    Cicp cicp_;
    std::vector<uint16_t> rgba_;  // a row as read, when it has alpha
    std::string error_;
};

// Encodes a 16-bit RGB or RGBA PNG into memory row by row, with colour tags.
// Throws std::runtime_error when libpng fails.
class PngWriter {
public:
    PngWriter(int width, int height, const Cicp* cicp);
    PngWriter(int width, int height, const PngTags& tags, bool alpha);
    ~PngWriter();
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void writeRow(const std::vector<uint16_t>& rgb);
    // For an RGBA writer: width samples of alpha beside the rgb ones.
    void writeRow(const std::vector<uint16_t>& rgb, const std::vector<uint16_t>& alpha);
    // The PNG's bytes, once every row is written.
    std::string finish();

    std::string bytes;  // written so far

private:
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    bool alpha_ = false;
    std::vector<uint16_t> rgba_;
    std::vector<png_text> texts_;  // set up before libpng may jump out of the constructor
    std::string error_;
};

}  // namespace hdrtm::tool
