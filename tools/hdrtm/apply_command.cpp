// apply: a LUT file or a tuning's LUT on a 16-bit PNG (apply_image), with
// a progress bar on a terminal.
#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "apply/apply_image.h"
#include "command_inputs.h"
#include "commands.h"
#include "files/clf_file.h"
#include "files/output_files.h"
#include "files/png_image.h"
#include "hdr_playback.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace {

constexpr int kProgressWidth = 40;   // characters of the progress bar
constexpr const char* kCompareClip = "clip";

// The LUT a file or a tuning gives for the configuration.
CubeTable loadLut(const std::string& source, const Configuration& config, bool force, const char* what) {
    if (isLutFileName(source)) {
        requireReadable(source, what);
        CubeTable table = readLutFile(source);
        if (table.bitDepth == 0) table.bitDepth = kForeignLutBits;
        return table;
    }
    bool versionTwo = false;
    TMParams params = defaultParams();
    if (source != "defaults") params = loadTuning(source, force, &versionTwo);
    std::string error;
    if (!setTuningProperty(source == "defaults" ? "" : source, &error)) throw CommandError(error);
    const RunResult r = runConfiguration(config, 0, versionTwo);
    setTuningProperty("", &error);
    if (r.luts.empty()) {
        const std::string named = source == "defaults" ? "the built-in defaults" : std::string(what) + " " + source;
        const std::string remedy = remedyText(r.remedies.front());
        throw CommandError(named + " give no LUT for " + config.describe() +
                           ": the entry took the row \"" + r.rows.front() + "\"" +
                           (remedy.empty() ? "" : "; " + remedy));
    }
    Lut3d lut = r.luts.front().lut;
    if (params.output_gamma_space == GAMMA_CUSTOM) lut.panel.gammaValue = params.output_gamma_val;
    return toCubeTable(lut);
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
    PngReader reader(options.image);
    Signal input = Signal::kPq;
    std::string primaries;
    if (!options.input.empty()) {
        if (!parseSignal(options.input, &input) || input == Signal::kPanel) {
            throw CommandError("apply: --input must be pq, hlg or sdr, not \"" + options.input + "\"");
        }
    } else if (!reader.hasCicp()) {
        throw CommandError("apply: " + options.image +
                           " has no cICP chunk to say what it encodes: give --input pq, hlg or sdr");
    } else if (!signalOfTransfer(reader.cicp().transfer, &input)) {
        throw CommandError("apply: " + options.image + " is encoded with H.273 transfer " +
                           std::to_string(reader.cicp().transfer) +
                           " (its cICP chunk); apply reads PQ (16), HLG (18) and SDR (1, 13, 14, 15): "
                           "give --input to read it as one of them");
    }
    if (reader.hasCicp()) primaries = primariesName(reader.cicp().primaries);
    if (reader.sourceBits() < 16) {
        std::cerr << "hdrtm: note: " << options.image << " has " << reader.sourceBits()
                  << "-bit samples; a 16-bit PNG keeps the detail a 10-bit LUT input needs\n";
    }

    // The configuration a tuning runs: the image's own signal unless --layer says otherwise.
    Configuration config = options.config;
    if (config.layers.empty()) {
        LayerConfig layer;
        std::string error;
        std::string text = signalName(input);
        if (!primaries.empty()) text += ",primaries=" + primaries;
        if (!parseLayerConfig(text, &layer, &error)) throw CommandError("apply: " + error);
        config.layers.push_back(layer);
    }
    const CubeTable lut = loadLut(options.lut, config, options.force, "LUT");
    if (lut.input != input) {
        throw CommandError("apply: the LUT takes " + std::string(signalLabel(lut.input)) + " input but " +
                           options.image + " holds " + signalLabel(input) +
                           "; give a LUT for it (--layer " + signalName(input) + ") or --input");
    }
    const bool compareClip = options.compare == kCompareClip;
    CubeTable other;
    if (!options.compare.empty() && !compareClip) {
        other = loadLut(options.compare, config, options.force, "--compare LUT");
        if (other.input != input) {
            throw CommandError("apply: the --compare LUT takes " + std::string(signalLabel(other.input)) +
                               " input but the image holds " + signalLabel(input));
        }
    }
    const Beside beside = options.compare.empty() ? Beside::kNothing
                          : compareClip           ? Beside::kPlainClip
                                                  : Beside::kSecondLut;
    const int sides = beside == Beside::kNothing ? 1 : 2;
    Progress progress(reader.height());
    writeFileAtomically(options.output, applyToImage(reader, input, lut, beside, &other,
                                                     [&progress](int rows) { progress.update(rows); }));
    std::cout << "Wrote " << options.output << " (" << reader.width() * sides << "x" << reader.height() << ", "
              << signalLabel(input) << " through the LUT" << (compareClip ? ", beside the plain clip" : "")
              << (sides == 2 && !compareClip ? ", beside " + options.compare : "") << "): "
              << (lut.output == Signal::kPanel ? "panel signal" : std::string(signalLabel(lut.output)) + " signal")
              << " as 16-bit samples\n";
    return kExitOk;
}

}  // namespace hdrtm::tool
