#include "colour/run_difference.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace hdrtm::tool {
namespace {

constexpr size_t kWorstInJson = 10;  // nodes named per differing LUT

}  // namespace

RunsDifference compareRuns(const std::vector<RunResult>& a, const std::vector<RunResult>& b) {
    RunsDifference d;
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
        const std::vector<ProducedLut>& lutsA = a[i].luts;
        const std::vector<ProducedLut>& lutsB = b[i].luts;
        const std::string config = "configuration " + std::to_string(i + 1);
        for (const ProducedLut& p : lutsA) {
            const auto match = std::find_if(lutsB.begin(), lutsB.end(),
                                            [&p](const ProducedLut& q) { return q.label == p.label; });
            if (match == lutsB.end()) {
                d.unmatched.push_back(config + ": only A gives a " + p.label + " LUT");
                d.identical = false;
                continue;
            }
            ComparedLut c{static_cast<int>(i) + 1, p.label, p.lut.input, compareLuts(p.lut, match->lut), ""};
            d.identical = d.identical && c.difference.identical;
            d.luts.push_back(std::move(c));
        }
        for (const ProducedLut& q : lutsB) {
            const bool inA = std::any_of(lutsA.begin(), lutsA.end(),
                                         [&q](const ProducedLut& p) { return p.label == q.label; });
            if (!inA) {
                d.unmatched.push_back(config + ": only B gives a " + q.label + " LUT");
                d.identical = false;
            }
        }
    }
    return d;
}

std::string differenceJson(const std::string& labelA, const std::string& labelB,
                           const std::vector<std::string>& titles, const RunsDifference& d) {
    nlohmann::json out = {{"a", labelA}, {"b", labelB}, {"identical", d.identical}};
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
        nlohmann::json l = {
            {"configuration", c.config},
            {"description", titles[c.config - 1]},
            {"lut", c.label},
            {"identical", diff.identical},
            {"same_grid", diff.sameGrid},
            {"max_code_change", diff.maxCodeChange},
            {"mean_code_change", diff.meanCodeChange},
            {"delta_e_itp", {{"mean", diff.meanDeltaE}, {"p95", diff.p95DeltaE}, {"max", diff.maxDeltaE}}},
            {"worst_nodes", worst}};
        if (!c.picture.empty()) l["picture"] = c.picture;
        out["luts"].push_back(l);
    }
    out["unmatched"] = d.unmatched;
    return out.dump(2);
}

}  // namespace hdrtm::tool
