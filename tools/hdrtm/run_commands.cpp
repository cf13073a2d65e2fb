// demo and lut: run configurations through the entry and write what it gives.
#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "command_inputs.h"
#include "drawing/preview.h"
#include "drawing/tone_curve_plot.h"
#include "files/codes_file.h"
#include "files/cube_file.h"
#include "files/lut_file.h"
#include "files/output_files.h"
#include "hdr_playback.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kCurveFile = "tone_curve.svg";

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

// Runs one configuration and writes its LUTs; `written` collects the names
// of the files as they land, so a failed run can take them back.
ConfigSummary runAndWrite(int index, const Configuration& config, const RunOptions& options,
                          bool versionTwo, const std::string& tuningLabel,
                          std::vector<std::string>& written) {
    ConfigSummary summary{index, config, runConfiguration(config, options.repeat, versionTwo), {}};
    if (options.verbose) {
        for (const std::string& line : lastLibraryLog()) std::cerr << "  LIBHDR_TM: " << line << "\n";
    }
    const std::string stem = twoDigits(index) + "_" + config.slug();
    const bool clf = options.format == "clf";
    for (const ProducedLut& p : summary.result.luts) {
        std::string label = p.label;
        std::replace(label.begin(), label.end(), ' ', '-');
        const std::string base = stem + "_" + label;
        WrittenLut w{p.label, base + (clf ? ".clf" : ".cube"), "", "", p.hasChecksum, p.checksum,
                     p.lut.bitDepth,
                     p.lut.uniformGrid};
        const std::vector<std::string> notes =
            lutNotes(config.describe(), tuningLabel, summary.result.rows[p.layer], p);
        const std::string title = lutTitle(config.describe(), p);
        const auto inFolder = [&](const std::string& name) {
            return (fs::path(options.outputDir) / name).string();
        };
        // The preview is drawn before anything is written, so a LUT never
        // lands without it.
        std::string preview;
        if (options.previews) {
            w.preview = base + "_preview.png";
            preview = encodePng(*renderPreview(toCubeTable(p.lut), title));
        }
        const size_t before = written.size();
        writeLutFile(inFolder(w.cube), p, title, notes, &written);
        if (written.size() > before + 1) w.grid = written.back();
        if (options.previews) {
            writeFileAtomically(inFolder(w.preview), preview);
            written.push_back(w.preview);
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

// Why each layer that got no LUT got none, and what would give one.
void explainMissingLuts(const std::vector<ConfigSummary>& all) {
    for (const ConfigSummary& s : all) {
        for (size_t i = 0; i < s.result.rows.size(); ++i) {
            if (s.result.remedies[i] == Remedy::kNone) continue;
            std::cerr << "hdrtm: note: configuration " << s.index << ", layer " << i
                      << ": the entry's decision table took the row \"" << s.result.rows[i]
                      << "\"; " << remedyText(s.result.remedies[i]) << "\n";
        }
    }
}

void runEach(const std::vector<Configuration>& configs, const RunOptions& options, bool versionTwo,
             const std::string& tuningLabel, const TMParams& curveParams,
             std::vector<ConfigSummary>& all, std::vector<std::string>& written) {
    const int total = static_cast<int>(configs.size());
    for (int i = 0; i < total; ++i) {
        std::cerr << "[" << (i + 1) << "/" << total << "] " << configs[i].describe() << std::flush;
        all.push_back(runAndWrite(i + 1, configs[i], options, versionTwo, tuningLabel, written));
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
    written.push_back(kCurveFile);
    writeManifest(options.outputDir, written);
}

int runAll(const std::vector<Configuration>& configs, const RunOptions& options, bool versionTwo,
           const std::string& tuningLabel, const TMParams& curveParams, bool explain) {
    prepareRunFolder(options.outputDir, options.force);
    std::vector<ConfigSummary> all;
    std::vector<std::string> written;
    try {
        runEach(configs, options, versionTwo, tuningLabel, curveParams, all, written);
    } catch (...) {
        // End the progress line, and take back this run's files: a run is
        // written whole or not at all.
        std::cerr << std::endl;
        removeRunFiles(options.outputDir, written);
        throw;
    }
    if (!options.codesPath.empty()) {
        std::vector<ProducedLut> luts;
        for (const ConfigSummary& s : all) luts.insert(luts.end(), s.result.luts.begin(), s.result.luts.end());
        writeCodes(options.codesPath, luts);
    }
    reportProblems(all);
    if (explain) explainMissingLuts(all);
    bool problems = false;
    for (const ConfigSummary& s : all) problems = problems || !s.result.problems.empty();
    if (options.json) {
        std::cout << toJson(all, options.outputDir, tuningLabel).dump(2) << "\n";
    } else {
        printTable(all);
        size_t files = 0;
        for (const ConfigSummary& s : all) files += s.files.size();
        std::cout << "\n";
        if (files == 0)
            std::cout << "No LUT: the entry gives none for this configuration (the note says why). ";
        if (files > 0) {
            std::cout << "Wrote " << files << " LUTs as "
                      << (options.format == "clf" ? "CLF" : ".cube") << " files"
                      << (options.previews ? " with previews" : "") << " and the tone curve";
        } else {
            std::cout << "Wrote the tone curve";
        }
        std::cout << " (" << kCurveFile << ") to " << fs::absolute(options.outputDir).string() << "\n";
    }
    if (problems) return kExitError;
    size_t luts = 0;
    for (const ConfigSummary& s : all) luts += s.files.size();
    return explain && luts == 0 ? kExitNoLut : kExitOk;
}

}  // namespace

// Runs `configs` on the tuning at `tuningPath` (the built-in defaults when
// empty); `explain` says why a layer got no LUT.
int runConfigurations(const std::string& tuningPath, const std::vector<Configuration>& configs,
                      const RunOptions& options, bool explain) {
    TMParams curveParams = defaultParams();
    bool versionTwo = false;
    std::string label = "built-in defaults";
    std::string error;
    if (!tuningPath.empty()) {
        curveParams = loadTuning(tuningPath, options.force, &versionTwo);
        label = tuningPath;
    }
    if (!setTuningProperty(tuningPath, &error)) throw CommandError(error);
    const int status = runAll(configs, options, versionTwo, label, curveParams, explain);
    if (!tuningPath.empty()) {
        const std::vector<std::string>& log = lastLibraryLog();
        if (std::find(log.begin(), log.end(), "TMParam loading fails!") != log.end()) {
            throw CommandError("the library failed to load the tuning file " + tuningPath);
        }
    }
    return status;
}

int runDemo(const std::string& tuningPath, const RunOptions& options) {
    return runConfigurations(tuningPath, demoConfigurations(), options, false);
}

int runLut(const std::string& tuningPath, const Configuration& config, const RunOptions& options) {
    if (!options.codesPath.empty() && !isCodesFileName(options.codesPath)) {
        throw CommandError("lut: --codes " + options.codesPath + ": the codes are written as .csv or .json");
    }
    return runConfigurations(tuningPath, {config}, options, true);
}

}  // namespace hdrtm::tool
