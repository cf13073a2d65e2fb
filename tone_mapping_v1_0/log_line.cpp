// Log lines put together without printf.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "tm_common.h"

namespace hdrtm {

namespace {

constexpr uint64_t kMicroUnits = 1000000;  // %f's six decimals
constexpr int kDoubleFractionBits = 52;
constexpr int kDoubleExponentBias = 1075;  // bias 1023 plus the 52 fraction bits
constexpr uint64_t kDoubleFractionMask = (uint64_t{1} << kDoubleFractionBits) - 1;
constexpr uint32_t kDoubleExponentMask = 0x7FF;

// |value| x 10^6 rounded to the nearest integer, ties to even, as printf
// rounds %f: exact, from the bits. False for infinities, NaN and values too
// large for 64 bits, which printf formats instead.
bool microUnits(double value, uint64_t* rounded) {
    const uint64_t bits = std::bit_cast<uint64_t>(value);
    const uint32_t biased =
        static_cast<uint32_t>(bits >> kDoubleFractionBits) & kDoubleExponentMask;
    if (biased == kDoubleExponentMask) return false;
    uint64_t mantissa = bits & kDoubleFractionMask;
    if (biased != 0) mantissa |= uint64_t{1} << kDoubleFractionBits;
    // |value| = mantissa x 2^exponent.
    const int exponent = (biased == 0 ? 1 : static_cast<int>(biased)) - kDoubleExponentBias;
    const unsigned __int128 scaled = static_cast<unsigned __int128>(mantissa) * kMicroUnits;
    if (exponent >= 0) {
        // Whole already; printf takes what does not fit 64 bits after the shift.
        if (exponent > 63 || (scaled >> (64 - exponent)) != 0) return false;
        *rounded = static_cast<uint64_t>(scaled << exponent);
        return true;
    }
    const int shift = -exponent;
    if (shift >= 127) {  // below half a millionth
        *rounded = 0;
        return true;
    }
    const unsigned __int128 whole = scaled >> shift;
    const unsigned __int128 remainder = scaled - (whole << shift);
    const unsigned __int128 half = static_cast<unsigned __int128>(1) << (shift - 1);
    const bool up = remainder > half || (remainder == half && (whole & 1) != 0);
    const unsigned __int128 result = whole + (up ? 1 : 0);
    if ((result >> 64) != 0) return false;
    *rounded = static_cast<uint64_t>(result);
    return true;
}

char* appendDigits(char* end, uint64_t value, int minimumDigits) {
    char digits[20];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10u);
        value /= 10u;
    } while (value != 0 || count < minimumDigits);
    while (count > 0) *end++ = digits[--count];
    return end;
}

}  // namespace

bool logLineWanted(int priority) {
    return __android_log_is_loggable(priority, kLogTag, ANDROID_LOG_VERBOSE) != 0;
}

void appendText(LogLine& line, std::string_view text) {
    const size_t room = sizeof(line.text) - 1 - line.length;
    const size_t n = text.size() < room ? text.size() : room;
    std::memcpy(line.text + line.length, text.data(), n);
    line.length += n;
}

void appendInteger(LogLine& line, int32_t value) {
    char digits[24];  // room for appendDigits' 20
    char* end = digits;
    if (value < 0) *end++ = '-';
    const uint32_t magnitude =
        value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    end = appendDigits(end, magnitude, 1);
    appendText(line, {digits, static_cast<size_t>(end - digits)});
}

void appendFixed(LogLine& line, double value) {
    uint64_t micro = 0;
    if (!microUnits(value, &micro)) {
        char formatted[400];  // the largest double has 309 digits before the point
        const int n = std::snprintf(formatted, sizeof(formatted), "%f", value);
        const size_t length = std::min(static_cast<size_t>(n), sizeof(formatted) - 1);
        if (n > 0) appendText(line, {formatted, length});
        return;
    }
    char digits[40];
    char* end = digits;
    if (std::signbit(value)) *end++ = '-';
    end = appendDigits(end, micro / kMicroUnits, 1);
    *end++ = '.';
    end = appendDigits(end, micro % kMicroUnits, 6);
    appendText(line, {digits, static_cast<size_t>(end - digits)});
}

void writeLogLine(int priority, LogLine& line) {
    line.text[line.length] = '\0';
    __android_log_write(priority, kLogTag, line.text);
}

}  // namespace hdrtm
