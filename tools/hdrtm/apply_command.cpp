// apply: a LUT file or a tuning's LUT on a 16-bit PNG (apply_image), with
// a progress bar on a terminal.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>

#include "apply/apply_image.h"
#include "command_inputs.h"
#include "commands.h"
#include "files/clf_file.h"
#include "files/output_files.h"
#include "files/png_image.h"
#include "hdr_playback.h"
#include "messages.h"
#include "number_text.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr int kProgressWidth = 40;   // characters of the progress bar
constexpr const char* kCompareClip = "clip";
constexpr uint8_t kCicpMatrixRgb = 0;   // cICP matrix coefficients of RGB samples
constexpr uint8_t kCicpNarrowRange = 0;  // cICP video full-range flag: narrow
constexpr uint8_t kCicpFullRange = 1;

// The signal the image holds: its cICP transfer, or --input, which says
// so when it overrides the chunk.
Signal imageSignal(const PngReader& reader, const ApplyOptions& options) {
    Signal fromCicp = Signal::kPanel;
    const bool cicpReadable = reader.hasCicp() && signalOfTransfer(reader.cicp().transfer, &fromCicp);
    if (!options.input.empty()) {
        Signal input = Signal::kPq;
        if (!parseSignal(options.input, &input) || input == Signal::kPanel) {
            throw CommandError("--input must be pq, hlg or sdr, not \"" + options.input + "\"");
        }
        if (reader.hasCicp() && (!cicpReadable || fromCicp != input)) {
            printNote("reading " + options.image + " as " + signalLabel(input) + " (--input), although its cICP chunk " +
                      "gives transfer " + std::to_string(reader.cicp().transfer) +
                      (cicpReadable ? std::string(" (") + signalLabel(fromCicp) + ")" : std::string()));
        }
        return input;
    }
    if (!reader.hasCicp()) {
        throw CommandError(options.image + " has no cICP chunk to say what it encodes: give --input pq, hlg or sdr");
    }
    if (!cicpReadable) {
        throw CommandError(options.image + " is encoded with H.273 transfer " + std::to_string(reader.cicp().transfer) +
                           " (its cICP chunk); apply reads PQ (16), HLG (18) and SDR (1, 13, 14, 15): "
                           "give --input to read it as one of them");
    }
    return fromCicp;
}

// The cICP fields beside the transfer: RGB samples only, full or narrow
// range. Returns whether the samples are narrow-range.
bool checkCicp(const PngReader& reader, const std::string& image) {
    if (!reader.hasCicp()) return false;
    const Cicp cicp = reader.cicp();
    if (cicp.matrix != kCicpMatrixRgb) {
        throw CommandError(image + "'s cICP chunk gives matrix coefficients " + std::to_string(cicp.matrix) +
                           " (YCbCr); a PNG holds RGB samples, and apply reads only matrix 0 (RGB)");
    }
    if (cicp.fullRange != kCicpNarrowRange && cicp.fullRange != kCicpFullRange) {
        throw CommandError(image + "'s cICP chunk gives the full-range flag " + std::to_string(cicp.fullRange) +
                           ", which is neither 0 (narrow) nor 1 (full)");
    }
    if (cicp.fullRange == kCicpNarrowRange) {
        printNote(image + " is narrow-range (its cICP chunk): black at 16 and white at 235 (in 8-bit steps) "
                          "are spread over the full range before the LUT");
    }
    return cicp.fullRange == kCicpNarrowRange;
}

// "BT.2020 (9)", as messages name H.273 primaries.
std::string primariesLabel(uint32_t code) {
    const char* name = code == kPrimariesBt709    ? "BT.709"
                       : code == kPrimariesBt2020 ? "BT.2020"
                       : code == kPrimariesP3     ? "Display P3"
                                                  : nullptr;
    return name ? std::string(name) + " (" + std::to_string(code) + ")" : "code " + std::to_string(code);
}

// How a caption names a LUT source: the file's name, or the tuning's with
// the configuration it ran.
std::string sourceName(const std::string& source, const Configuration& config) {
    const std::string name = source == kDefaultsName ? kDefaultsLabel : fs::path(source).filename().string();
    return isLutFileName(source) ? name : name + " (" + config.describe() + ")";
}

// The LUT a file or a tuning gives for the configuration.
CubeTable loadLut(const std::string& source, const Configuration& config, bool force, const char* what) {
    if (isLutFileName(source)) {
        requireReadable(source, what);
        CubeTable table = readLutFile(source);
        if (table.bitDepth == 0) table.bitDepth = kForeignLutBits;
        return table;
    }
    bool versionTwo = false;  // the record's version says it too, which runOnTuning reads
    TMParams params = defaultParams();
    if (source != kDefaultsName) params = loadTuning(source, force, &versionTwo);
    const RunResult r = runOnTuning(source == kDefaultsName ? "" : source, params, {config}).front();
    if (r.luts.empty()) {
        const std::string named = source == kDefaultsName ? "the built-in defaults give" : "the tuning " + source + " gives";
        const std::string remedy = remedyText(r.remedies.front());
        throw CommandError(named + " no LUT for " + config.describe() +
                           ": the entry took the row \"" + r.rows.front() + "\"" +
                           (remedy.empty() ? "" : "; " + remedy));
    }
    return toCubeTable(r.luts.front().lut);
}

class Progress {
public:
    explicit Progress(int total) : total_(total), shown_(isatty(STDERR_FILENO) != 0) {}
    void update(int done) {
        if (!shown_) return;
        const int percent = static_cast<int>(100LL * done / std::max(total_, 1));
        if (percent == last_) return;
        last_ = percent;
        const int filled = percent * kProgressWidth / 100;
        std::cerr << "\rapply: [" << std::string(filled, '#') << std::string(kProgressWidth - filled, ' ') << "] "
                  << percent << "%" << std::flush;
    }
    ~Progress() {
        if (shown_ && last_ >= 0) std::cerr << "\r" << std::string(kProgressWidth + 16, ' ') << "\r" << std::flush;
    }

private:
    int total_;
    bool shown_;
    int last_ = -1;
};

}  // namespace

int runApply(const ApplyOptions& options) {
    requireReadable(options.image, "image");
    requireWritable(options.output, {".png"}, "-o");
    noteIfInRunFolder(options.output);
    const bool lutIsTuning = !isLutFileName(options.lut);
    const bool compareIsTuning = !options.compare.empty() && options.compare != kCompareClip &&
                                 !isLutFileName(options.compare);
    if (!lutIsTuning && !compareIsTuning && options.configurationGiven) {
        throw CommandError("--layer, --blend and --hw choose what a tuning runs, and no tuning is given (LUT files "
                           "hold their own LUT): drop them");
    }
    const auto isTuningFile = [](const std::string& s) { return !s.empty() && s != kDefaultsName && s != kCompareClip; };
    if (options.force && !(lutIsTuning && isTuningFile(options.lut)) &&
        !(compareIsTuning && isTuningFile(options.compare))) {
        throw CommandError("--force uses a tuning file with errors, and no tuning file is given: drop it");
    }
    PngReader reader(options.image);
    const Signal input = imageSignal(reader, options);
    const bool narrowRange = checkCicp(reader, options.image);
    if (reader.sourceBits() < 16) {
        printNote(options.image + " has " + std::to_string(reader.sourceBits()) +
                  "-bit samples; a 16-bit PNG keeps the detail a 10-bit LUT input needs");
    }
    std::string primaries;
    if (reader.hasCicp()) {
        primaries = primariesName(reader.cicp().primaries);
        if (reader.cicp().primaries != inputPrimaries(input)) {
            printNote(options.image + "'s cICP chunk gives primaries " + primariesLabel(reader.cicp().primaries) +
                      "; the entry's " + signalLabel(input) + " pipelines read their input as " +
                      primariesLabel(inputPrimaries(input)) + ", so its colours are read as if on those");
        }
    }

    // The configuration a tuning runs: the image's own signal unless --layer says otherwise.
    Configuration config = options.config;
    if (config.layers.empty()) {
        LayerConfig layer;
        std::string error;
        std::string text = signalName(input);
        if (!primaries.empty()) text += ",primaries=" + primaries;
        if (!parseLayerConfig(text, &layer, &error)) throw CommandError(error);
        config.layers.push_back(layer);
    }
    const CubeTable lut = loadLut(options.lut, config, options.force, "LUT");
    if (lut.input != input) {
        throw CommandError("the LUT takes " + std::string(signalLabel(lut.input)) + " input but " + options.image +
                           " holds " + signalLabel(input) + "; give a LUT for it (--layer " + signalName(input) +
                           ") or --input");
    }
    ApplySetup setup;
    setup.input = input;
    setup.narrowRange = narrowRange;
    setup.lut = &lut;
    setup.captions[0] = "LUT: " + sourceName(options.lut, config);
    CubeTable other;
    if (options.compare == kCompareClip) {
        setup.beside = Beside::kPlainClip;
        setup.captions[1] = "plain clip to the " + numberText(lut.panel.peakNits) + "-nit panel";
    } else if (!options.compare.empty()) {
        other = loadLut(options.compare, config, options.force, "--compare LUT");
        if (other.input != input) {
            throw CommandError("the --compare LUT takes " + std::string(signalLabel(other.input)) +
                               " input but the image holds " + signalLabel(input));
        }
        setup.beside = Beside::kSecondLut;
        setup.second = &other;
        setup.captions[1] = "LUT: " + sourceName(options.compare, config);
    }
    std::string tagged;
    appliedImageTags(setup, &tagged);
    Progress progress(reader.height());
    writeFileAtomically(options.output,
                        applyToImage(reader, setup, [&progress](int rows) {
                            stopIfInterrupted();
                            progress.update(rows);
                        }));
    const int sides = setup.beside == Beside::kNothing ? 1 : 2;
    const int height = reader.height() + (sides == 2 ? kCaptionBandHeight : 0);
    std::cout << "Wrote " << options.output << " (" << reader.width() * sides << "x" << height << ": "
              << signalLabel(input) << " through the LUT"
              << (sides == 2 ? ", " + setup.captions[1] + " beside it, captioned above" : "")
              << (reader.hasAlpha() ? ", alpha kept" : "") << "), "
              << (lut.output == Signal::kPanel ? "panel signal" : std::string(signalLabel(lut.output)) + " signal")
              << " as 16-bit samples, " << tagged << "\n";
    return kExitOk;
}

}  // namespace hdrtm::tool
