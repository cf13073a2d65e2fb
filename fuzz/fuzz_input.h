// A fuzz input read front to back as typed values. Past the end every read
// gives zero, so any input, even an empty one, describes a complete case, and
// a seed can be written by hand as the fields in the order the harness reads
// them (little-endian).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace hdrtm_fuzz {

class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    template <typename T>
    T take() {
        T value{};
        const size_t n = std::min(sizeof(T), size_ - offset_);
        if (n > 0) std::memcpy(&value, data_ + offset_, n);
        offset_ += n;
        return value;
    }

    // Fills `bytes` raw bytes of `out`; zero past the end of the input.
    void fill(void* out, size_t bytes) {
        const size_t n = std::min(bytes, size_ - offset_);
        if (n > 0) std::memcpy(out, data_ + offset_, n);
        if (bytes > n) std::memset(static_cast<uint8_t*>(out) + n, 0, bytes - n);
        offset_ += n;
    }

    // One byte as an index below `count` (count > 0).
    unsigned int pick(unsigned int count) { return take<uint8_t>() % count; }

    // One byte, then a 32-bit value: a byte below `marker` stands for itself
    // modulo `small`, any other byte reads a raw 32-bit value. Keeps the
    // meaningful small codes easy to reach and still tries every value.
    uint32_t smallOrRaw(unsigned int small, uint8_t marker = 0xF0) {
        const uint8_t b = take<uint8_t>();
        return b < marker ? b % small : take<uint32_t>();
    }

    // Everything not yet read.
    std::string_view rest() {
        std::string_view r(reinterpret_cast<const char*>(data_) + offset_, size_ - offset_);
        offset_ = size_;
        return r;
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t offset_ = 0;
};

}  // namespace hdrtm_fuzz
