// hdrtm: the library's LUTs as files, a tuning-file checker, tone-curve plots
// and previews, for panel-tuning engineers on their workstations.
#include <CLI/CLI.hpp>

#include <iostream>

#include "commands.h"

namespace {

using namespace hdrtm::tool;

constexpr int kMaxRepeat = 1000;

void addRunOptions(CLI::App* cmd, RunOptions& options, const std::string& defaultDir) {
    options.outputDir = defaultDir;
    cmd->add_option("-o,--output", options.outputDir, "output folder")->capture_default_str();
    cmd->add_option("--repeat", options.repeat, "timed calls per configuration")
        ->check(CLI::Range(0, kMaxRepeat))
        ->capture_default_str();
    cmd->add_flag("--no-preview", [&options](int64_t) { options.previews = false; },
                  "skip the preview images");
    cmd->add_flag("-v,--verbose", options.verbose, "echo the library's log lines");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"hdrtm: libhdr_tm's LUTs as .cube files, a tuning-file checker, tone curves and previews"};
    app.require_subcommand(1);

    RunOptions demoOptions;
    CLI::App* demo = app.add_subcommand(
        "demo", "run the entry as a display service would, on the built-in defaults, for a "
                "representative set of layers; write every LUT, previews, the tone curve and a summary");
    addRunOptions(demo, demoOptions, "hdrtm-demo");

    RunOptions lutOptions;
    std::string lutTuning;
    std::vector<std::string> layerTexts;
    std::string blendText = "pq";
    bool hardware = false;
    CLI::App* lut = app.add_subcommand("lut", "the same for one configuration you give");
    addRunOptions(lut, lutOptions, "hdrtm-lut");
    lut->add_option("-t,--tuning", lutTuning, "tuning file (default: the built-in defaults)");
    lut->add_option("-l,--layer", layerTexts,
                    "a layer, 1 to 4 times: pq|hlg|sdr|CODE[,primaries=bt2020|bt709|p3|CODE]"
                    "[,class=N][,master=NITS][,cll=NITS]")
        ->required();
    lut->add_option("-b,--blend", blendText, "blend space: pq (0), layer (1) or hlg (2)")
        ->capture_default_str();
    lut->add_flag("--hw", hardware, "use the hardware path (colour manager: PCC read, 12-bit LUT push)");
    lut->add_flag("--json", lutOptions.json, "print the summary as JSON");

    std::string checkPath;
    bool strict = false;
    CLI::App* check = app.add_subcommand("check", "check a tuning file for settings the library "
                                                  "would not read as written");
    check->add_option("file", checkPath, "tuning file")->required();
    check->add_flag("--strict", strict, "exit 1 when there are warnings");

    std::string curveTuning;
    std::string curveOut = "tone_curve.svg";
    float curvePeak = 0.0f;
    CLI::App* curve = app.add_subcommand("curve", "plot the tone curve of a tuning (or of the defaults)");
    curve->add_option("file", curveTuning, "tuning file (default: the built-in defaults)");
    curve->add_option("-o,--output", curveOut, "plot file, .svg or .png")->capture_default_str();
    curve->add_option("--content-peak", curvePeak,
                      "mastering peak in nits of the content, for tunings that clip by it")
        ->check(CLI::Range(0.0f, 100000.0f));

    std::string previewCube;
    std::string previewOut = "preview.png";
    std::string previewInput;
    std::string previewOutput;
    float previewPeak = 0.0f;
    CLI::App* preview = app.add_subcommand("preview", "a test pattern through a .cube LUT beside a "
                                                      "plain clip to the panel, as PNG");
    preview->add_option("cube", previewCube, ".cube file")->required();
    preview->add_option("-o,--output", previewOut, "PNG file")->capture_default_str();
    preview->add_option("--input", previewInput, "the LUT's input signal: pq, hlg or sdr");
    preview->add_option("--output-signal", previewOutput, "the LUT's output: panel, pq or hlg");
    preview->add_option("--peak", previewPeak, "panel peak in nits")->check(CLI::Range(1.0f, 100000.0f));

    captureLibraryLog();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e);
        return code == 0 ? kExitOk : kExitError;
    }

    try {
        if (*demo) return runDemo(demoOptions);
        if (*lut) {
            Configuration config;
            if (layerTexts.size() > static_cast<size_t>(4)) {
                throw CommandError("at most 4 layers, not " + std::to_string(layerTexts.size()));
            }
            for (const std::string& text : layerTexts) {
                LayerConfig layer;
                std::string error;
                if (!parseLayerConfig(text, &layer, &error)) throw CommandError(error);
                config.layers.push_back(layer);
            }
            if (!parseBlendSpace(blendText, &config.blendSpace)) {
                throw CommandError("--blend must be pq, layer or hlg (or 0, 1, 2), not \"" + blendText + "\"");
            }
            config.hardware = hardware;
            return runLut(lutTuning, config, lutOptions);
        }
        if (*check) return runCheck(checkPath, strict);
        if (*curve) return runCurve(curveTuning, curveOut, curvePeak);
        if (*preview) return runPreview(previewCube, previewOut, previewInput, previewOutput, previewPeak);
    } catch (const std::exception& e) {
        std::cerr << "hdrtm: error: " << e.what() << "\n";
        return kExitError;
    }
    return kExitError;
}
