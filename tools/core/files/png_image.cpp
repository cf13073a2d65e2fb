#include "files/png_image.h"

#include <csetjmp>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace hdrtm::tool {
namespace {

constexpr png_byte kCicpName[] = {'c', 'I', 'C', 'P', '\0'};
constexpr size_t kCicpSize = 4;
constexpr int kMaxDimension = 1 << 20;  // pixels per side read

// libpng reports through these: the message is kept and control returns to
// the setjmp of the call that failed.
void recordError(png_structp png, png_const_charp message) {
    // libpng's stdio reader says only "Read Error" when the file ends early.
    const bool shortRead = std::strcmp(message, "Read Error") == 0;
    *static_cast<std::string*>(png_get_error_ptr(png)) =
        shortRead ? "the file ends before the image does (cut short?)" : message;
    png_longjmp(png, 1);
}
void ignoreWarning(png_structp, png_const_charp) {}

void appendBytes(png_structp png, png_bytep data, png_size_t length) {
    static_cast<PngWriter*>(png_get_io_ptr(png))->bytes.append(reinterpret_cast<const char*>(data), length);
}
void flushNothing(png_structp) {}

}  // namespace

PngReader::PngReader(const std::string& path) : path_(path) {
    file_ = std::fopen(path.c_str(), "rb");
    if (file_ == nullptr) throw std::runtime_error(path + ": cannot read: " + std::strerror(errno));
    png_byte signature[8] = {};
    if (std::fread(signature, 1, sizeof(signature), file_) != sizeof(signature) ||
        png_sig_cmp(signature, 0, sizeof(signature)) != 0) {
        std::fclose(file_);
        throw std::runtime_error(path + ": not a PNG file");
    }
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error_, recordError, ignoreWarning);
    info_ = png_ ? png_create_info_struct(png_) : nullptr;
    if (info_ == nullptr) {
        png_destroy_read_struct(&png_, nullptr, nullptr);
        std::fclose(file_);
        throw std::runtime_error(path + ": out of memory for the PNG reader");
    }
    if (setjmp(png_jmpbuf(png_))) {
        png_destroy_read_struct(&png_, &info_, nullptr);
        std::fclose(file_);
        throw std::runtime_error(path + ": " + error_);
    }
    png_init_io(png_, file_);
    png_set_sig_bytes(png_, sizeof(signature));
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS, kCicpName, 1);
    png_read_info(png_, info_);
    width_ = static_cast<int>(png_get_image_width(png_, info_));
    height_ = static_cast<int>(png_get_image_height(png_, info_));
    sourceBits_ = png_get_bit_depth(png_, info_);
    if (width_ > kMaxDimension || height_ > kMaxDimension) png_error(png_, "the image is larger than 2^20 pixels on a side");
    if (png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE) {
        png_error(png_, "the image is interlaced, which cannot be read a row at a time; save it without interlacing");
    }
    png_unknown_chunkp chunks = nullptr;
    const int count = png_get_unknown_chunks(png_, info_, &chunks);
    for (int i = 0; i < count; ++i) {
        if (std::memcmp(chunks[i].name, kCicpName, 4) == 0 && chunks[i].size == kCicpSize) {
            hasCicp_ = true;
            cicp_ = {chunks[i].data[0], chunks[i].data[1], chunks[i].data[2], chunks[i].data[3]};
        }
    }
    png_set_expand(png_);
    png_set_expand_16(png_);
    png_set_strip_alpha(png_);
    png_set_gray_to_rgb(png_);
    png_set_swap(png_);  // 16-bit samples in host order
    png_read_update_info(png_, info_);
}

PngReader::~PngReader() {
    png_destroy_read_struct(&png_, &info_, nullptr);
    if (file_ != nullptr) std::fclose(file_);
}

void PngReader::readRow(std::vector<uint16_t>& rgb) {
    rgb.resize(static_cast<size_t>(width_) * 3);
    if (setjmp(png_jmpbuf(png_))) throw std::runtime_error(path_ + ": " + error_);
    png_read_row(png_, reinterpret_cast<png_bytep>(rgb.data()), nullptr);
}

PngWriter::PngWriter(int width, int height, const Cicp* cicp) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error_, recordError, ignoreWarning);
    info_ = png_ ? png_create_info_struct(png_) : nullptr;
    if (info_ == nullptr) {
        png_destroy_write_struct(&png_, nullptr);
        throw std::runtime_error("out of memory for the PNG writer");
    }
    if (setjmp(png_jmpbuf(png_))) {
        png_destroy_write_struct(&png_, &info_);
        throw std::runtime_error("cannot encode the PNG: " + error_);
    }
    png_set_write_fn(png_, this, appendBytes, flushNothing);
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 16,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (cicp != nullptr) {
        png_byte data[kCicpSize] = {cicp->primaries, cicp->transfer, cicp->matrix, cicp->fullRange};
        png_unknown_chunk chunk{};
        std::memcpy(chunk.name, kCicpName, sizeof(kCicpName));
        chunk.data = data;
        chunk.size = kCicpSize;
        chunk.location = PNG_HAVE_IHDR;
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS, kCicpName, 1);
        png_set_unknown_chunks(png_, info_, &chunk, 1);
    }
    png_write_info(png_, info_);
    png_set_swap(png_);
}

PngWriter::~PngWriter() { png_destroy_write_struct(&png_, &info_); }

void PngWriter::writeRow(const std::vector<uint16_t>& rgb) {
    if (setjmp(png_jmpbuf(png_))) throw std::runtime_error("cannot encode the PNG: " + error_);
    png_write_row(png_, reinterpret_cast<png_const_bytep>(rgb.data()));
}

std::string PngWriter::finish() {
    if (setjmp(png_jmpbuf(png_))) throw std::runtime_error("cannot encode the PNG: " + error_);
    png_write_end(png_, nullptr);
    return std::move(bytes);
}

}  // namespace hdrtm::tool
