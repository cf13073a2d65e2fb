// diff: two tunings' LUTs side by side, in codes and in ΔE_ITP of the light
// they put out, with pictures of where they differ and both tone curves.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "colour/lut_difference.h"
#include "colour/reference_levels.h"
#include "command_inputs.h"
#include "commands.h"
#include "drawing/difference_plot.h"
#include "drawing/tone_curve_plot.h"
#include "files/clf_file.h"
#include "files/output_files.h"
#include "hdr_playback.h"
#include "messages.h"
#include "number_text.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDefaultsName = "defaults";  // a side that is the built-in defaults
constexpr const char* kCurvesFile = "tone_curves.svg";
constexpr const char* kLutFilesPicture = "delta_e.png";
constexpr size_t kWorstPrinted = 3;  // nodes named per differing LUT
constexpr size_t kWorstInJson = 10;
constexpr Rgb8 kSideBColours[] = {{200, 40, 120}, {120, 160, 20}};

struct Side {
    std::string label;  // as the user named it
    TMParams params;
    bool versionTwo = false;
    std::string path;   // the tuning file; empty: the built-in defaults
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
        stopIfInterrupted();
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
    std::vector<ReferenceLevel> levelsA;
    std::vector<ReferenceLevel> levelsB;
    std::string picture;
};

// What the comparison found beyond the compared LUTs.
struct Findings {
    std::vector<Compared> compared;
    std::vector<std::string> unmatched;     // a LUT only one side gives, or a pair that cannot be compared
    bool identical = true;
    double largestDeltaE = 0.0;
};

// --max-de's verdict: every LUT compared, and none beyond the tolerance.
bool withinMaxDeltaE(const Findings& f, const DiffOptions& options) {
    return f.unmatched.empty() && f.largestDeltaE <= options.maxDeltaE;
}

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

void printReport(const Side& a, const Side& b, const std::vector<std::string>& titles, const Findings& f) {
    std::cout << "A: " << a.label << "\nB: " << b.label << "\n\n";
    std::printf("%3s  %-48s %-9s %-22s %-20s %s\n", "#", "configuration", "LUT", "max code change R G B",
                "mean change R G B", "ΔE_ITP mean / p95 / max");
    for (const Compared& c : f.compared) {
        const LutDifference& d = c.difference;
        std::printf("%3d  %-48s %-9s %-22s %-20s %s\n", c.config, titles[c.config - 1].c_str(), c.label.c_str(),
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
        const std::string levelsA = levelsText(c.levelsA);
        const std::string levelsB = levelsText(c.levelsB);
        if (levelsA == levelsB) {
            std::cout << "     levels: " << levelsA << "\n";
        } else {
            std::cout << "     levels A: " << levelsA << "\n     levels B: " << levelsB << "\n";
        }
    }
    for (const std::string& u : f.unmatched) std::cout << u << "\n";
}

nlohmann::json sideJson(const Side& side) {
    return side.label == kDefaultsName ? nlohmann::json(kDefaultsName) : pathJson(side.label);
}

nlohmann::json toJson(const Side& a, const Side& b, const std::vector<std::string>& titles, const Findings& f,
                      const DiffOptions& options, const RunFolder* folder) {
    nlohmann::json out = {{"a", sideJson(a)},
                          {"b", sideJson(b)},
                          {"identical", f.identical},
                          {"largest_delta_e_itp", f.largestDeltaE},
                          {"max_de", options.maxDeltaE >= 0.0 ? nlohmann::json(options.maxDeltaE) : nlohmann::json()},
                          {"within_max_de", options.maxDeltaE >= 0.0 ? nlohmann::json(withinMaxDeltaE(f, options))
                                                                     : nlohmann::json()},
                          {"output_dir", folder ? pathJson(folder->dir()) : nlohmann::json()},
                          {"tuning_diagnostics", vettedDiagnosticsJson()}};
    out["files"] = nlohmann::json::array();
    if (folder != nullptr) {
        for (const std::string& name : folder->names()) out["files"].push_back(pathJson(folder->pathOf(name)));
        out["files"].push_back(pathJson(folder->pathOf(kManifestName)));
    }
    out["luts"] = nlohmann::json::array();
    for (const Compared& c : f.compared) {
        const LutDifference& d = c.difference;
        nlohmann::json worst = nlohmann::json::array();
        for (const NodeDifference& n : worstNodes(d, d.identical ? 0 : kWorstInJson)) {
            worst.push_back({{"node", n.node},
                             {"input_codes", n.input},
                             {"input_nits", n.inputNits},
                             {"input", describeInput(n, c.input)},
                             {"delta_e_itp", n.deltaE}});
        }
        out["luts"].push_back(
            {{"configuration", c.config},
             {"description", titles[c.config - 1]},
             {"lut", c.label},
             {"identical", d.identical},
             {"max_code_change", d.maxCodeChange},
             {"mean_code_change", d.meanCodeChange},
             {"delta_e_itp", {{"mean", d.meanDeltaE}, {"p95", d.p95DeltaE}, {"max", d.maxDeltaE}}},
             {"worst_nodes", worst},
             {"levels", {{"a", levelsJson(c.levelsA)}, {"b", levelsJson(c.levelsB)}}},
             {"picture", c.picture.empty() || folder == nullptr ? nlohmann::json() : pathJson(folder->pathOf(c.picture))}});
    }
    out["unmatched"] = f.unmatched;
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

// Compares the LUTs of each configuration, staging a picture per differing
// LUT into `folder` when there is one.
Findings compareSides(const Side& a, const Side& b, const std::vector<Configuration>& configs,
                      const std::vector<std::string>& titles, RunFolder* folder) {
    Findings f;
    for (size_t i = 0; i < configs.size(); ++i) {
        const std::vector<ProducedLut>& lutsA = a.results[i].luts;
        const std::vector<ProducedLut>& lutsB = b.results[i].luts;
        const std::string where = "configuration " + std::to_string(i + 1) + ": ";
        for (const ProducedLut& p : lutsA) {
            const auto match = std::find_if(lutsB.begin(), lutsB.end(),
                                            [&p](const ProducedLut& q) { return q.label == p.label; });
            if (match == lutsB.end()) {
                f.unmatched.push_back(where + "only A gives a " + p.label + " LUT");
                f.identical = false;
                continue;
            }
            const std::string why = whyNotComparable(p.lut, match->lut);
            if (!why.empty()) {
                f.unmatched.push_back(where + "the " + p.label + " LUTs are not compared: " + why);
                f.identical = false;
                continue;
            }
            const double peak = a.lutFile ? 0.0 : configs[i].layers[p.layer].contentPeakNits();
            Compared c{static_cast<int>(i) + 1, p.label, p.lut.input, compareLuts(p.lut, match->lut),
                       referenceLevels(p.lut, peak), referenceLevels(match->lut, peak), ""};
            f.identical = f.identical && c.difference.identical;
            f.largestDeltaE = std::max(f.largestDeltaE, c.difference.maxDeltaE);
            if (folder != nullptr && !c.difference.identical) {
                std::string label = p.label;
                std::replace(label.begin(), label.end(), ' ', '-');
                c.picture = a.lutFile ? kLutFilesPicture
                                      : twoDigits(c.config) + "_" + configs[i].slug() + "_" + label + "_delta_e.png";
                folder->write(c.picture, differencePlotBytes(c.difference,
                                                             titles[i] + ", " + p.label + ": where B differs from A",
                                                             c.picture));
            }
            f.compared.push_back(std::move(c));
        }
        for (const ProducedLut& q : lutsB) {
            const bool inA = std::any_of(lutsA.begin(), lutsA.end(),
                                         [&q](const ProducedLut& p) { return p.label == q.label; });
            if (!inA) {
                f.unmatched.push_back(where + "only B gives a " + q.label + " LUT");
                f.identical = false;
            }
        }
    }
    return f;
}

}  // namespace

int runDiff(const std::string& pathA, const std::string& pathB, const std::vector<Configuration>& configs,
            const DiffOptions& options) {
    if (isLutFileName(pathA) != isLutFileName(pathB)) {
        throw CommandError("compare two tunings (or defaults) or two LUT files, not " + pathA + " with " + pathB);
    }
    if (isLutFileName(pathA) && options.configurationGiven) {
        throw CommandError("--layer, --blend and --hw choose what two tunings run; LUT files hold one LUT each: "
                           "drop them");
    }
    Side a = loadSide(pathA, options.force);
    Side b = loadSide(pathB, options.force);
    if (options.force && a.path.empty() && b.path.empty() && !options.pictures) {
        throw CommandError("--force compares tuning files with errors and writes beside foreign files; here it does "
                           "neither: drop it");
    }
    if (a.lutFile) {
        const std::string why = whyNotComparable(a.results[0].luts[0].lut, b.results[0].luts[0].lut);
        if (!why.empty()) throw CommandError("cannot compare " + pathA + " with " + pathB + ": " + why);
    }
    std::unique_ptr<RunFolder> folder;
    if (options.pictures) folder = std::make_unique<RunFolder>(options.outputDir, options.force);
    // Two LUT files stand for no configuration of their own.
    const std::vector<Configuration> compared = a.lutFile ? std::vector<Configuration>{Configuration{}} : configs;
    std::vector<std::string> titles;
    for (const Configuration& c : compared) titles.push_back(a.lutFile ? "the two LUT files" : c.describe());
    runSide(a, compared);
    runSide(b, compared);
    const Findings f = compareSides(a, b, compared, titles, folder.get());
    stopIfInterrupted();
    if (folder != nullptr) {
        if (!a.lutFile) folder->write(kCurvesFile, curvePlotBytes(overlaidCurves(a, b), kCurvesFile));
        folder->commit();
    }
    // A configuration of one's own choosing that gives nothing to compare says why.
    if (compared.size() == 1 && a.results[0].luts.empty() && b.results[0].luts.empty()) {
        const RunResult& r = a.results[0];
        const std::string remedy = remedyText(r.remedies.front());
        printNote(compared[0].describe() + " gives no LUT: the entry took the row \"" + r.rows.front() + "\"" +
                  (remedy.empty() ? "" : "; " + remedy));
    }
    const bool gated = options.maxDeltaE >= 0.0;
    const bool passes = gated ? withinMaxDeltaE(f, options) : f.identical;
    if (options.json) {
        std::cout << toJson(a, b, titles, f, options, folder.get()).dump(2) << "\n";
    } else {
        printReport(a, b, titles, f);
        size_t differ = 0;
        for (const Compared& c : f.compared) differ += c.difference.identical ? 0 : 1;
        std::cout << "\n";
        if (f.identical) {
            std::cout << "Identical: " << f.compared.size() << " LUTs are the same";
        } else if (f.compared.empty()) {
            std::cout << "No LUTs compared";
        } else {
            std::cout << differ << " of " << f.compared.size() << " compared LUTs differ";
        }
        if (!f.unmatched.empty()) std::cout << "; " << f.unmatched.size() << " not compared (above)";
        if (gated && !f.unmatched.empty()) {
            std::cout << "; --max-de " << numberText(options.maxDeltaE) << " fails: not every LUT was compared";
        } else if (gated) {
            std::cout << "; the largest ΔE_ITP, " << fixed(f.largestDeltaE, 2) << ", is "
                      << (f.largestDeltaE <= options.maxDeltaE ? "within" : "above") << " --max-de "
                      << numberText(options.maxDeltaE);
        }
        if (folder != nullptr) {
            const size_t pictures = folder->names().size() - (a.lutFile ? 0 : 1);
            std::cout << "; wrote " << (pictures > 0 ? std::to_string(pictures) + " picture(s), " : "")
                      << (a.lutFile ? "" : "the tone curves (" + std::string(kCurvesFile) + "), ")
                      << "and the manifest (" << kManifestName << ") to " << absolutePath(folder->dir());
        }
        std::cout << "\n";
    }
    return passes ? kExitOk : kExitDiffer;
}

}  // namespace hdrtm::tool
