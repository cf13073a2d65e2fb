// Colour-manager interface of the display hardware (libkrel-color). On a
// device the vendor's library implements it; on the host libkrel-color.so is
// a simulator of a virtual panel (see color_manager_sim.h).
#pragma once

#include <map>
#include <string>
#include <vector>

namespace krel {

enum DisplayType {
    kPrimary = 0,
    kExternal = 1,
    kVirtual = 2,
};

enum HWSubBlockType {
    kHWGeneric = 0,
    kHWRGBLayer = 1,
    kHWVIGLayer = 2,
    kHWDMALayer = 3,
};

enum LayerBufferFormat {
    kFormatRGBA8888 = 0,
    kFormatRGBA1010102 = 1,
    kFormatYCbCr420P010 = 2,
};

// Hardware attributes handed to the manager when it is acquired.
struct PPHWAttributes {
    std::map<HWSubBlockType, std::vector<LayerBufferFormat>> supported_formats;
    std::string tag_name;
    std::string panel_type;
    std::vector<std::string> features;
    std::vector<int> versions;
    char panel_name[256] = {};
};

class ColorManager {
public:
    static ColorManager* AcquireColorManager(DisplayType type, const PPHWAttributes& attributes);
    static void ReleaseColorManager(DisplayType type);

    // Reads the active value of a feature into `payload`; returns 0 on success.
    int ColorIntfGetActiveColorParam(unsigned int feature, unsigned int flags, void* payload);
    // Applies `payload` as the active value of a feature; returns 0 on success.
    int ColorIntfSetActiveColorParam(unsigned int feature, unsigned int flags, void* payload);

private:
    ColorManager() = default;
};

}  // namespace krel
