// demo and lut: run configurations through the entry and write what it gives.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "colour/reference_levels.h"
#include "command_inputs.h"
#include "commands.h"
#include "drawing/preview.h"
#include "drawing/tone_curve_plot.h"
#include "files/codes_file.h"
#include "files/cube_file.h"
#include "files/lut_file.h"
#include "files/output_files.h"
#include "hdr_playback.h"
#include "messages.h"
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

std::string counted(size_t n, const std::string& one, const std::string& many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

struct WrittenLut {
    std::string file;     // names in the run folder
    std::string grid;
    std::string preview;
    std::vector<ReferenceLevel> levels;
    int sameAsConfig = 0;  // an earlier configuration with an identical LUT; 0: none
    std::string sameAsLabel;
};

struct ConfigSummary {
    int index;
    Configuration config;
    RunResult result;
    std::vector<WrittenLut> files;  // one per LUT of the result
};

// Where the codes file goes: by name into the run folder (and its
// manifest), or to a path outside it.
struct CodesPlace {
    std::string nameInFolder;
    std::string pathOutside;
};

// Runs one configuration and stages its LUTs, grids and previews.
ConfigSummary runAndWrite(int index, const Configuration& config, const RunOptions& options, bool versionTwo,
                          const std::string& tuningPath, RunFolder& folder) {
    ConfigSummary summary{index, config, runConfiguration(config, options.repeat, versionTwo), {}};
    const std::vector<std::string>& log = lastLibraryLog();
    if (options.verbose) {
        for (const std::string& line : log) std::cerr << "  LIBHDR_TM: " << line << "\n";
    }
    if (!tuningPath.empty() && libraryLoadFailed()) {
        throw CommandError("the library failed to load the tuning file " + tuningPath);
    }
    const std::string tuningLabel = tuningPath.empty() ? kDefaultsLabel : tuningPath;
    const std::string stem = twoDigits(index) + "_" + config.slug();
    const bool clf = options.format == "clf";
    for (const ProducedLut& p : summary.result.luts) {
        std::string label = p.label;
        std::replace(label.begin(), label.end(), ' ', '-');
        const std::string base = stem + "_" + label;
        WrittenLut w;
        w.file = base + (clf ? ".clf" : ".cube");
        w.levels = referenceLevels(p.lut, config.layers[p.layer].contentPeakNits());
        const std::vector<std::string> notes =
            lutNotes(config.describe(), tuningLabel, summary.result.rows[p.layer], p, w.levels);
        const std::string title = lutTitle(config.describe(), p);
        for (const LutFileText& f : lutFileTexts(w.file, p, title, notes)) {
            folder.write(f.name, f.text);
            if (f.name != w.file) w.grid = f.name;
        }
        if (options.previews) {
            w.preview = base + "_preview.png";
            folder.write(w.preview, encodePng(*renderPreview(toCubeTable(p.lut), title)));
        }
        summary.files.push_back(w);
    }
    return summary;
}

// Marks each LUT identical to one an earlier configuration gave; returns
// how many there are, and in `metadataOnly` how many of them come from
// configurations that differ only in mastering or MaxCLL metadata.
size_t markRepeats(std::vector<ConfigSummary>& all, size_t* metadataOnly) {
    const auto sameLut = [](const Lut3d& a, const Lut3d& b) {
        return a.codes == b.codes && a.grid == b.grid && a.bitDepth == b.bitDepth && a.input == b.input &&
               a.output == b.output;
    };
    const auto sameButMetadata = [](const Configuration& a, const Configuration& b) {
        if (a.blendSpace != b.blendSpace || a.hardware != b.hardware || a.layers.size() != b.layers.size()) {
            return false;
        }
        for (size_t i = 0; i < a.layers.size(); ++i) {
            const LayerConfig& x = a.layers[i];
            const LayerConfig& y = b.layers[i];
            if (x.transfer != y.transfer || x.primaries != y.primaries || x.contentClass != y.contentClass) {
                return false;
            }
        }
        return true;
    };
    size_t repeats = 0;
    *metadataOnly = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        for (size_t k = 0; k < all[i].result.luts.size(); ++k) {
            const Lut3d& lut = all[i].result.luts[k].lut;
            WrittenLut& w = all[i].files[k];
            bool metadata = false;  // an identical LUT from a configuration that differs only in metadata
            for (size_t j = 0; j < i; ++j) {
                for (const ProducedLut& earlier : all[j].result.luts) {
                    if (!sameLut(lut, earlier.lut)) continue;
                    if (w.sameAsConfig == 0) {
                        w.sameAsConfig = all[j].index;
                        w.sameAsLabel = earlier.label;
                    }
                    metadata = metadata || sameButMetadata(all[i].config, all[j].config);
                }
            }
            repeats += w.sameAsConfig != 0 ? 1 : 0;
            *metadataOnly += metadata ? 1 : 0;
        }
    }
    return repeats;
}

void printTable(const std::vector<ConfigSummary>& all) {
    constexpr int kColumns = 7;
    struct Row {
        std::string cells[kColumns];
        std::string levels;  // a line of its own under the row
    };
    std::vector<Row> rows = {{{"#", "configuration", "decision row", "LUT", "same as", "checksum", "ms/call"}, ""}};
    for (const ConfigSummary& s : all) {
        for (size_t layer = 0; layer < s.result.rows.size(); ++layer) {
            Row r;
            if (layer == 0) {
                r.cells[0] = std::to_string(s.index);
                r.cells[1] = s.config.describe();
                r.cells[6] = formatMs(s.result.msPerCall);
            }
            r.cells[2] = (s.result.rows.size() > 1 ? std::to_string(layer) + ": " : "") + s.result.rows[layer];
            r.cells[3] = "-";
            r.cells[5] = "-";
            for (size_t k = 0; k < s.result.luts.size(); ++k) {
                const ProducedLut& p = s.result.luts[k];
                if (p.layer != static_cast<int>(layer)) continue;
                const WrittenLut& w = s.files[k];
                r.cells[3] = w.file;
                if (w.sameAsConfig != 0) r.cells[4] = "#" + std::to_string(w.sameAsConfig) + " " + w.sameAsLabel;
                if (p.hasChecksum) r.cells[5] = std::to_string(p.checksum);
                r.levels = "levels: " + levelsText(w.levels);
            }
            rows.push_back(r);
        }
    }
    size_t width[kColumns] = {};
    for (const Row& r : rows) {
        for (int c = 0; c < kColumns; ++c) width[c] = std::max(width[c], r.cells[c].size());
    }
    const std::string indent(width[0] + 2, ' ');
    for (const Row& r : rows) {
        std::string line;
        for (int c = 0; c < kColumns; ++c) {
            const std::string& cell = r.cells[c];
            const bool right = c == 0 || c >= 5;
            const std::string pad(width[c] - cell.size(), ' ');
            line += (right ? pad + cell : cell + pad) + (c + 1 == kColumns ? "" : "  ");
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        std::cout << line << "\n";
        if (!r.levels.empty()) std::cout << indent << r.levels << "\n";
    }
}

nlohmann::json toJson(const std::vector<ConfigSummary>& all, const RunFolder& folder, const std::string& tuningPath,
                      const std::string& codesPath) {
    const auto inFolder = [&folder](const std::string& name) {
        return name.empty() ? nlohmann::json() : pathJson(folder.pathOf(name));
    };
    nlohmann::json out;
    out["output_dir"] = pathJson(folder.dir());
    out["tuning"] = pathJson(tuningPath);
    out["tuning_diagnostics"] = vettedDiagnosticsJson();
    out["codes"] = pathJson(codesPath);
    out["files"] = nlohmann::json::array();
    for (const std::string& path : folder.paths()) out["files"].push_back(pathJson(path));
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
                                   {"master_nits", l.masterNits != 0 ? nlohmann::json(l.masterNits) : nlohmann::json()},
                                   {"max_cll", l.cllPresent ? nlohmann::json(l.maxCll) : nlohmann::json()},
                                   {"decision_row", i < s.result.rows.size() ? s.result.rows[i] : ""}});
        }
        c["luts"] = nlohmann::json::array();
        for (size_t k = 0; k < s.files.size(); ++k) {
            const WrittenLut& w = s.files[k];
            const ProducedLut& p = s.result.luts[k];
            c["luts"].push_back(
                {{"label", p.label},
                 {"layer", p.layer},
                 {"bit_depth", p.lut.bitDepth},
                 {"file", inFolder(w.file)},
                 {"grid", inFolder(w.grid)},
                 {"preview", inFolder(w.preview)},
                 {"uniform_grid", p.lut.uniformGrid},
                 {"checksum", p.hasChecksum ? nlohmann::json(p.checksum) : nlohmann::json()},
                 {"levels", levelsJson(w.levels)},
                 {"same_as", w.sameAsConfig == 0
                                 ? nlohmann::json()
                                 : nlohmann::json({{"configuration", w.sameAsConfig}, {"lut", w.sameAsLabel}})}});
        }
        c["printed"] = s.result.standardOutput.empty() ? nlohmann::json() : nlohmann::json(s.result.standardOutput);
        c["problems"] = s.result.problems;
        out["configurations"].push_back(c);
    }
    return out;
}

// An SDR LUT whose 18% grey already reaches the top of its blending space
// clips everything brighter; the levels say it, and so does a note.
void noteClippedSdr(const std::vector<ConfigSummary>& all) {
    std::string configs;
    for (const ConfigSummary& s : all) {
        for (size_t k = 0; k < s.files.size(); ++k) {
            const Lut3d& lut = s.result.luts[k].lut;
            for (const ReferenceLevel& l : s.files[k].levels) {
                if (l.name == kSdrGreyLevel && l.outputCodes[1] == lut.maxCode()) {
                    configs += (configs.empty() ? "" : ", ") + std::to_string(s.index);
                }
            }
        }
    }
    if (configs.empty()) return;
    printNote("configuration(s) " + configs + ": SDR 18% grey already reaches the top of the blending space, so "
              "all SDR content above it comes out at that one level (the entry maps SDR through the inverse "
              "pipelines with the forward tone curve)");
}

void reportProblems(const std::vector<ConfigSummary>& all) {
    for (const ConfigSummary& s : all) {
        if (!s.result.standardOutput.empty()) {
            printNote("configuration " + std::to_string(s.index) + ": the library printed \"" +
                      s.result.standardOutput + "\"");
        }
        for (const std::string& p : s.result.problems) {
            printWarning("configuration " + std::to_string(s.index) + ": " + p);
        }
    }
}

// Why each layer that got no LUT got none, and what would give one.
void explainMissingLuts(const std::vector<ConfigSummary>& all) {
    for (const ConfigSummary& s : all) {
        for (size_t i = 0; i < s.result.rows.size(); ++i) {
            if (s.result.remedies[i] == Remedy::kNone) continue;
            printNote("configuration " + std::to_string(s.index) + ", layer " + std::to_string(i) +
                      ": the entry's decision table took the row \"" + s.result.rows[i] + "\"; " +
                      remedyText(s.result.remedies[i]));
        }
    }
}

// Where the codes file goes: into the run folder (then it is in the
// manifest) or beside it; never into a folder inside the run folder, which
// the next run there would refuse as foreign.
CodesPlace placeCodes(const RunFolder& folder, const std::string& codesPath) {
    CodesPlace place;
    if (codesPath.empty()) return place;
    if (!isCodesFileName(codesPath)) {
        throw CommandError("--codes " + codesPath + ": its extension picks the format: name it .csv or .json");
    }
    std::error_code ec;
    const fs::path dir = fs::weakly_canonical(folder.dir(), ec);
    const fs::path parent = fs::weakly_canonical(fs::absolute(codesPath, ec).parent_path(), ec);
    const std::string relative = parent.lexically_relative(dir).string();
    if (relative == ".") {
        requireWritable(codesPath, {".csv", ".json"}, "--codes");
        place.nameInFolder = fs::path(codesPath).filename().string();
    } else if (!relative.empty() && relative.rfind("..", 0) != 0) {
        throw CommandError("--codes " + codesPath + " is in a folder inside the output folder " + folder.dir() +
                           ", which the next run there would refuse; write it into " + folder.dir() +
                           " itself or elsewhere");
    } else {
        requireWritable(codesPath, {".csv", ".json"}, "--codes");
        noteIfInRunFolder(codesPath);
        place.pathOutside = codesPath;
    }
    return place;
}

// "Wrote to DIR: 2 LUTs (.cube), 2 previews, ..."
void printWritten(const std::vector<ConfigSummary>& all, const RunFolder& folder, const RunOptions& options,
                  const CodesPlace& place) {
    size_t luts = 0, previews = 0, grids = 0;
    for (const ConfigSummary& s : all) {
        for (const WrittenLut& w : s.files) {
            ++luts;
            previews += w.preview.empty() ? 0 : 1;
            grids += w.grid.empty() ? 0 : 1;
        }
    }
    std::string parts;
    if (luts > 0) {
        parts = counted(luts, "LUT", "LUTs") + " (" + (options.format == "clf" ? ".clf" : ".cube") + ")";
        if (previews > 0) parts += ", " + counted(previews, "preview", "previews");
        if (grids > 0) parts += ", " + counted(grids, "grid file", "grid files") + " (.grid.txt)";
        parts += ", ";
    }
    if (!place.nameInFolder.empty()) parts += "the codes (" + place.nameInFolder + "), ";
    parts += std::string("the tone curve (") + kCurveFile + ") and the manifest (" + kManifestName + ")";
    std::cout << "\n";
    if (luts == 0) std::cout << "No LUT: the entry gives none for this configuration (the note says why). ";
    std::cout << "Wrote to " << absolutePath(folder.dir()) << ": " << parts;
    if (!place.pathOutside.empty()) std::cout << "; the codes to " << absolutePath(place.pathOutside);
    std::cout << "\n";
}

int runAll(const std::vector<Configuration>& configs, const RunOptions& options, bool versionTwo,
           const std::string& tuningPath, const TMParams& curveParams, bool explain) {
    RunFolder folder(options.outputDir, options.force);
    const CodesPlace place = placeCodes(folder, options.codesPath);
    std::vector<ConfigSummary> all;
    const int total = static_cast<int>(configs.size());
    try {
        for (int i = 0; i < total; ++i) {
            stopIfInterrupted();
            std::cerr << "[" << (i + 1) << "/" << total << "] " << configs[i].describe() << std::flush;
            all.push_back(runAndWrite(i + 1, configs[i], options, versionTwo, tuningPath, folder));
            const size_t luts = all.back().result.luts.size();
            std::cerr << " ... "
                      << (all.back().result.status == 0 ? "refused" : luts == 0 ? "no LUT" : counted(luts, "LUT", "LUTs"))
                      << "\n";
        }
    } catch (...) {
        std::cerr << std::endl;  // ends the progress line
        throw;
    }
    // The curve with the upper-range knobs as the entry derived them in the
    // last call.
    TMParams plotted = curveParams;
    upperRangeFromLog(&plotted);
    const std::string tuningLabel = tuningPath.empty() ? kDefaultsLabel : tuningPath;
    folder.write(kCurveFile, curvePlotBytes(sampleToneCurve(plotted, "Tone curve: " + tuningLabel), kCurveFile));
    StagedFiles codes;
    if (!options.codesPath.empty()) {
        std::vector<ProducedLut> luts;
        CodesRecord record{absolutePath(tuningPath), {}};
        for (const ConfigSummary& s : all) {
            for (const ProducedLut& p : s.result.luts) {
                luts.push_back(p);
                record.configurations.push_back(s.config.describe());
            }
        }
        const std::string text = codesText(options.codesPath, luts, record);
        if (place.nameInFolder.empty()) {
            codes.stage(place.pathOutside, text);
        } else {
            folder.write(place.nameInFolder, text);
        }
    }
    stopIfInterrupted();
    // A codes file outside the folder may be a device or pipe, which can
    // still fail: it goes first, while the folder is as it was.
    codes.commit();
    folder.commit();

    size_t metadataOnly = 0;
    const size_t repeats = markRepeats(all, &metadataOnly);
    reportProblems(all);
    if (explain) explainMissingLuts(all);
    noteClippedSdr(all);
    if (repeats > 0) {
        printNote(counted(repeats, "LUT is", "LUTs are") + " identical to an earlier configuration's (\"same as\")" +
                  (metadataOnly > 0 ? "; " + std::to_string(metadataOnly) +
                                          " of them come from a configuration that differs from an earlier one only in mastering or MaxCLL metadata, which "
                                          "changes nothing here"
                                    : std::string()));
    }
    bool problems = false;
    size_t lutCount = 0;
    for (const ConfigSummary& s : all) {
        problems = problems || !s.result.problems.empty();
        lutCount += s.files.size();
    }
    if (options.json) {
        std::cout << toJson(all, folder, tuningPath, options.codesPath).dump(2) << "\n";
    } else {
        printTable(all);
        printWritten(all, folder, options, place);
    }
    if (problems) return kExitError;
    return explain && lutCount == 0 ? kExitNoLut : kExitOk;
}

// Runs `configs` on the tuning at `tuningPath` (the built-in defaults when
// empty); `explain` says why a layer got no LUT.
int runConfigurations(const std::string& tuningPath, const std::vector<Configuration>& configs,
                      const RunOptions& options, bool explain) {
    TMParams curveParams = defaultParams();
    bool versionTwo = false;
    std::string error;
    if (!tuningPath.empty()) curveParams = loadTuning(tuningPath, options.force, &versionTwo);
    if (!setTuningProperty(tuningPath, &error)) throw CommandError(error);
    return runAll(configs, options, versionTwo, tuningPath, curveParams, explain);
}

}  // namespace

int runDemo(const std::string& tuningPath, const RunOptions& options) {
    return runConfigurations(tuningPath, demoConfigurations(), options, false);
}

int runLut(const std::string& tuningPath, const Configuration& config, const RunOptions& options) {
    return runConfigurations(tuningPath, {config}, options, true);
}

}  // namespace hdrtm::tool
