#include "commands.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "cube_file.h"
#include "hdr_playback.h"
#include "preview.h"
#include "tone_curve_plot.h"
#include "tuning_check.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kDemoMasterLow = 1000;   // nits
constexpr uint32_t kDemoMasterHigh = 4000;  // nits
constexpr uint32_t kDemoCllLow = 600;       // nits
constexpr uint32_t kDemoCllHigh = 1500;     // nits
constexpr const char* kCurveFile = "tone_curve.svg";

void requireReadable(const std::string& path, const char* what) {
    std::error_code ec;
    if (!fs::exists(path, ec)) throw CommandError(std::string(what) + " " + path + " does not exist");
    if (fs::is_directory(path, ec)) throw CommandError(std::string(what) + " " + path + " is a directory");
    if (access(path.c_str(), R_OK) != 0) {
        throw CommandError(std::string(what) + " " + path + " is not readable: " + std::strerror(errno));
    }
}

void makeOutputDir(const std::string& dir) {
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec || !fs::is_directory(dir)) {
        throw CommandError("cannot create the output folder " + dir + ": " + ec.message());
    }
}

// Checks a tuning file before the library sees it: the library would absorb
// its mistakes silently. Errors stop the command; warnings are counted.
CheckResult vetTuning(const std::string& path) {
    requireReadable(path, "tuning file");
    CheckResult check = checkTuningFile(path);
    if (check.errors() > 0) {
        for (const Diagnostic& d : check.diagnostics) {
            if (d.severity == Severity::kError) std::cerr << formatDiagnostic(path, d) << "\n";
        }
        throw CommandError("the tuning file " + path + " has " + std::to_string(check.errors()) +
                           " error(s); the library would not use it as written");
    }
    if (check.warnings() > 0) {
        std::cerr << "hdrtm: note: " << path << " has " << check.warnings()
                  << " warning(s); see hdrtm check " << path << "\n";
    }
    return check;
}

TMParams defaultParams() {
    TMParams p;
    std::memset(&p, 0, sizeof(p));
    set_default_vals(&p);
    return p;
}

std::string twoDigits(int n) {
    char buffer[16];
    std::snprintf(buffer, sizeof(buffer), "%02d", n);
    return buffer;
}

std::string formatMs(double ms) {
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%.2f", ms);
    return buffer;
}

struct WrittenLut {
    std::string label;
    std::string cube;
    std::string grid;
    std::string preview;
    bool hasChecksum;
    int32_t checksum;
    int bitDepth;
    bool uniformGrid;
};

struct ConfigSummary {
    int index;
    Configuration config;
    RunResult result;
    std::vector<WrittenLut> files;
};

ConfigSummary runAndWrite(int index, const Configuration& config, const RunOptions& options,
                          bool versionTwo, const std::string& tuningLabel) {
    ConfigSummary summary{index, config, runConfiguration(config, options.repeat, versionTwo), {}};
    if (options.verbose) {
        for (const std::string& line : lastLibraryLog()) std::cerr << "  LIBHDR_TM: " << line << "\n";
    }
    const std::string stem = twoDigits(index) + "_" + config.slug();
    for (const ProducedLut& p : summary.result.luts) {
        std::string label = p.label;
        std::replace(label.begin(), label.end(), ' ', '-');
        const std::string base = stem + "_" + label;
        WrittenLut w{p.label, base + ".cube", "", "", p.hasChecksum, p.checksum, p.lut.bitDepth,
                     p.lut.uniformGrid};
        std::vector<std::string> notes = {
            "configuration: " + config.describe(),
            "tuning: " + tuningLabel,
            "decision row: " + summary.result.rows[p.layer],
            "LUT: " + p.label + ", " + std::to_string(p.lut.bitDepth) + "-bit codes, " +
                signalName(p.lut.input) + " in, " + signalName(p.lut.output) + " out",
        };
        if (p.hasChecksum) {
            notes.push_back("checksum: " + std::to_string(p.checksum) +
                            " (as the library logged it: a running sum over the call's "
                            "LUTs of the same direction)");
        }
        if (p.label == "hardware") {
            notes.push_back("hardware payload: uniform flag " + std::to_string(p.payloadUniform));
        }
        const std::string title = config.describe() + " - " + p.label;
        writeCube((fs::path(options.outputDir) / w.cube).string(), p.lut, title, notes);
        if (!p.lut.uniformGrid) {
            w.grid = base + ".grid.txt";
            writeGridPositions((fs::path(options.outputDir) / w.grid).string(), w.cube, p.lut,
                               p.hardwareGrid);
        }
        if (options.previews) {
            w.preview = base + "_preview.png";
            writePng((fs::path(options.outputDir) / w.preview).string(),
                     renderPreview(toCubeTable(p.lut), title));
        }
        summary.files.push_back(w);
    }
    return summary;
}

void printTable(const std::vector<ConfigSummary>& all) {
    struct Row {
        std::string cells[6];
    };
    std::vector<Row> rows = {{{"#", "configuration", "decision row", "LUT", "checksum", "ms/call"}}};
    for (const ConfigSummary& s : all) {
        for (size_t layer = 0; layer < s.result.rows.size(); ++layer) {
            Row r;
            if (layer == 0) {
                r.cells[0] = std::to_string(s.index);
                r.cells[1] = s.config.describe();
                r.cells[5] = formatMs(s.result.msPerCall);
            }
            r.cells[2] = (s.result.rows.size() > 1 ? std::to_string(layer) + ": " : "") +
                         s.result.rows[layer];
            r.cells[3] = "-";
            r.cells[4] = "-";
            for (size_t k = 0; k < s.result.luts.size(); ++k) {
                if (s.result.luts[k].layer != static_cast<int>(layer)) continue;
                r.cells[3] = s.files[k].cube;
                if (s.files[k].hasChecksum) r.cells[4] = std::to_string(s.files[k].checksum);
            }
            rows.push_back(r);
        }
    }
    size_t width[6] = {};
    for (const Row& r : rows) {
        for (int c = 0; c < 6; ++c) width[c] = std::max(width[c], r.cells[c].size());
    }
    for (const Row& r : rows) {
        std::string line;
        for (int c = 0; c < 6; ++c) {
            std::string cell = r.cells[c];
            const bool right = c == 0 || c >= 4;
            const std::string pad(width[c] - cell.size(), ' ');
            line += (right ? pad + cell : cell + (c == 5 ? "" : pad)) + (c == 5 ? "" : "  ");
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        std::cout << line << "\n";
    }
}

nlohmann::json toJson(const std::vector<ConfigSummary>& all, const std::string& dir,
                      const std::string& tuning) {
    nlohmann::json out;
    out["output_dir"] = dir;
    out["tuning"] = tuning;
    out["configurations"] = nlohmann::json::array();
    for (const ConfigSummary& s : all) {
        nlohmann::json c;
        c["index"] = s.index;
        c["description"] = s.config.describe();
        c["blend_space"] = s.config.blendSpace;
        c["hardware"] = s.config.hardware;
        c["status"] = s.result.status;
        c["ms_per_call"] = s.result.msPerCall;
        c["layers"] = nlohmann::json::array();
        for (size_t i = 0; i < s.config.layers.size(); ++i) {
            const LayerConfig& l = s.config.layers[i];
            c["layers"].push_back({{"transfer", l.transfer},
                                   {"primaries", l.primaries},
                                   {"content_class", l.contentClass},
                                   {"master_nits", l.masterNits},
                                   {"max_cll", l.cllPresent ? nlohmann::json(l.maxCll) : nlohmann::json()},
                                   {"decision_row", i < s.result.rows.size() ? s.result.rows[i] : ""}});
        }
        c["luts"] = nlohmann::json::array();
        for (size_t k = 0; k < s.files.size(); ++k) {
            const WrittenLut& w = s.files[k];
            nlohmann::json l = {{"label", w.label},
                                {"layer", s.result.luts[k].layer},
                                {"bit_depth", w.bitDepth},
                                {"cube", w.cube},
                                {"uniform_grid", w.uniformGrid},
                                {"checksum", w.hasChecksum ? nlohmann::json(w.checksum) : nlohmann::json()}};
            if (!w.grid.empty()) l["grid"] = w.grid;
            if (!w.preview.empty()) l["preview"] = w.preview;
            c["luts"].push_back(l);
        }
        if (!s.result.standardOutput.empty()) c["printed"] = s.result.standardOutput;
        if (!s.result.problems.empty()) c["problems"] = s.result.problems;
        out["configurations"].push_back(c);
    }
    return out;
}

void reportProblems(const std::vector<ConfigSummary>& all) {
    for (const ConfigSummary& s : all) {
        if (!s.result.standardOutput.empty()) {
            std::cerr << "hdrtm: note: configuration " << s.index << ": the library printed \""
                      << s.result.standardOutput << "\"\n";
        }
        for (const std::string& p : s.result.problems) {
            std::cerr << "hdrtm: warning: configuration " << s.index << ": " << p << "\n";
        }
    }
}

int runAll(const std::vector<Configuration>& configs, const RunOptions& options, bool versionTwo,
           const std::string& tuningLabel, const TMParams& curveParams) {
    makeOutputDir(options.outputDir);
    std::vector<ConfigSummary> all;
    const int total = static_cast<int>(configs.size());
    for (int i = 0; i < total; ++i) {
        std::cerr << "[" << (i + 1) << "/" << total << "] " << configs[i].describe() << std::flush;
        all.push_back(runAndWrite(i + 1, configs[i], options, versionTwo, tuningLabel));
        const size_t luts = all.back().result.luts.size();
        std::cerr << " ... " << (all.back().result.status == 0 ? "refused"
                                 : luts == 0                   ? "no LUT"
                                 : luts == 1                   ? "1 LUT"
                                                               : std::to_string(luts) + " LUTs")
                  << "\n";
    }
    // The curve with the upper-range knobs as the entry derived them in the
    // last call.
    TMParams plotted = curveParams;
    upperRangeFromLog(&plotted);
    writeCurvePlot(sampleToneCurve(plotted, "Tone curve: " + tuningLabel),
                   (fs::path(options.outputDir) / kCurveFile).string());
    reportProblems(all);
    bool problems = false;
    for (const ConfigSummary& s : all) problems = problems || !s.result.problems.empty();
    if (options.json) {
        std::cout << toJson(all, options.outputDir, tuningLabel).dump(2) << "\n";
    } else {
        printTable(all);
        size_t files = 0;
        for (const ConfigSummary& s : all) files += s.files.size();
        std::cout << "\nWrote " << files << " LUTs as .cube files" << (options.previews ? " with previews" : "")
                  << " and the tone curve (" << kCurveFile << ") to " << fs::absolute(options.outputDir).string()
                  << "\n";
    }
    return problems ? kExitError : kExitOk;
}

// A vetted tuning file as the library loads it, for the tone-curve plot,
// which needs the record itself.
TMParams loadTuning(const std::string& path, bool* versionTwo) {
    *versionTwo = vetTuning(path).versionTwo;
    TMParams params;
    PccCoefficients pcc;
    std::memset(&params, 0, sizeof(params));
    params.pcc = &pcc;
    if (HDR_load_tone_mapping_xml(path.c_str(), &params) != 0) {
        throw CommandError("the library cannot load the tuning file " + path);
    }
    params.pcc = nullptr;
    return params;
}

}  // namespace

std::vector<Configuration> demoConfigurations() {
    const auto pq = [](uint32_t master, uint32_t cll) {
        LayerConfig l;
        l.transfer = kTransferPq;
        l.primaries = kPrimariesBt2020;
        l.masterNits = master;
        l.cllPresent = cll != 0;
        l.maxCll = cll;
        return l;
    };
    LayerConfig hlg;
    hlg.transfer = kTransferHlg;
    hlg.primaries = kPrimariesBt2020;
    LayerConfig sdr;
    sdr.transfer = kTransferBt709;
    sdr.primaries = 1;
    sdr.contentClass = kContentClassSdr;
    const std::vector<LayerConfig> singles = {pq(kDemoMasterLow, 0), pq(kDemoMasterLow, kDemoCllLow),
                                            pq(kDemoMasterHigh, 0), pq(kDemoMasterHigh, kDemoCllHigh),
                                            hlg, sdr};
    std::vector<Configuration> configs;
    for (const LayerConfig& layer : singles) {
        for (uint32_t blend : {kBlendSpacePq, kBlendSpacePerLayer, kBlendSpaceHlg}) {
            for (bool hw : {false, true}) configs.push_back({{layer}, blend, hw});
        }
    }
    configs.push_back({{pq(kDemoMasterHigh, kDemoCllHigh), sdr}, kBlendSpacePq, true});
    configs.push_back({{hlg, sdr}, kBlendSpaceHlg, true});
    return configs;
}

int runDemo(const RunOptions& options) {
    std::string error;
    if (!setTuningProperty("", &error)) throw CommandError(error);
    return runAll(demoConfigurations(), options, false, "built-in defaults", defaultParams());
}

int runLut(const std::string& tuningPath, const Configuration& config, const RunOptions& options) {
    TMParams curveParams = defaultParams();
    bool versionTwo = false;
    std::string label = "built-in defaults";
    std::string error;
    if (!tuningPath.empty()) {
        curveParams = loadTuning(tuningPath, &versionTwo);
        label = tuningPath;
    }
    if (!setTuningProperty(tuningPath, &error)) throw CommandError(error);
    const int status = runAll({config}, options, versionTwo, label, curveParams);
    if (!tuningPath.empty()) {
        const std::vector<std::string>& log = lastLibraryLog();
        if (std::find(log.begin(), log.end(), "TMParam loading fails!") != log.end()) {
            throw CommandError("the library failed to load the tuning file " + tuningPath);
        }
    }
    return status;
}

int runCheck(const std::string& path, bool strict) {
    const CheckResult result = checkTuningFile(path);
    for (const Diagnostic& d : result.diagnostics) std::cout << formatDiagnostic(path, d) << "\n";
    if (result.diagnostics.empty()) {
        std::cout << path << ": no problems found\n";
    } else {
        std::cout << path << ": " << result.errors() << " error(s), " << result.warnings()
                  << " warning(s)\n";
    }
    return checkExitStatus(result, strict);
}

int runCurve(const std::string& tuningPath, const std::string& outputPath, float contentPeakNits) {
    TMParams params = defaultParams();
    std::string title = "Tone curve: built-in defaults";
    bool versionTwo = false;
    if (!tuningPath.empty()) {
        params = loadTuning(tuningPath, &versionTwo);
        title = "Tone curve: " + fs::path(tuningPath).filename().string();
    }
    // One call of the entry with a BT.2020 PQ layer mastered at the content
    // peak: the upper-range knobs are the ones the entry derives from it.
    std::string error;
    if (!setTuningProperty(tuningPath, &error)) throw CommandError(error);
    LayerConfig layer;
    layer.masterNits = static_cast<uint32_t>(contentPeakNits);
    runConfiguration({{layer}, kBlendSpacePerLayer, false}, 0, versionTwo);
    upperRangeFromLog(&params);
    writeCurvePlot(sampleToneCurve(params, title), outputPath);
    std::cout << "Wrote the tone curve to " << outputPath << "\n";
    return kExitOk;
}

int runPreview(const std::string& cubePath, const std::string& outputPath, const std::string& input,
               const std::string& output, float peakNits) {
    requireReadable(cubePath, "LUT file");
    CubeTable table = readCube(cubePath);
    if (!input.empty() && (!parseSignal(input, &table.input) || table.input == Signal::kPanel)) {
        throw CommandError("--input must be pq, hlg or sdr, not \"" + input + "\"");
    }
    if (!output.empty() && (!parseSignal(output, &table.output) || table.output == Signal::kSdr)) {
        throw CommandError("--output must be panel, pq or hlg, not \"" + output + "\"");
    }
    if (peakNits > 0.0f) table.panel.peakNits = peakNits;
    writePng(outputPath, renderPreview(table, fs::path(cubePath).filename().string()));
    std::cout << "Wrote the preview to " << outputPath << "\n";
    return kExitOk;
}

}  // namespace hdrtm::tool
