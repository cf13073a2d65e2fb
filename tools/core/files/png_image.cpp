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
    hasAlpha_ = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0 ||
                png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
    png_set_expand(png_);  // a transparent colour (tRNS) becomes alpha
    png_set_expand_16(png_);
    png_set_gray_to_rgb(png_);
    png_set_swap(png_);  // 16-bit samples in host order
    png_read_update_info(png_, info_);
}

PngReader::~PngReader() {
    png_destroy_read_struct(&png_, &info_, nullptr);
    if (file_ != nullptr) std::fclose(file_);
}

void PngReader::readRow(std::vector<uint16_t>& rgb) {
    std::vector<uint16_t> alpha;
    readRow(rgb, alpha);
}

void PngReader::readRow(std::vector<uint16_t>& rgb, std::vector<uint16_t>& alpha) {
    const size_t width = static_cast<size_t>(width_);
    rgb.resize(width * 3);
    alpha.assign(width, UINT16_MAX);
    if (hasAlpha_) rgba_.resize(width * 4);
    png_bytep row = reinterpret_cast<png_bytep>(hasAlpha_ ? rgba_.data() : rgb.data());
    if (setjmp(png_jmpbuf(png_))) throw std::runtime_error(path_ + ": " + error_);
    png_read_row(png_, row, nullptr);
    if (!hasAlpha_) return;
    for (size_t x = 0; x < width; ++x) {
        for (int c = 0; c < 3; ++c) rgb[x * 3 + c] = rgba_[x * 4 + c];
        alpha[x] = rgba_[x * 4 + 3];
    }
}

namespace {
PngTags cicpOnly(const Cicp* cicp) {
    PngTags tags;
    tags.hasCicp = cicp != nullptr;
    if (cicp != nullptr) tags.cicp = *cicp;
    return tags;
}
}  // namespace

PngWriter::PngWriter(int width, int height, const Cicp* cicp) : PngWriter(width, height, cicpOnly(cicp), false) {}

PngWriter::PngWriter(int width, int height, const PngTags& tags, bool alpha)
    : alpha_(alpha), texts_(tags.texts.size()) {
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
                 alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (tags.hasChromaticities) {
        png_set_cHRM(png_, info_, tags.white[0], tags.white[1], tags.red[0], tags.red[1], tags.green[0],
                     tags.green[1], tags.blue[0], tags.blue[1]);
    }
    if (tags.fileGamma > 0.0) png_set_gAMA(png_, info_, tags.fileGamma);
    for (size_t i = 0; i < texts_.size(); ++i) {
        texts_[i].compression = PNG_TEXT_COMPRESSION_NONE;
        texts_[i].key = const_cast<png_charp>(tags.texts[i].first.c_str());
        texts_[i].text = const_cast<png_charp>(tags.texts[i].second.c_str());
    }
    if (!texts_.empty()) png_set_text(png_, info_, texts_.data(), static_cast<int>(texts_.size()));
    if (tags.hasCicp) {
        const Cicp* cicp = &tags.cicp;
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
    if (alpha_) {
        writeRow(rgb, std::vector<uint16_t>(rgb.size() / 3, UINT16_MAX));
        return;
    }
    if (setjmp(png_jmpbuf(png_))) throw std::runtime_error("cannot encode the PNG: " + error_);
    png_write_row(png_, reinterpret_cast<png_const_bytep>(rgb.data()));
}

void PngWriter::writeRow(const std::vector<uint16_t>& rgb, const std::vector<uint16_t>& alpha) {
    if (!alpha_) {
        writeRow(rgb);
        return;
    }
    const size_t width = alpha.size();
    rgba_.resize(width * 4);
    for (size_t x = 0; x < width; ++x) {
        for (int c = 0; c < 3; ++c) rgba_[x * 4 + c] = rgb[x * 3 + c];
        rgba_[x * 4 + 3] = alpha[x];
    }
    if (setjmp(png_jmpbuf(png_))) throw std::runtime_error("cannot encode the PNG: " + error_);
    png_write_row(png_, reinterpret_cast<png_const_bytep>(rgba_.data()));
}

std::string PngWriter::finish() {
    if (setjmp(png_jmpbuf(png_))) throw std::runtime_error("cannot encode the PNG: " + error_);
    png_write_end(png_, nullptr);
    return std::move(bytes);
}

}  // namespace hdrtm::tool
