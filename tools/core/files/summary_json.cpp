#include "files/summary_json.h"

#include <filesystem>

namespace hdrtm::tool {

std::string absolutePath(const std::string& path) {
    namespace fs = std::filesystem;
    if (path.empty()) return path;
    std::error_code ec;
    const fs::path absolute = fs::absolute(path, ec);
    return ec ? path : absolute.lexically_normal().string();
}

nlohmann::json pathJson(const std::string& path) {
    return path.empty() ? nlohmann::json() : nlohmann::json(absolutePath(path));
}

nlohmann::json levelsJson(const std::vector<ReferenceLevel>& levels) {
    nlohmann::json out = nlohmann::json::array();
    for (const ReferenceLevel& l : levels) {
        out.push_back({{"level", l.name},
                       {"input_nits", l.inputNits},
                       {"input_code", l.inputCode},
                       {"output_nits", l.outputNits},
                       {"output_codes", l.outputCodes}});
    }
    return out;
}

nlohmann::json tuningDiagnosticsJson(const std::vector<CheckedTuning>& tunings) {
    nlohmann::json list = nlohmann::json::array();
    for (const CheckedTuning& t : tunings) {
        for (const nlohmann::json& d : nlohmann::json::parse(diagnosticsJson(absolutePath(t.path), t.result))) {
            list.push_back(d);
        }
    }
    return list;
}

}  // namespace hdrtm::tool
