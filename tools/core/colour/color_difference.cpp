#include "colour/color_difference.h"

#include <algorithm>
#include <cmath>

#include "tm_stages.h"

namespace hdrtm::tool {
namespace {

// BT.2100 ICtCp: BT.2020 RGB to LMS, in 4096ths.
constexpr double kRgbToLms[3][3] = {
    {1688.0 / 4096, 2146.0 / 4096, 262.0 / 4096},
    {683.0 / 4096, 2951.0 / 4096, 462.0 / 4096},
    {99.0 / 4096, 309.0 / 4096, 3688.0 / 4096},
};
// BT.2100 ICtCp: PQ-encoded L'M'S' to I, Ct, Cp.
constexpr double kLmsToIctcp[3][3] = {
    {0.5, 0.5, 0.0},
    {6610.0 / 4096, -13613.0 / 4096, 7003.0 / 4096},
    {17933.0 / 4096, -17390.0 / 4096, -543.0 / 4096},
};
constexpr double kItpScale = 720.0;  // BT.2124: ΔE_ITP of 1 is about one JND
constexpr double kItpTWeight = 0.5;  // BT.2124: T = 0.5 Ct

constexpr double kPanelGamma = 2.2;

// Panel signal to light relative to the panel's peak: the inverse of the
// library's output transfer.
double panelSignalToLight(double x, const PanelInfo& panel) {
    x = std::clamp(x, 0.0, 1.0);
    switch (panel.gammaSpace) {
        case GAMMA_LINEAR: return x;
        case GAMMA_2P2: return std::pow(x, kPanelGamma);
        case GAMMA_SRGB: return x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
        case GAMMA_BT709: return x < 0.081 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 1.0 / 0.45);
        case GAMMA_CUSTOM: return std::pow(x, panel.gammaValue);
        default: return x;  // the library applies no transfer for other values
    }
}

double panelLightToSignal(double x, const PanelInfo& panel) {
    x = std::clamp(x, 0.0, 1.0);
    switch (panel.gammaSpace) {
        case GAMMA_LINEAR: return x;
        case GAMMA_2P2: return std::pow(x, 1.0 / kPanelGamma);
        case GAMMA_SRGB: return x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1.0 / 2.4) - 0.055;
        case GAMMA_BT709: return x <= 0.018 ? 4.5 * x : 1.099 * std::pow(x, 0.45) - 0.099;
        case GAMMA_CUSTOM: return std::pow(x, 1.0 / panel.gammaValue);
        default: return x;
    }
}

// Converts planes of light between BT.2020 and the panel's `colorMode`
// primaries in place, either way.
void convertPrimaries(std::vector<float> (&planes)[3], uint32_t colorMode, bool toBt2020) {
    float* p[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    const unsigned int n = static_cast<unsigned int>(planes[0].size());
    switch (colorMode) {
        case SPACE_SRGB:
        case SPACE_BT709: rgb2rgb_conv(p, toBt2020 ? BT709_TO_BT2020 : BT2020_TO_BT709, n); break;
        case SPACE_ADOBE: rgb2rgb_conv(p, toBt2020 ? ADOBE_TO_BT2020 : BT2020_TO_ADOBE, n); break;
        case SPACE_DCIP3: rgb2rgb_conv(p, toBt2020 ? P3_TO_BT2020 : BT2020_TO_P3, n); break;
        default: break;
    }
}

}  // namespace

std::vector<std::array<float, 3>> clipToPanel(const std::vector<Nits3>& light, const PanelInfo& panel) {
    std::vector<float> planes[3];
    for (auto& p : planes) p.resize(light.size());
    for (size_t i = 0; i < light.size(); ++i) {
        for (int c = 0; c < 3; ++c) planes[c][i] = static_cast<float>(light[i][c] / panel.peakNits);
    }
    convertPrimaries(planes, panel.colorMode, false);
    std::vector<std::array<float, 3>> out(light.size());
    for (size_t i = 0; i < light.size(); ++i) {
        for (int c = 0; c < 3; ++c) out[i][c] = static_cast<float>(panelLightToSignal(planes[c][i], panel));
    }
    return out;
}

Ictcp ictcpFromNits(const Nits3& rgb) {
    double lms[3];
    for (int k = 0; k < 3; ++k) {
        const double linear =
            kRgbToLms[k][0] * rgb[0] + kRgbToLms[k][1] * rgb[1] + kRgbToLms[k][2] * rgb[2];
        lms[k] = nitsToPq(std::max(linear, 0.0));
    }
    double out[3];
    for (int k = 0; k < 3; ++k) {
        out[k] = kLmsToIctcp[k][0] * lms[0] + kLmsToIctcp[k][1] * lms[1] + kLmsToIctcp[k][2] * lms[2];
    }
    return {out[0], out[1], out[2]};
}

double deltaEItp(const Ictcp& a, const Ictcp& b) {
    const double di = a.i - b.i;
    const double dt = kItpTWeight * (a.ct - b.ct);
    const double dp = a.cp - b.cp;
    return kItpScale * std::sqrt(di * di + dt * dt + dp * dp);
}

std::vector<Nits3> outputLight(const std::vector<std::array<float, 3>>& values, Signal output,
                               const PanelInfo& panel) {
    std::vector<Nits3> out(values.size());
    if (output != Signal::kPanel) {
        for (size_t i = 0; i < values.size(); ++i) out[i] = signalToNits(values[i], output);
        return out;
    }
    std::vector<float> planes[3];
    for (auto& p : planes) p.resize(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        for (int c = 0; c < 3; ++c) {
            planes[c][i] = static_cast<float>(panelSignalToLight(values[i][c], panel) * panel.peakNits);
        }
    }
    convertPrimaries(planes, panel.colorMode, true);
    for (size_t i = 0; i < values.size(); ++i) out[i] = {planes[0][i], planes[1][i], planes[2][i]};
    return out;
}

Nits3 inputLight(const std::array<float, 3>& signal, Signal input) {
    const Nits3 nits = signalToNits(signal, input);
    if (input != Signal::kSdr) return nits;
    std::vector<float> planes[3] = {{float(nits[0])}, {float(nits[1])}, {float(nits[2])}};
    convertPrimaries(planes, SPACE_BT709, true);
    return {planes[0][0], planes[1][0], planes[2][0]};
}

}  // namespace hdrtm::tool
