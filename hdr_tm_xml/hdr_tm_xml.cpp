// Tuning-file loader.
#include "hdr_tm_xml.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "hdr_playback.h"
#include "tm_common.h"

using tinyxml2::XMLElement;

namespace tinyxml2 {

template <>
int as<int>(XMLElement* element, int fallback) {
    return element != nullptr ? element->IntText(fallback) : fallback;
}

template <>
float as<float>(XMLElement* element, float fallback) {
    return element != nullptr ? element->FloatText(fallback) : fallback;
}

}  // namespace tinyxml2

template <typename T>
std::map<std::string, T> HDRXml::InitMap(const std::string& name, T value) {
    std::map<std::string, T> names;
    names[name] = value;
    return names;
}
// Exported instantiations; clang gives them the class's visibility only when
// they say so themselves.
template HDRTM_EXPORT std::map<std::string, HDR_COLOR_SPACE> HDRXml::InitMap(const std::string&,
                                                                             HDR_COLOR_SPACE);
template HDRTM_EXPORT std::map<std::string, OUTPUT_GAMMA_SPACE> HDRXml::InitMap(
    const std::string&, OUTPUT_GAMMA_SPACE);

namespace {

// Name tables, built once at library load and only read afterwards. Names
// are matched exactly; "2p2" and "2d2" both mean power 2.2 on purpose.
const std::map<std::string, HDR_COLOR_SPACE> kColorSpaceNames = [] {
    auto names = HDRXml::InitMap<HDR_COLOR_SPACE>("sRGB", SPACE_SRGB);
    names.insert({"BT709", SPACE_BT709});
    names.insert({"ADOBE", SPACE_ADOBE});
    names.insert({"DCIP3", SPACE_DCIP3});
    names.insert({"BT2020", SPACE_BT2020});
    return names;
}();

const std::map<std::string, OUTPUT_GAMMA_SPACE> kGammaSpaceNames = [] {
    auto names = HDRXml::InitMap<OUTPUT_GAMMA_SPACE>("linear", GAMMA_LINEAR);
    names.insert({"BT709", GAMMA_BT709});
    names.insert({"sRGB", GAMMA_SRGB});
    names.insert({"2p2", GAMMA_2P2});
    names.insert({"2d2", GAMMA_2P2});
    names.insert({"custom", GAMMA_CUSTOM});
    return names;
}();

constexpr const char* kRootElement = "hdr_lib";
constexpr const char* kVersion2 = "2.0";
constexpr int kMaxCode10Bit = 1023;

// Fallbacks of the tuning file; they differ from set_default_vals on purpose.
constexpr float kFallbackPanelMinLuminance = 0.001f;
constexpr int kFallbackPanelMaxLuminance = 800;
constexpr float kFallbackNominalPeak = 1500.0f;
constexpr const char* kFallbackColorSpace = "sRGB";
constexpr const char* kFallbackGammaSpace = "2p2";
constexpr float kFallbackGammaValue = 2.2f;

XMLElement* child(XMLElement* parent, const char* name) {
    return parent != nullptr ? parent->FirstChildElement(name) : nullptr;
}

// The enumeration value a name table gives the element's text; 0 for an
// unknown name, `fallbackName` for a missing or empty element.
template <typename T>
T lookupName(const std::map<std::string, T>& names, XMLElement* element, const char* fallbackName) {
    const char* text = element != nullptr ? element->GetText() : nullptr;
    if (text == nullptr || text[0] == '\0') text = fallbackName;
    auto found = names.find(text);
    return found != names.end() ? found->second : static_cast<T>(0);
}

float floatOf(XMLElement* group, const char* name, float fallback) {
    return tinyxml2::as<float>(child(group, name), fallback);
}

// Integers are stored by plain truncation to the field's width.
uint8_t byteOf(XMLElement* group, const char* name, int fallback) {
    return static_cast<uint8_t>(tinyxml2::as<int>(child(group, name), fallback));
}

void loadPcc(XMLElement* root, TMParams& params) {
    XMLElement* pcc = child(root, "panel_pcc");
    if (pcc == nullptr) {
        params.pcc = nullptr;  // no panel correction for this tuning
        return;
    }
    std::memset(params.pcc, 0, sizeof(PccCoefficients));
    static const char* const kChannels[3] = {"r", "g", "b"};
    static const char* const kTerms[kPccTermCount] = {"c",  "r",  "g",  "b",  "rr", "gg",
                                                      "bb", "rg", "gb", "rb", "rgb"};
    // A missing term falls back to 1.0 for each first-order term of every row,
    // so a partial row is not an identity row. Deliberate.
    static const float kTermFallbacks[kPccTermCount] = {0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
    for (int channel = 0; channel < 3; ++channel) {
        XMLElement* row = child(pcc, kChannels[channel]);
        if (row == nullptr) continue;  // a missing channel keeps an all-zero row
        for (int term = 0; term < kPccTermCount; ++term) {
            params.pcc->row[channel][term] = floatOf(row, kTerms[term], kTermFallbacks[term]);
        }
    }
}

std::vector<int32_t> collectCodes(XMLElement* points, const char* name) {
    std::vector<int32_t> codes;
    for (XMLElement* e = points->FirstChildElement(name); e != nullptr;
         e = e->NextSiblingElement(name)) {
        codes.push_back(e->IntText(0));
    }
    return codes;
}

// A tone_map without <points>, or with fewer than 17 x or y values, is
// treated as absent: the built-in points apply and nothing is read past a
// list. num_points counts the x values as read; only 17 slots are copied (the
// table users cap the count at 24). x codes are clamped into 0..1023 because
// they later index a 1024-entry table; y codes are stored as read.
void loadPoints(XMLElement* root, TMParams& params) {
    XMLElement* points = child(child(root, "tone_map"), "points");
    std::vector<int32_t> xs, ys;
    if (points != nullptr) {
        xs = collectCodes(points, "x");
        ys = collectCodes(points, "y");
    }
    if (xs.size() < kGridPointsPerAxis || ys.size() < kGridPointsPerAxis) {
        hdrtm::storeDefaultToneCurve(&params.curve);
        return;
    }
    params.curve.num_points = static_cast<int32_t>(std::min<size_t>(xs.size(), INT32_MAX));
    for (int i = 0; i < kGridPointsPerAxis; ++i) {
        params.curve.points_x[i] = static_cast<float>(std::clamp(xs[i], 0, kMaxCode10Bit));
        params.curve.points_y[i] = static_cast<float>(ys[i]);
    }
}

}  // namespace

void HDRXml::LoadTmParams(XMLElement* root, TMParams& params) {
    params.panel_min_luminance = floatOf(root, "panel_min_luminance", kFallbackPanelMinLuminance);
    params.panel_max_luminance = static_cast<uint16_t>(
        tinyxml2::as<int>(child(root, "panel_max_luminance"), kFallbackPanelMaxLuminance));
    params.nominal_peak_luminance = floatOf(root, "nominal_peak_luminance", kFallbackNominalPeak);

    params.panel_color_mode =
        lookupName(kColorSpaceNames, child(root, "panel_color_mode"), kFallbackColorSpace);

    XMLElement* gamma = child(root, "output_gamma_space");
    params.output_gamma_space = lookupName(kGammaSpaceNames, child(gamma, "space"), kFallbackGammaSpace);
    params.output_gamma_val = floatOf(gamma, "val", kFallbackGammaValue);

    XMLElement* curve = child(root, "tone_map_curve_control");
    params.t0 = floatOf(curve, "t0", 0.01f);
    params.sharp = floatOf(curve, "sharp", 2.0f);
    params.slope = floatOf(curve, "slope", 1.0f);
    params.intl = floatOf(curve, "intl", 24.0f);
    params.inth = floatOf(curve, "inth", 275.0f);
    params.pivot = floatOf(curve, "pivot", 1000.0f);
    params.LinearBoost = floatOf(curve, "LinearBoost", 1.0f);

    XMLElement* bright = child(root, "bright");
    params.bright_enable = byteOf(bright, "enable", 0);
    params.tlower = floatOf(bright, "tlower", 0.05f);
    params.tupper = floatOf(bright, "tupper", 400.0f);
    params.sysGamma = floatOf(bright, "sysGamma", 1.0f);

    XMLElement* sat = child(root, "sat");
    params.sat_enable = byteOf(sat, "enable", 0);
    params.t1 = floatOf(sat, "t1", 0.005f);
    params.t2 = floatOf(sat, "t2", 0.05f);
    params.kmax = floatOf(sat, "kmax", 1.2f);

    XMLElement* upper = child(root, "upper");
    params.enableM = byteOf(upper, "enableM", 1);
    params.linearScale = byteOf(upper, "linearScale", 0);
    params.fixedClip = byteOf(upper, "fixedClip", 1);
    params.clipLuma = floatOf(upper, "clipLuma", 1000.0f);
    params.fixedRatio = byteOf(upper, "fixedRatio", 1);
    params.scaleStart = floatOf(upper, "scaleStart", 1000.0f);
    params.ratio = floatOf(upper, "ratio", 1.0f);

    if (params.pcc != nullptr) loadPcc(root, params);
    loadPoints(root, params);
}

extern "C" int HDR_load_tone_mapping_xml(const char* path, TMParams* params) {
    if (path == nullptr || params == nullptr) return -1;
    tinyxml2::XMLDocument document(true, tinyxml2::COLLAPSE_WHITESPACE);
    if (document.LoadFile(path) != tinyxml2::XML_SUCCESS) return -1;
    XMLElement* root = document.FirstChildElement(kRootElement);
    if (root == nullptr) return -1;

    const char* version = root->Attribute("version");
    if (version == nullptr) version = "1.0";
    params->version = std::strcmp(version, kVersion2) == 0 ? 1 : 0;
    HDRTM_LOGE("HDR_load_tone_mapping_xml:tm->version= %d\n", params->version);

    HDRXml::LoadTmParams(root, *params);
    return 0;
}
