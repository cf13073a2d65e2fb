// curve: the tone curve a tuning gives, and whether the content peak reaches it.
#include <filesystem>
#include <iostream>

#include "command_inputs.h"
#include "commands.h"
#include "drawing/tone_curve_plot.h"
#include "files/output_files.h"
#include "hdr_playback.h"
#include "messages.h"
#include "number_text.h"
#include "playback/playback_run.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr float kClipLumaFloorNits = 1000.0f;  // the entry never clips content below this


// The tone curve the entry uses for content mastered at `peakNits` (0: no
// mastering metadata): one call with a BT.2020 PQ layer, whose log gives the
// upper-range knobs the entry derived from it.
CurvePlotData curveForPeak(TMParams params, float peakNits, bool versionTwo, const std::string& title) {
    LayerConfig layer;
    layer.masterNits = static_cast<uint32_t>(peakNits);
    runConfiguration({{layer}, kBlendSpacePerLayer, false}, 0, versionTwo);
    upperRangeFromLog(&params);
    return sampleToneCurve(params, title);
}

// Why the content peak does not reach the curve of `params`.
std::string whyPeakIsIgnored(const TMParams& params, bool tuned, float peakNits) {
    const std::string followIt = "for a curve that follows the content, a tuning needs "
                                 "<upper><enableM>0</enableM> and <fixedClip>0</fixedClip>";
    if (!tuned) return "the built-in defaults clip at a fixed luminance; " + followIt;
    if (params.enableM != 0) {
        return "the tuning's <upper><enableM> is " + std::to_string(params.enableM) +
               ", so the curve's shoulder follows <sharp>, not the content's peak; " + followIt;
    }
    if (params.fixedClip != 0) {
        return "the tuning's <upper><fixedClip> is " + std::to_string(params.fixedClip) +
               ", so the curve clips at its <clipLuma> of " + numberText(params.clipLuma) + " nits; " + followIt;
    }
    if (peakNits < kClipLumaFloorNits) return "the entry clips content peaks below 1000 nits at 1000";
    return "this tuning gives the same curve for every content peak";
}

}  // namespace

int runCurve(const std::string& tuningPath, const std::string& outputPath, const std::string& csvPath,
             float contentPeakNits, bool force) {
    requireWritable(outputPath, {".svg", ".png"}, "-o");
    noteIfInRunFolder(outputPath);
    if (!csvPath.empty()) {
        requireWritable(csvPath, {".csv"}, "--csv");
        noteIfInRunFolder(csvPath);
        std::error_code ec;
        if (fs::weakly_canonical(csvPath, ec) == fs::weakly_canonical(outputPath, ec)) {
            throw CommandError("--csv " + csvPath + " is the plot's own file (-o): give it a name of its own");
        }
    }
    TMParams params = defaultParams();
    std::string title = std::string("Tone curve: ") + kDefaultsLabel;
    bool versionTwo = false;
    if (!tuningPath.empty()) {
        params = loadTuning(tuningPath, force, &versionTwo);
        title = "Tone curve: " + fs::path(tuningPath).filename().string();
    }
    std::string error;
    if (!setTuningProperty(tuningPath, &error)) throw CommandError(error);
    if (contentPeakNits > 0.0f) title += ", content peak " + numberText(contentPeakNits) + " nits";
    const CurvePlotData data = curveForPeak(params, contentPeakNits, versionTwo, title);
    // The last series is the form the library uses: the table when the
    // tuning selects it, else the parametric curve.
    const CurveSeries& used = data.curves.back();
    if (contentPeakNits > 0.0f) {
        // Compared with the curve of content without a mastering peak.
        const CurvePlotData plain = curveForPeak(params, 0.0f, versionTwo, title);
        if (used.points == plain.curves.back().points) {
            const bool table = data.curves.size() > 1;
            const bool otherMoves = table && data.curves.front().points != plain.curves.front().points;
            printNote("--content-peak " + numberText(contentPeakNits) + " does not change the curve the library uses (" +
                      (table ? "the table" : "the parametric curve") + "): " +
                      (otherMoves ? "the tuning's <tone_map> table does not follow the content's peak; only the "
                                    "parametric curve (drawn too, unused) does"
                                  : whyPeakIsIgnored(params, !tuningPath.empty(), contentPeakNits)));
        }
    }
    StagedFiles files;
    files.stage(outputPath, curvePlotBytes(data, outputPath));
    if (!csvPath.empty()) {
        std::string text = "input_nits,output_nits\n";
        char line[64];
        for (const auto& point : used.points) {
            std::snprintf(line, sizeof(line), "%.6g,%.6g\n", point.first, point.second);
            text += line;
        }
        files.stage(csvPath, text);
    }
    files.commit();
    std::cout << "Wrote the tone curve to " << outputPath << "\n";
    if (!csvPath.empty()) std::cout << "Wrote the " << used.label << " curve's numbers to " << csvPath << "\n";
    return kExitOk;
}

}  // namespace hdrtm::tool
