#include "colour/reference_levels.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "apply/apply_image.h"
#include "colour/color_difference.h"
#include "colour/signal_light.h"
#include "files/cube_file.h"

namespace hdrtm::tool {
namespace {

constexpr double kContentLevelsNits[] = {100.0, 203.0, 1000.0};  // BT.2408: 203 is diffuse white
constexpr double kPqTopNits = 10000.0;
constexpr double kHlgTopNits = 1000.0;  // HLG's reference display
constexpr double kSdrGrey = 0.18;       // of SDR white

std::string nitsText(double nits) {
    char text[32];
    std::snprintf(text, sizeof(text), nits < 10.0 ? "%.3g" : "%.0f", nits);
    return text;
}

ReferenceLevel levelAt(const Lut3d& lut, const CubeTable& table, std::string name, double inputNits, float signal) {
    ReferenceLevel level;
    level.name = std::move(name);
    level.inputNits = inputNits;
    level.inputCode = static_cast<uint32_t>(std::lround(std::clamp(signal, 0.0f, 1.0f) * kInputCodeMax));
    level.outputCodes = lookUpCodes(table, {level.inputCode, level.inputCode, level.inputCode});
    const double maxCode = lut.maxCode();
    std::array<float, 3> coded{};
    for (int c = 0; c < 3; ++c) coded[c] = static_cast<float>(level.outputCodes[c] / maxCode);
    level.outputNits = luminance(outputLight({coded}, lut.output, lut.panel)[0]);
    return level;
}

}  // namespace

std::vector<ReferenceLevel> referenceLevels(const Lut3d& lut, double contentPeakNits) {
    const CubeTable table = toCubeTable(lut);
    std::vector<ReferenceLevel> levels;
    if (lut.input == Signal::kSdr) {
        levels.push_back(levelAt(lut, table, kSdrBlackLevel, 0.0, 0.0f));
        const double white = signalToNits({1.0f, 1.0f, 1.0f}, Signal::kSdr)[1];
        levels.push_back(levelAt(lut, table, kSdrGreyLevel, white * kSdrGrey, encodeGrey(white * kSdrGrey, Signal::kSdr)));
        levels.push_back(levelAt(lut, table, kSdrWhiteLevel, white, 1.0f));
        return levels;
    }
    const double top = lut.input == Signal::kHlg ? kHlgTopNits : kPqTopNits;
    const double peak = contentPeakNits > 0.0 ? std::min(contentPeakNits, top) : top;
    for (double nits : kContentLevelsNits) {
        if (nits < peak) levels.push_back(levelAt(lut, table, nitsText(nits) + " nits", nits, encodeGrey(nits, lut.input)));
    }
    levels.push_back(levelAt(lut, table, "peak " + nitsText(peak) + " nits", peak, encodeGrey(peak, lut.input)));
    return levels;
}

std::string levelsText(const std::vector<ReferenceLevel>& levels) {
    std::string text;
    for (const ReferenceLevel& l : levels) {
        const std::string code = std::to_string(l.outputCodes[1]);
        text += text.empty() ? l.name + " → " + nitsText(l.outputNits) + " nits (code " + code + ")"
                             : ", " + l.name + " → " + nitsText(l.outputNits) + " (" + code + ")";
    }
    return text;
}

}  // namespace hdrtm::tool
