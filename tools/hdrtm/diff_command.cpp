// diff: two tunings' LUTs side by side, in codes and in ΔE_ITP of the light
// they put out, with pictures of where they differ and both tone curves.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>

#include "colour/run_difference.h"
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
    side.results = runOnTuning(side.path, side.params, configs);
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

void printReport(const Side& a, const Side& b, const std::vector<std::string>& titles,
                 const std::vector<ComparedLut>& all, const std::vector<std::string>& unmatched) {
    std::cout << "A: " << a.label << "\nB: " << b.label << "\n\n";
    std::printf("%3s  %-48s %-9s %-22s %-20s %s\n", "#", "configuration", "LUT", "max code change R G B",
                "mean change R G B", "ΔE_ITP mean / p95 / max");
    for (const ComparedLut& c : all) {
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
    // Two LUT files stand for no configuration of their own.
    std::vector<std::string> titles;
    for (const Configuration& c : configs) titles.push_back(a.lutFile ? "the two LUT files" : c.describe());
    RunsDifference d = compareRuns(a.results, b.results);
    if (options.pictures) {
        for (ComparedLut& c : d.luts) {
            if (c.difference.identical) continue;
            std::string label = c.label;
            std::replace(label.begin(), label.end(), ' ', '-');
            c.picture = a.lutFile ? "delta_e.png"
                                  : twoDigits(c.config) + "_" + configs[c.config - 1].slug() + "_" + label +
                                        "_delta_e.png";
            writeDifferencePlot(c.difference, titles[c.config - 1] + ", " + c.label + ": where B differs from A",
                                (fs::path(options.outputDir) / c.picture).string());
            written.push_back(c.picture);
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
    const bool identical = d.identical;
    if (options.json) {
        std::cout << differenceJson(a.label, b.label, titles, d) << "\n";
    } else {
        printReport(a, b, titles, d.luts, d.unmatched);
        size_t differ = 0;
        for (const ComparedLut& c : d.luts) differ += c.difference.identical ? 0 : 1;
        std::cout << "\n"
                  << (identical ? "Identical: " : std::to_string(differ) + " of ") << d.luts.size()
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
