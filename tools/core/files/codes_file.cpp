#include "files/codes_file.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "files/output_files.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

constexpr int kGridBits = 10;      // the library's grid codes
constexpr int kPayloadBits = 12;   // grid coordinates in the hardware push

std::string extension(const std::string& path) { return std::filesystem::path(path).extension().string(); }

// The input code of each grid index, and its bit depth, as the LUT carried them.
std::vector<uint32_t> inputCodes(const ProducedLut& p, int* bits) {
    *bits = p.hardwareGrid.empty() ? kGridBits : kPayloadBits;
    if (!p.hardwareGrid.empty()) return p.hardwareGrid;
    return std::vector<uint32_t>(p.lut.grid.begin(), p.lut.grid.end());
}

}  // namespace

bool isCodesFileName(const std::string& path) {
    const std::string ext = extension(path);
    return ext == ".csv" || ext == ".json";
}

std::string codesText(const std::string& path, const std::vector<ProducedLut>& luts, const CodesRecord& record) {
    if (!isCodesFileName(path)) throw std::runtime_error(path + ": the codes are written as .csv or .json");
    const bool csv = extension(path) == ".csv";
    std::ostringstream text;
    nlohmann::json json = {{"tuning", record.tuning.empty() ? nlohmann::json() : nlohmann::json(record.tuning)},
                           {"luts", nlohmann::json::array()}};
    const auto configurationOf = [&](size_t i) {
        return i < record.configurations.size() ? record.configurations[i] : std::string();
    };
    if (csv) {
        text << "# hdrtm codes; tuning: " << (record.tuning.empty() ? kDefaultsLabel : record.tuning) << "\n";
        for (size_t i = 0; i < luts.size(); ++i) {
            text << "# " << luts[i].label << ": "
                 << (configurationOf(i).empty() ? "" : "configuration " + configurationOf(i) + "; ") << "checksum "
                 << (luts[i].hasChecksum ? std::to_string(luts[i].checksum) : "none") << "\n";
        }
        text << "lut,node,in_r,in_g,in_b,in_bits,out_r,out_g,out_b,out_bits\n";
    }
    for (size_t i = 0; i < luts.size(); ++i) {
        const ProducedLut& p = luts[i];
        int inBits = 0;
        const std::vector<uint32_t> in = inputCodes(p, &inBits);
        nlohmann::json nodes = nlohmann::json::array();
        for (int k = 0; k < kLutEntries; ++k) {
            const uint32_t r = in[k % kLutSize], g = in[(k / kLutSize) % kLutSize], b = in[k / (kLutSize * kLutSize)];
            const auto& out = p.lut.codes[k];
            if (csv) {
                text << p.label << "," << k << "," << r << "," << g << "," << b << "," << inBits << "," << out[0]
                     << "," << out[1] << "," << out[2] << "," << p.lut.bitDepth << "\n";
            } else {
                nodes.push_back({r, g, b, out[0], out[1], out[2]});
            }
        }
        if (!csv) {
            json["luts"].push_back({{"label", p.label},
                                    {"configuration", configurationOf(i).empty() ? nlohmann::json()
                                                                                 : nlohmann::json(configurationOf(i))},
                                    {"checksum", p.hasChecksum ? nlohmann::json(p.checksum) : nlohmann::json()},
                                    {"input_bits", inBits},
                                    {"output_bits", p.lut.bitDepth},
                                    {"inputs_in_push", !p.hardwareGrid.empty()},
                                    {"order", "red fastest; each node [in_r, in_g, in_b, out_r, out_g, out_b]"},
                                    {"nodes", nodes}});
        }
    }
    return csv ? text.str() : json.dump() + "\n";
}

}  // namespace hdrtm::tool
