// 16-bit RGB PNG images read and written a row at a time, so an image of
// any size passes through in the memory of a few rows. The cICP chunk
// (ITU-T H.273 code points) says what the samples encode.
#pragma once

#include <png.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace hdrtm::tool {

// H.273 code points of a cICP chunk.
struct Cicp {
    uint8_t primaries = 0;
    uint8_t transfer = 0;
    uint8_t matrix = 0;
    uint8_t fullRange = 1;
};

// Reads any PNG as 16-bit RGB rows (grey, palette, alpha and 8-bit samples
// are converted; alpha is dropped). Throws std::runtime_error naming the file
// and the problem.
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
    // The next row as width * 3 samples, red first.
    void readRow(std::vector<uint16_t>& rgb);

private:
    std::string path_;
    FILE* file_ = nullptr;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    int width_ = 0;
    int height_ = 0;
    int sourceBits_ = 0;
    bool hasCicp_ = false;
    Cicp cicp_;
    std::string error_;
};

// Encodes a 16-bit RGB PNG into memory row by row, optionally with a cICP
// chunk. Throws std::runtime_error when libpng fails.
class PngWriter {
public:
    PngWriter(int width, int height, const Cicp* cicp);
    ~PngWriter();
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void writeRow(const std::vector<uint16_t>& rgb);
    // The PNG's bytes, once every row is written.
    std::string finish();

    std::string bytes;  // written so far

private:
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::string error_;
};

}  // namespace hdrtm::tool
