// diff: two tunings' LUTs side by side, in codes and in ΔE_ITP of the light
// they put out, with pictures of where they differ and both tone curves.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>

#include "colour/run_difference.h"
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

constexpr const char* kCurvesFile = "tone_curves.svg";
constexpr const char* kLutFilesPicture = "delta_e.png";
constexpr size_t kWorstPrinted = 3;  // nodes named per differing LUT
constexpr Rgb8 kSideBColours[] = {{200, 40, 120}, {120, 160, 20}};

struct Side {
    std::string label;  // as the user named it
    TMParams params;
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
        bool versionTwo = false;  // the record's version says it too, which runOnTuning reads
        side.params = loadTuning(name, force, &versionTwo);
    }
    return side;
}

void runSide(Side& side, const std::vector<Configuration>& configs) {
    if (side.lutFile) return;
    side.results = runOnTuning(side.path, side.params, configs, stopIfInterrupted);
    upperRangeFromLog(&side.params);
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

std::string worstText(const ComparedLut& c, size_t count) {
    std::string text;
    for (const NodeDifference& n : worstNodes(c.difference, count)) {
        text += (text.empty() ? "" : "; ") + describeInput(n, c.input) + ": " + fixed(n.deltaE, 2);
    }
    return text;
}

void printReport(const Side& a, const Side& b, const std::vector<std::string>& titles, const RunsDifference& f) {
    std::cout << "A: " << a.label << "\nB: " << b.label << "\n\n";
    std::printf("%3s  %-48s %-9s %-22s %-20s %s\n", "#", "configuration", "LUT", "max code change R G B",
                "mean change R G B", "ΔE_ITP mean / p95 / max");
    for (const ComparedLut& c : f.luts) {
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

// Stages a picture of each differing LUT into `folder`.
void drawDifferences(RunsDifference& d, bool lutFiles, const std::vector<Configuration>& configs,
                     const std::vector<std::string>& titles, RunFolder& folder) {
    for (ComparedLut& c : d.luts) {
        if (c.difference.identical) continue;
        stopIfInterrupted();
        std::string label = c.label;
        std::replace(label.begin(), label.end(), ' ', '-');
        c.picture = lutFiles ? kLutFilesPicture
                             : twoDigits(c.config) + "_" + configs[c.config - 1].slug() + "_" + label + "_delta_e.png";
        folder.write(c.picture, differencePlotBytes(c.difference,
                                                    titles[c.config - 1] + ", " + c.label + ": where B differs from A",
                                                    c.picture));
    }
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
    RunsDifference f = compareRuns(a.results, b.results, compared);
    if (folder != nullptr) drawDifferences(f, a.lutFile, compared, titles, *folder);
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
    const bool passes = gated ? withinMaxDeltaE(f, options.maxDeltaE) : f.identical;
    if (options.json) {
        DifferenceContext context{a.lutFile ? pathA : a.path, b.lutFile ? pathB : b.path, titles,
                                  options.maxDeltaE, "", {}, vettedTunings()};
        if (folder != nullptr) {
            context.outputDir = folder->dir();
            context.files = folder->paths();
        }
        std::cout << differenceJson(f, context) << "\n";
    } else {
        printReport(a, b, titles, f);
        size_t differ = 0;
        for (const ComparedLut& c : f.luts) differ += c.difference.identical ? 0 : 1;
        std::cout << "\n";
        if (f.identical) {
            std::cout << "Identical: " << f.luts.size() << " LUTs are the same";
        } else if (f.luts.empty()) {
            std::cout << "No LUTs compared";
        } else {
            std::cout << differ << " of " << f.luts.size() << " compared LUTs differ";
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
