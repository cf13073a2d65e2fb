// diff: two tunings' LUTs side by side, in codes and in ΔE_ITP of the light
// they put out, with pictures of where they differ and both tone curves.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "colour/lut_difference.h"
#include "command_inputs.h"
#include "commands.h"
#include "drawing/difference_plot.h"
#include "drawing/tone_curve_plot.h"
#include "files/clf_file.h"
#include "files/output_files.h"
#include "hdr_playback.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDefaultsName = "defaults";  // a side that is the built-in defaults
constexpr const char* kCurvesFile = "tone_curves.svg";
constexpr size_t kWorstPrinted = 3;  // nodes named per differing LUT
constexpr size_t kWorstInJson = 10;
constexpr Rgb8 kSideBColours[] = {{200, 40, 120}, {120, 160, 20}};

struct Side {
    std::string label;  // as the user named it
    TMParams params;
    bool versionTwo = false;
    std::string path;   // empty: the built-in defaults
    bool lutFile = false;  // a .cube or .clf file rather than a tuning
    std::vector<RunResult> results;  // per configuration
};

Side loadSide(const std::string& name, bool force) {
    Side side;
    side.label = name;
    side.params = defaultParams();
    if (isLutFileName(name)) {
        requireReadable(name, "LUT file");
        side.lutFile = true;
        ProducedLut p;
        p.label = "file";
        p.lut = lutFromTable(readLutFile(name), name);
        RunResult r;
        r.luts.push_back(p);
        side.results.push_back(r);
    } else if (name != kDefaultsName) {
        side.path = name;
        side.params = loadTuning(name, force, &side.versionTwo);
    }
    return side;
}

void runSide(Side& side, const std::vector<Configuration>& configs) {
    if (side.lutFile) return;
    std::string error;
    if (!setTuningProperty(side.path, &error)) throw CommandError(error);
    for (const Configuration& config : configs) {
        RunResult r = runConfiguration(config, 0, side.versionTwo);
        for (ProducedLut& p : r.luts) {
            if (side.params.output_gamma_space == GAMMA_CUSTOM) p.lut.panel.gammaValue = side.params.output_gamma_val;
        }
        side.results.push_back(std::move(r));
    }
    upperRangeFromLog(&side.params);
    setTuningProperty("", &error);
}

struct Compared {
    int config = 0;
    std::string label;  // the LUT's, "layer 0" or "hardware"
    Signal input = Signal::kPq;
    LutDifference difference;
    std::string picture;
};

std::string fixed(double v, int decimals) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.*f", decimals, v);
    return text;
}

std::string twoDigits(int n) {
    char text[16];
    std::snprintf(text, sizeof(text), "%02d", n);
    return text;
}

std::string worstText(const Compared& c, size_t count) {
    std::string text;
    for (const NodeDifference& n : worstNodes(c.difference, count)) {
        text += (text.empty() ? "" : "; ") + describeInput(n, c.input) + ": " + fixed(n.deltaE, 2);
    }
    return text;
}

void printReport(const Side& a, const Side& b, const std::vector<std::string>& titles,
                 const std::vector<Compared>& all, const std::vector<std::string>& unmatched) {
    std::cout << "A: " << a.label << "\nB: " << b.label << "\n\n";
    std::printf("%3s  %-48s %-9s %-22s %-20s %s\n", "#", "configuration", "LUT", "max code change R G B",
                "mean change R G B", "ΔE_ITP mean / p95 / max");
    for (const Compared& c : all) {
        const LutDifference& d = c.difference;
        std::printf("%3d  %-48s %-9s %-22s %-20s %s\n", c.config, titles[c.config - 1].c_str(),
                    c.label.c_str(),
                    (fixed(d.maxCodeChange[0], 0) + " " + fixed(d.maxCodeChange[1], 0) + " " +
                     fixed(d.maxCodeChange[2], 0))
                        .c_str(),
                    (fixed(d.meanCodeChange[0], 1) + " " + fixed(d.meanCodeChange[1], 1) + " " +
                     fixed(d.meanCodeChange[2], 1))
                        .c_str(),
                    d.identical ? "identical"
                                : (fixed(d.meanDeltaE, 2) + " / " + fixed(d.p95DeltaE, 2) + " / " +
                                   fixed(d.maxDeltaE, 2))
                                      .c_str());
        if (!d.identical) std::cout << "     worst: " << worstText(c, kWorstPrinted) << "\n";
        if (!d.sameGrid) std::cout << "     B is sampled on another grid: read between its points at A's\n";
    }
    for (const std::string& u : unmatched) std::cout << u << "\n";
}

nlohmann::json toJson(const Side& a, const Side& b, const std::vector<std::string>& titles,
                      const std::vector<Compared>& all, const std::vector<std::string>& unmatched,
                      bool identical) {
    nlohmann::json out = {{"a", a.label}, {"b", b.label}, {"identical", identical}};
    out["luts"] = nlohmann::json::array();
    for (const Compared& c : all) {
        const LutDifference& d = c.difference;
        nlohmann::json worst = nlohmann::json::array();
        for (const NodeDifference& n : worstNodes(d, d.identical ? 0 : kWorstInJson)) {
            worst.push_back({{"node", n.node},
                             {"input_codes", n.input},
                             {"input_nits", n.inputNits},
                             {"input", describeInput(n, c.input)},
                             {"delta_e_itp", n.deltaE}});
        }
        nlohmann::json l = {{"configuration", c.config},
                            {"description", titles[c.config - 1]},
                            {"lut", c.label},
                            {"identical", d.identical},
                            {"same_grid", d.sameGrid},
                            {"max_code_change", d.maxCodeChange},
                            {"mean_code_change", d.meanCodeChange},
                            {"delta_e_itp", {{"mean", d.meanDeltaE}, {"p95", d.p95DeltaE}, {"max", d.maxDeltaE}}},
                            {"worst_nodes", worst}};
        if (!c.picture.empty()) l["picture"] = c.picture;
        out["luts"].push_back(l);
    }
    out["unmatched"] = unmatched;
    return out;
}

// Both tone curves in one plot, A's in the usual colours, B's in its own.
CurvePlotData overlaidCurves(const Side& a, const Side& b) {
    CurvePlotData data = sampleToneCurve(a.params, "Tone curves: A " + a.label + ", B " + b.label);
    for (CurveSeries& s : data.curves) s.label = "A: " + s.label;
    const CurvePlotData curvesB = sampleToneCurve(b.params, "");
    for (size_t k = 0; k < curvesB.curves.size(); ++k) {
        CurveSeries s = curvesB.curves[k];
        s.label = "B: " + s.label;
        s.colour = kSideBColours[k % std::size(kSideBColours)];
        data.curves.push_back(s);
    }
    return data;
}

int compareSides(Side& a, Side& b, const std::vector<Configuration>& configs, const DiffOptions& options,
                 std::vector<std::string>& written) {
    std::vector<Compared> all;
    std::vector<std::string> unmatched;
    // Two LUT files stand for no configuration of their own.
    std::vector<std::string> titles;
    for (const Configuration& c : configs) titles.push_back(a.lutFile ? "the two LUT files" : c.describe());
    bool identical = true;
    for (size_t i = 0; i < configs.size(); ++i) {
        const std::vector<ProducedLut>& lutsA = a.results[i].luts;
        const std::vector<ProducedLut>& lutsB = b.results[i].luts;
        const int index = static_cast<int>(i) + 1;
        for (const ProducedLut& p : lutsA) {
            const auto match = std::find_if(lutsB.begin(), lutsB.end(),
                                            [&p](const ProducedLut& q) { return q.label == p.label; });
            if (match == lutsB.end()) {
                unmatched.push_back("configuration " + std::to_string(index) + ": only A gives a " + p.label + " LUT");
                identical = false;
                continue;
            }
            Compared c{index, p.label, p.lut.input, compareLuts(p.lut, match->lut), ""};
            identical = identical && c.difference.identical;
            if (options.pictures && !c.difference.identical) {
                std::string label = p.label;
                std::replace(label.begin(), label.end(), ' ', '-');
                c.picture = a.lutFile ? "delta_e.png"
                                      : twoDigits(index) + "_" + configs[i].slug() + "_" + label + "_delta_e.png";
                writeDifferencePlot(c.difference, titles[i] + ", " + p.label + ": where B differs from A",
                                    (fs::path(options.outputDir) / c.picture).string());
                written.push_back(c.picture);
            }
            all.push_back(std::move(c));
        }
        for (const ProducedLut& q : lutsB) {
            const bool inA = std::any_of(lutsA.begin(), lutsA.end(),
                                         [&q](const ProducedLut& p) { return p.label == q.label; });
            if (!inA) {
                unmatched.push_back("configuration " + std::to_string(index) + ": only B gives a " + q.label + " LUT");
                identical = false;
            }
        }
    }
    // A configuration of one's own choosing that gives nothing to compare says why.
    if (configs.size() == 1 && a.results[0].luts.empty() && b.results[0].luts.empty()) {
        const RunResult& r = a.results[0];
        const std::string remedy = remedyText(r.remedies.front());
        std::cerr << "hdrtm: note: " << configs[0].describe() << " gives no LUT: the entry took the row \""
                  << r.rows.front() << "\"" << (remedy.empty() ? "" : "; " + remedy) << "\n";
    }
    if (options.pictures) {
        if (!a.lutFile) {
            writeCurvePlot(overlaidCurves(a, b), (fs::path(options.outputDir) / kCurvesFile).string());
            written.push_back(kCurvesFile);
        }
        writeManifest(options.outputDir, written);
    }
    if (options.json) {
        std::cout << toJson(a, b, titles, all, unmatched, identical).dump(2) << "\n";
    } else {
        printReport(a, b, titles, all, unmatched);
        size_t differ = 0;
        for (const Compared& c : all) differ += c.difference.identical ? 0 : 1;
        std::cout << "\n"
                  << (identical ? "Identical: " : std::to_string(differ) + " of ") << all.size()
                  << " LUTs" << (identical ? " are the same" : " differ");
        if (options.pictures) {
            std::cout << "; wrote " << (identical ? "" : "the pictures and ") << (a.lutFile ? "nothing else" : "the tone curves") << " to "
                      << fs::absolute(options.outputDir).string();
        }
        std::cout << "\n";
    }
    return identical ? kExitOk : kExitDiffer;
}

}  // namespace

int runDiff(const std::string& pathA, const std::string& pathB, const std::vector<Configuration>& configs,
            const DiffOptions& options) {
    Side a = loadSide(pathA, options.force);
    Side b = loadSide(pathB, options.force);
    std::vector<Configuration> compared = configs;
    if (a.lutFile != b.lutFile) {
        throw CommandError("diff: compare two tunings (or defaults) or two LUT files, not " + pathA + " with " + pathB);
    }
    if (a.lutFile) compared = {Configuration{}};  // the files' one LUT each
    runSide(a, compared);
    runSide(b, compared);
    if (options.pictures) prepareRunFolder(options.outputDir, options.force);
    std::vector<std::string> written;
    try {
        return compareSides(a, b, compared, options, written);
    } catch (...) {
        removeRunFiles(options.outputDir, written);
        throw;
    }
}

}  // namespace hdrtm::tool
