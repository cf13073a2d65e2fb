#include "tuning/tuning_record.h"

#include <cstring>
#include <stdexcept>

#include "hdr_playback.h"

namespace hdrtm::tool {

TMParams defaultParams() {
    TMParams p;
    std::memset(&p, 0, sizeof(p));
    set_default_vals(&p);
    return p;
}

TMParams loadTuningRecord(const std::string& path, std::optional<PccCoefficients>* pcc) {
    TMParams params;
    PccCoefficients loaded;
    std::memset(&params, 0, sizeof(params));
    std::memset(&loaded, 0, sizeof(loaded));
    params.pcc = &loaded;
    if (HDR_load_tone_mapping_xml(path.c_str(), &params) != 0) {
        throw std::runtime_error("the library cannot load the tuning file " + path);
    }
    // The loader clears the pointer when the file has no panel correction.
    if (pcc != nullptr) *pcc = params.pcc != nullptr ? std::optional(loaded) : std::nullopt;
    params.pcc = nullptr;
    return params;
}

}  // namespace hdrtm::tool
