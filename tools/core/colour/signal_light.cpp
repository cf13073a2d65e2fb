#include "colour/signal_light.h"

#include <algorithm>
#include <cmath>

namespace hdrtm::tool {
namespace {

// SMPTE ST 2084 (PQ) constants.
constexpr double kPqM1 = 2610.0 / 16384.0;
constexpr double kPqM2 = 2523.0 / 4096.0 * 128.0;
constexpr double kPqC1 = 3424.0 / 4096.0;
constexpr double kPqC2 = 2413.0 / 4096.0 * 32.0;
constexpr double kPqC3 = 2392.0 / 4096.0 * 32.0;
constexpr double kPqPeakNits = 10000.0;
// ARIB STD-B67 (HLG) constants and the reference display of BT.2100.
constexpr double kHlgA = 0.17883277;
constexpr double kHlgB = 0.28466892;
constexpr double kHlgC = 0.55991073;
constexpr double kHlgPeakNits = 1000.0;
constexpr double kHlgSystemGamma = 1.2;
// SDR content: sRGB signal with white at 100 nits.
constexpr double kSdrWhiteNits = 100.0;

// BT.2020 luminance weights.
constexpr double kLumaR = 0.2627;
constexpr double kLumaG = 0.678;
constexpr double kLumaB = 0.0593;

double srgbEncode(double v) {
    return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
}
double srgbDecode(double v) {
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

}  // namespace

double pqToNits(double signal) {
    const double p = std::pow(std::clamp(signal, 0.0, 1.0), 1.0 / kPqM2);
    return kPqPeakNits * std::pow(std::max(p - kPqC1, 0.0) / (kPqC2 - kPqC3 * p), 1.0 / kPqM1);
}

double nitsToPq(double nits) {
    const double y = std::pow(std::clamp(nits / kPqPeakNits, 0.0, 1.0), kPqM1);
    return std::pow((kPqC1 + kPqC2 * y) / (1.0 + kPqC3 * y), kPqM2);
}

double hlgToScene(double signal) {
    const double e = std::clamp(signal, 0.0, 1.0);
    return e <= 0.5 ? e * e / 3.0 : (std::exp((e - kHlgC) / kHlgA) + kHlgB) / 12.0;
}

double sceneToHlg(double scene) {
    const double e = std::clamp(scene, 0.0, 1.0);
    return e <= 1.0 / 12.0 ? std::sqrt(3.0 * e) : kHlgA * std::log(12.0 * e - kHlgB) + kHlgC;
}

std::array<double, 3> signalToNits(const std::array<float, 3>& v, Signal s) {
    std::array<double, 3> out{};
    if (s == Signal::kPq) {
        for (int c = 0; c < 3; ++c) out[c] = pqToNits(v[c]);
    } else if (s == Signal::kHlg) {
        for (int c = 0; c < 3; ++c) out[c] = hlgToScene(v[c]);
        const double ys = luminance(out);
        const double gain = kHlgPeakNits * std::pow(std::max(ys, 0.0), kHlgSystemGamma - 1.0);
        for (double& e : out) e *= gain;
    } else {
        for (int c = 0; c < 3; ++c) out[c] = srgbDecode(std::clamp<double>(v[c], 0.0, 1.0)) * kSdrWhiteNits;
    }
    return out;
}

float encodeGrey(double nits, Signal s) {
    switch (s) {
        case Signal::kPq: return static_cast<float>(nitsToPq(nits));
        case Signal::kHlg:
            return static_cast<float>(sceneToHlg(
                std::pow(std::min(nits / kHlgPeakNits, 1.0), 1.0 / kHlgSystemGamma)));
        default: return static_cast<float>(srgbEncode(std::min(nits / kSdrWhiteNits, 1.0)));
    }
}

double luminance(const Nits3& rgb) { return kLumaR * rgb[0] + kLumaG * rgb[1] + kLumaB * rgb[2]; }

}  // namespace hdrtm::tool
