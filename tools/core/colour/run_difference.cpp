#include "colour/run_difference.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "files/summary_json.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

constexpr size_t kWorstInJson = 10;  // nodes named per differing LUT

nlohmann::json sideJson(const std::string& path) {
    return path.empty() ? nlohmann::json(kDefaultsName) : pathJson(path);
}

nlohmann::json orNull(bool given, const nlohmann::json& value) { return given ? value : nlohmann::json(); }

}  // namespace

RunsDifference compareRuns(const std::vector<RunResult>& a, const std::vector<RunResult>& b,
                           const std::vector<Configuration>& configs) {
    RunsDifference d;
    for (size_t i = 0; i < a.size() && i < b.size() && i < configs.size(); ++i) {
        const std::vector<ProducedLut>& lutsA = a[i].luts;
        const std::vector<ProducedLut>& lutsB = b[i].luts;
        const std::vector<LayerConfig>& layers = configs[i].layers;
        const std::string where = "configuration " + std::to_string(i + 1) + ": ";
        for (const ProducedLut& p : lutsA) {
            const auto match = std::find_if(lutsB.begin(), lutsB.end(),
                                            [&p](const ProducedLut& q) { return q.label == p.label; });
            if (match == lutsB.end()) {
                d.unmatched.push_back(where + "only A gives a " + p.label + " LUT");
                d.identical = false;
                continue;
            }
            const std::string why = whyNotComparable(p.lut, match->lut);
            if (!why.empty()) {
                d.unmatched.push_back(where + "the " + p.label + " LUTs are not compared: " + why);
                d.identical = false;
                continue;
            }
            const double peak =
                p.layer >= 0 && static_cast<size_t>(p.layer) < layers.size() ? layers[p.layer].contentPeakNits() : 0.0;
            ComparedLut c{static_cast<int>(i) + 1, p.label, p.lut.input, compareLuts(p.lut, match->lut),
                          referenceLevels(p.lut, peak), referenceLevels(match->lut, peak), ""};
            d.identical = d.identical && c.difference.identical;
            d.largestDeltaE = std::max(d.largestDeltaE, c.difference.maxDeltaE);
            d.luts.push_back(std::move(c));
        }
        for (const ProducedLut& q : lutsB) {
            const bool inA = std::any_of(lutsA.begin(), lutsA.end(),
                                         [&q](const ProducedLut& p) { return p.label == q.label; });
            if (!inA) {
                d.unmatched.push_back(where + "only B gives a " + q.label + " LUT");
                d.identical = false;
            }
        }
    }
    return d;
}

bool withinMaxDeltaE(const RunsDifference& d, double maxDeltaE) {
    return d.unmatched.empty() && d.largestDeltaE <= maxDeltaE;
}

std::string differenceJson(const RunsDifference& d, const DifferenceContext& context) {
    const bool gated = context.maxDeltaE >= 0.0;
    const bool drawn = !context.outputDir.empty();
    nlohmann::json out = {{"a", sideJson(context.a)},
                          {"b", sideJson(context.b)},
                          {"identical", d.identical},
                          {"largest_delta_e_itp", d.largestDeltaE},
                          {"max_de", orNull(gated, context.maxDeltaE)},
                          {"within_max_de", orNull(gated, withinMaxDeltaE(d, context.maxDeltaE))},
                          {"output_dir", pathJson(context.outputDir)},
                          {"tuning_diagnostics", tuningDiagnosticsJson(context.tunings)}};
    out["files"] = nlohmann::json::array();
    for (const std::string& file : context.files) out["files"].push_back(pathJson(file));
    out["luts"] = nlohmann::json::array();
    for (const ComparedLut& c : d.luts) {
        const LutDifference& diff = c.difference;
        nlohmann::json worst = nlohmann::json::array();
        for (const NodeDifference& n : worstNodes(diff, diff.identical ? 0 : kWorstInJson)) {
            worst.push_back({{"node", n.node},
                             {"input_codes", n.input},
                             {"input_nits", n.inputNits},
                             {"input", describeInput(n, c.input)},
                             {"delta_e_itp", n.deltaE}});
        }
        const std::string picture =
            drawn && !c.picture.empty() ? (std::filesystem::path(context.outputDir) / c.picture).string() : "";
        out["luts"].push_back(
            {{"configuration", c.config},
             {"description", c.config >= 1 && static_cast<size_t>(c.config) <= context.titles.size()
                                 ? nlohmann::json(context.titles[c.config - 1])
                                 : nlohmann::json()},
             {"lut", c.label},
             {"identical", diff.identical},
             {"max_code_change", diff.maxCodeChange},
             {"mean_code_change", diff.meanCodeChange},
             {"delta_e_itp", {{"mean", diff.meanDeltaE}, {"p95", diff.p95DeltaE}, {"max", diff.maxDeltaE}}},
             {"worst_nodes", worst},
             {"levels", {{"a", levelsJson(c.levelsA)}, {"b", levelsJson(c.levelsB)}}},
             {"picture", pathJson(picture)}});
    }
    out["unmatched"] = d.unmatched;
    return out.dump(2);
}

}  // namespace hdrtm::tool
