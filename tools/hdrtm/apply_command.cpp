// apply: a LUT on a real image, as the display hardware applies it: 10-bit
// input codes, tetrahedral interpolation between the LUT's true grid
// positions, integer output codes at the LUT's bit depth.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>

#include "clf_file.h"
#include "color_difference.h"
#include "command_inputs.h"
#include "commands.h"
#include "hdr_playback.h"
#include "output_files.h"
#include "png_image.h"
#include "lut_lookup.h"
#include "tuning_record.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr double kSampleMax = 65535.0;  // 16-bit PNG samples
constexpr int kForeignLutBits = 16;     // output depth of a .cube hdrtm did not write
constexpr int kProgressWidth = 40;      // characters of the progress bar
constexpr const char* kCompareClip = "clip";
// H.273 code points the cICP chunk uses beyond those of the entry's layers.
constexpr uint32_t kPrimariesBt709 = 1;
constexpr uint32_t kPrimariesP3 = 12;
constexpr uint32_t kTransferSrgb = 13;
constexpr uint32_t kTransferBt2020[] = {14, 15};  // BT.2020 10- and 12-bit, as BT.709

// The signal an image's cICP transfer code says it holds.
bool signalOfTransfer(uint32_t transfer, Signal* out) {
    if (transfer == kTransferPq) {
        *out = Signal::kPq;
    } else if (transfer == kTransferHlg) {
        *out = Signal::kHlg;
    } else if (transfer == kTransferBt709 || transfer == kTransferSrgb ||
               std::count(std::begin(kTransferBt2020), std::end(kTransferBt2020), transfer) > 0) {
        *out = Signal::kSdr;
    } else {
        return false;
    }
    return true;
}

std::string primariesName(uint32_t code) {
    if (code == kPrimariesBt709) return "bt709";
    if (code == kPrimariesBt2020) return "bt2020";
    if (code == kPrimariesP3) return "p3";
    return std::to_string(code);
}

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
        throw CommandError(named + " give no LUT for " + config.describe() +
                           ": the entry took the row \"" + r.rows.front() + "\"" +
                           (r.remedies.front() == Remedy::kNone ? "" : "; " + remedyText(r.remedies.front())));
    }
    Lut3d lut = r.luts.front().lut;
    if (params.output_gamma_space == GAMMA_CUSTOM) lut.panel.gammaValue = params.output_gamma_val;
    return toCubeTable(lut);
}

// One image row through `table` as hardware does: 10-bit input codes,
// output codes at the LUT's depth, written as 16-bit samples.
void applyRow(const CubeTable& table, const std::vector<uint16_t>& in, uint16_t* out, size_t pixels) {
    const double maxCode = std::ldexp(1.0, table.bitDepth) - 1.0;
    for (size_t p = 0; p < pixels; ++p) {
        std::array<float, 3> position;
        for (int c = 0; c < 3; ++c) {
            const long code = std::lround(in[p * 3 + c] * double(kInputCodeMax) / kSampleMax);
            position[c] = static_cast<float>(code) / static_cast<float>(kInputCodeMax);
        }
        const std::array<float, 3> v = lookUp(table, position);
        for (int c = 0; c < 3; ++c) {
            const double code = std::round(std::clamp(double(v[c]), 0.0, 1.0) * maxCode);
            out[p * 3 + c] = static_cast<uint16_t>(std::lround(code * kSampleMax / maxCode));
        }
    }
}

// The same row clipped plainly to the panel of `table`, encoded as its panel signal.
void clipRow(const CubeTable& table, Signal input, const std::vector<uint16_t>& in, uint16_t* out, size_t pixels) {
    std::vector<Nits3> light(pixels);
    for (size_t p = 0; p < pixels; ++p) {
        const std::array<float, 3> signal = {float(in[p * 3] / kSampleMax), float(in[p * 3 + 1] / kSampleMax),
                                             float(in[p * 3 + 2] / kSampleMax)};
        light[p] = inputLight(signal, input);
    }
    const auto clipped = clipToPanel(light, table.panel);
    for (size_t p = 0; p < pixels; ++p) {
        for (int c = 0; c < 3; ++c) out[p * 3 + c] = static_cast<uint16_t>(std::lround(clipped[p][c] * kSampleMax));
    }
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
    const size_t width = static_cast<size_t>(reader.width());
    const int sides = options.compare.empty() ? 1 : 2;
    // A LUT into a blending space writes that space's signal, which cICP can name.
    Cicp outputCicp{kPrimariesBt2020, static_cast<uint8_t>(lut.output == Signal::kHlg ? kTransferHlg : kTransferPq),
                    0, 1};
    const bool labelled = lut.output != Signal::kPanel && (sides == 1 || other.output == lut.output) && !compareClip;
    PngWriter writer(reader.width() * sides, reader.height(), labelled ? &outputCicp : nullptr);
    std::vector<uint16_t> in;
    std::vector<uint16_t> out(width * 3 * sides);
    Progress progress(reader.height());
    for (int y = 0; y < reader.height(); ++y) {
        reader.readRow(in);
        applyRow(lut, in, out.data(), width);
        if (compareClip) clipRow(lut, input, in, out.data() + width * 3, width);
        if (sides == 2 && !compareClip) applyRow(other, in, out.data() + width * 3, width);
        writer.writeRow(out);
        progress.update(y + 1);
    }
    writeFileAtomically(options.output, writer.finish());
    std::cout << "Wrote " << options.output << " (" << reader.width() * sides << "x" << reader.height() << ", "
              << signalLabel(input) << " through the LUT" << (compareClip ? ", beside the plain clip" : "")
              << (sides == 2 && !compareClip ? ", beside " + options.compare : "") << "): "
              << (lut.output == Signal::kPanel ? "panel signal" : std::string(signalLabel(lut.output)) + " signal")
              << " as 16-bit samples\n";
    return kExitOk;
}

}  // namespace hdrtm::tool
