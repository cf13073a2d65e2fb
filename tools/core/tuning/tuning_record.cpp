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

TMParams loadTuningRecord(const std::string& path) {
    TMParams params;
    PccCoefficients pcc;
    std::memset(&params, 0, sizeof(params));
    params.pcc = &pcc;
    if (HDR_load_tone_mapping_xml(path.c_str(), &params) != 0) {
        throw std::runtime_error("the library cannot load the tuning file " + path);
    }
    params.pcc = nullptr;
    return params;
}

}  // namespace hdrtm::tool
