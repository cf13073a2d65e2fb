#include "playback/lut_data.h"

namespace hdrtm::tool {

std::array<float, 3> Lut3d::normalised(int index) const {
    const float scale = static_cast<float>(maxCode());
    const auto& c = codes[index];
    return {static_cast<float>(c[0]) / scale, static_cast<float>(c[1]) / scale,
            static_cast<float>(c[2]) / scale};
}

const char* signalName(Signal s) {
    switch (s) {
        case Signal::kPq: return "pq";
        case Signal::kHlg: return "hlg";
        case Signal::kSdr: return "sdr";
        case Signal::kPanel: return "panel";
    }
    return "?";
}

const char* signalLabel(Signal s) {
    switch (s) {
        case Signal::kPq: return "PQ";
        case Signal::kHlg: return "HLG";
        case Signal::kSdr: return "SDR";
        case Signal::kPanel: return "panel";
    }
    return "?";
}

bool parseSignal(const std::string& name, Signal* out) {
    for (Signal s : {Signal::kPq, Signal::kHlg, Signal::kSdr, Signal::kPanel}) {
        if (name == signalName(s)) {
            *out = s;
            return true;
        }
    }
    return false;
}

const char* colorModeName(uint32_t mode) {
    static const char* const kNames[] = {"sRGB", "BT709", "ADOBE", "DCIP3", "BT2020"};
    return mode < 5 ? kNames[mode] : "unknown";
}

}  // namespace hdrtm::tool
