// hdrtm: the library's LUTs as files, a tuning-file checker, tone-curve plots
// and previews, for panel-tuning engineers on their workstations.
#include <CLI/CLI.hpp>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <limits>

#include "command_inputs.h"
#include "commands.h"
#include "drawing/raster.h"
#include "files/output_files.h"
#include "hdr_playback.h"
#include "messages.h"
#include "number_text.h"
#include "tuning/near_names.h"

namespace {

using namespace hdrtm::tool;

constexpr int kMaxRepeat = 1000;
constexpr double kMinNits = 1.0;  // --peak and --content-peak
constexpr double kMaxNits = 10000.0;
constexpr double kUnbounded = std::numeric_limits<double>::infinity();

// A finite number from `low` to `high` (a whole one when `whole`): refuses
// nan, inf and text, naming the option's valid range.
CLI::Validator numberWithin(double low, double high, const std::string& unit, bool whole = false) {
    const std::string bounds = high == kUnbounded ? numberText(low) + " or more"
                                                  : numberText(low) + " to " + numberText(high);
    const std::string range =
        std::string(whole ? "a whole number " : "a number ") + (high == kUnbounded ? "of " : "from ") + bounds +
        (unit.empty() ? "" : " " + unit);
    return CLI::Validator(
        [=](std::string& text) {
            char* end = nullptr;
            errno = 0;
            const double v = whole ? static_cast<double>(std::strtol(text.c_str(), &end, 10))
                                   : std::strtod(text.c_str(), &end);
            const bool ok = !text.empty() && end != text.c_str() && *end == '\0' && errno == 0 && std::isfinite(v) &&
                            v >= low && v <= high;
            return ok ? std::string() : "must be " + range + ", not \"" + text + "\"";
        },
        bounds);
}

// --layer takes one value each time, so a positional argument after it is
// never read as another layer.
CLI::Option* addLayerOption(CLI::App* cmd, std::vector<std::string>& texts, const std::string& help) {
    return cmd->add_option("-l,--layer", texts, help)->allow_extra_args(false);
}

void addRunOptions(CLI::App* cmd, RunOptions& options, const std::string& defaultDir) {
    options.outputDir = defaultDir;
    cmd->add_option("-o,--output", options.outputDir,
                    "output folder, new or empty (or one an earlier run wrote)")
        ->capture_default_str();
    cmd->add_option("--repeat", options.repeat, "timed calls per configuration")
        ->check(numberWithin(0, kMaxRepeat, "", true))
        ->capture_default_str();
    cmd->add_flag("--no-preview", [&options](int64_t) { options.previews = false; },
                  "skip the preview images");
    cmd->add_flag("-v,--verbose", options.verbose, "echo the library's log lines");
    cmd->add_option("--format", options.format,
                    "LUT file format: cube (.cube, read by most tools) or clf (Common LUT Format, "
                    "grid points at their true positions)")
        ->check(CLI::IsMember({"cube", "clf"}))
        ->capture_default_str();
    cmd->add_flag("--force", options.force,
                  "build from a tuning file with errors; write into a folder holding other files");
    cmd->add_flag("--json", options.json, "print the summary as JSON");
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* sub : app.get_subcommands({})) names.push_back(sub->get_name());
    return names;
}

std::string joined(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& n : names) out += (out.empty() ? "" : ", ") + n;
    return out;
}

std::vector<std::string> optionNames(const CLI::App& cmd) {
    std::vector<std::string> names;
    for (const CLI::Option* o : cmd.get_options()) {
        for (const std::string& l : o->get_lnames()) names.push_back("--" + l);
        for (const std::string& s : o->get_snames()) names.push_back("-" + s);
    }
    return names;
}

int fail(const std::string& message) {
    printError(message);
    return kExitError;
}

// One message for an argument the command does not take: the likely
// intended option, else where the options are listed.
int unexpectedArgument(const CLI::App& cmd, const std::string& argument) {
    const std::string help = "; see hdrtm " + cmd.get_name() + " --help";
    if (argument.rfind('-', 0) != 0) return fail("unexpected argument \"" + argument + "\"" + help);
    const std::string name = argument.substr(0, argument.find('='));
    const std::string near = closestName(name, optionNames(cmd));
    return fail("unknown option " + name + (near.empty() ? help : " (did you mean " + near + "?)"));
}

// An option that does nothing in the combination given is refused, naming why.
void refuseUnless(bool useful, const std::string& why) {
    if (!useful) throw CommandError(why);
}

// The configuration that --layer, --blend and --hw give.
Configuration parseConfiguration(const std::vector<std::string>& layerTexts, const std::string& blendText,
                                 bool hardware) {
    Configuration config;
    if (layerTexts.size() > static_cast<size_t>(kMaxLayers)) {
        throw CommandError("at most " + std::to_string(kMaxLayers) +
                           " --layer options (the entry's layer records), not " + std::to_string(layerTexts.size()));
    }
    for (const std::string& text : layerTexts) {
        LayerConfig layer;
        std::string error;
        if (!parseLayerConfig(text, &layer, &error)) throw CommandError("--layer " + error);
        config.layers.push_back(layer);
    }
    if (!parseBlendSpace(blendText, &config.blendSpace)) {
        throw CommandError("--blend must be pq, layer or hlg (or 0, 1, 2), not \"" + blendText + "\"");
    }
    config.hardware = hardware;
    return config;
}

}  // namespace

int main(int argc, char** argv) {
    const struct ReleaseCachesAtExit {
        ~ReleaseCachesAtExit() { releaseDrawingCaches(); }
    } releaseCaches;
    CLI::App app{"hdrtm: libhdr_tm's LUTs as .cube or .clf files, a tuning-file checker, tone curves, previews, "
                 "differences between tunings, and LUTs applied to images"};
    app.require_subcommand(0, 1);
    app.allow_extras();
    app.set_version_flag("--version", "hdrtm " HDRTM_VERSION " (libhdr_tm " HDRTM_VERSION ")");

    RunOptions demoOptions;
    std::string demoTuning;
    CLI::App* demo = app.add_subcommand(
        "demo", "run the entry as a display service would for a representative set of layers; "
                "write every LUT, previews, the tone curve and a summary");
    addRunOptions(demo, demoOptions, "hdrtm-demo");
    demo->add_option("-t,--tuning", demoTuning, "tuning file (default: the built-in defaults)");

    RunOptions lutOptions;
    std::string lutTuning;
    std::vector<std::string> layerTexts;
    std::string blendText = "pq";
    bool hardware = false;
    CLI::App* lut = app.add_subcommand("lut", "the same for one configuration you give");
    addRunOptions(lut, lutOptions, "hdrtm-lut");
    lut->add_option("-t,--tuning", lutTuning, "tuning file (default: the built-in defaults)");
    addLayerOption(lut, layerTexts,
                   "a layer, 1 to 4 times: pq|hlg|sdr|CODE[,primaries=bt2020|bt709|p3|CODE]"
                   "[,class=0..2][,master=NITS][,cll=NITS]")
        ->required();
    lut->add_option("-b,--blend", blendText, "blend space: pq (0), layer (1) or hlg (2)")
        ->capture_default_str();
    lut->add_flag("--hw", hardware, "use the hardware path (colour manager: PCC read, 12-bit LUT push)");
    lut->add_option("--codes", lutOptions.codesPath,
                    "also write every node's input and output codes, as the library wrote or pushed them, "
                    "to FILE.csv or FILE.json");

    std::string checkPath;
    CheckOptions checkOptions;
    CLI::App* check = app.add_subcommand("check", "check a tuning file for settings the library "
                                                  "would not read as written");
    check->add_option("FILE", checkPath, "tuning file")->required();
    check->add_flag("--strict", checkOptions.strict, "exit 1 when there are warnings");
    check->add_flag("--json", checkOptions.json, "print the diagnostics (notes too) as a JSON list");
    check->add_flag("-v,--verbose", checkOptions.verbose, "also show notes (fallbacks that apply)");

    std::string curveTuning;
    std::string curveOut = "tone_curve.svg";
    std::string curveCsv;
    float curvePeak = 0.0f;
    bool curveForce = false;
    CLI::App* curve = app.add_subcommand("curve", "plot the tone curve of a tuning (or of the defaults)");
    curve->add_option("FILE", curveTuning, "tuning file (default: the built-in defaults)");
    curve->add_option("-o,--output", curveOut, "plot file, .svg or .png")->capture_default_str();
    curve->add_option("--csv", curveCsv, "also write the curve the library uses as input nits, output nits (.csv)");
    curve->add_option("--content-peak", curvePeak,
                      "mastering peak of the content in nits, for tunings that clip by it")
        ->check(numberWithin(kMinNits, kMaxNits, "nits"));
    curve->add_flag("--force", curveForce, "plot a tuning file with errors");

    std::string previewLut;
    std::string previewOut = "preview.png";
    std::string previewInput;
    std::string previewOutput;
    float previewPeak = 0.0f;
    CLI::App* preview = app.add_subcommand("preview", "a test pattern through a LUT (.cube or .clf) beside a "
                                                      "plain clip to the panel, as PNG");
    preview->add_option("LUT", previewLut, ".cube or .clf file")->required();
    preview->add_option("-o,--output", previewOut, "PNG file")->capture_default_str();
    preview->add_option("--input", previewInput, "the LUT's input signal: pq, hlg or sdr");
    preview->add_option("--output-signal", previewOutput, "the LUT's output: panel, pq or hlg");
    preview->add_option("--peak", previewPeak, "panel peak in nits")->check(numberWithin(kMinNits, kMaxNits, "nits"));

    std::string diffA;
    std::string diffB;
    DiffOptions diffOptions;
    diffOptions.outputDir = "hdrtm-diff";
    std::vector<std::string> diffLayers;
    std::string diffBlend = "pq";
    bool diffHardware = false;
    CLI::App* diff = app.add_subcommand(
        "diff", "compare two tunings' (or two LUT files') LUTs in codes and in ΔE_ITP "
                "(exit 0 identical or within --max-de, 1 different, 2 error)");
    diff->add_option("A", diffA, "tuning file A, \"defaults\", or a LUT file (.cube, .clf)")->required();
    diff->add_option("B", diffB, "tuning file B, \"defaults\", or a LUT file to compare with LUT file A")
        ->required();
    addLayerOption(diff, diffLayers, "compare this configuration (as lut takes it) instead of the demo's");
    diff->add_option("-b,--blend", diffBlend, "blend space with --layer: pq, layer or hlg")->capture_default_str();
    diff->add_flag("--hw", diffHardware, "with --layer: the hardware path");
    diff->add_option("--max-de", diffOptions.maxDeltaE,
                     "exit 0 when the largest ΔE_ITP is at most this, 1 otherwise (a tolerance for CI)")
        ->check(numberWithin(0.0, kUnbounded, ""));
    diff->add_option("-o,--output", diffOptions.outputDir,
                     "folder for the pictures, new or empty (or one an earlier run wrote)")
        ->capture_default_str();
    diff->add_flag("--no-pictures", [&diffOptions](int64_t) { diffOptions.pictures = false; },
                   "only the figures; write no files");
    diff->add_flag("--json", diffOptions.json, "print the figures as JSON");
    diff->add_flag("--force", diffOptions.force,
                   "compare tuning files with errors; write into a folder holding other files");

    ApplyOptions applyOptions;
    std::vector<std::string> applyLayers;
    std::string applyBlend = "layer";
    bool applyHardware = false;
    CLI::App* apply = app.add_subcommand(
        "apply", "apply a LUT to a 16-bit PNG as the display hardware does (tetrahedral, true grid positions)");
    apply->add_option("IMAGE", applyOptions.image, "16-bit PNG; its cICP chunk says PQ, HLG or SDR")->required();
    apply->add_option("LUT", applyOptions.lut, ".cube or .clf file, a tuning file, or \"defaults\"")->required();
    apply->add_option("-o,--output", applyOptions.output, "output PNG (16-bit samples of the LUT's output codes)")
        ->capture_default_str();
    apply->add_option("--input", applyOptions.input, "the image's signal, pq, hlg or sdr: needed without a cICP chunk; with one, overrides it (with a note)");
    apply->add_option("--compare", applyOptions.compare,
                      "show beside it: clip (the plain clip to the panel) or a second LUT, tuning or \"defaults\"");
    addLayerOption(apply, applyLayers, "with a tuning: the layer (default: the image's signal and primaries)");
    apply->add_option("-b,--blend", applyBlend, "with a tuning: blend space pq, layer or hlg")->capture_default_str();
    apply->add_flag("--hw", applyHardware, "with a tuning: the hardware path (12-bit LUT)");
    apply->add_flag("--force", applyOptions.force, "use a tuning file with errors");

    for (CLI::App* sub : app.get_subcommands({})) sub->allow_extras();

    // Over a file-size limit a write then fails with an error we report and
    // clean up after, instead of the signal killing the process mid-file.
    std::signal(SIGXFSZ, SIG_IGN);
    deferInterruptions();
    captureLibraryLog();
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        const std::vector<CLI::App*> chosen = app.get_subcommands();
        if (!chosen.empty()) setCommandName(chosen.front()->get_name());
        // A mistyped option explains a missing required one.
        if (!chosen.empty() && !chosen.front()->remaining().empty()) {
            return unexpectedArgument(*chosen.front(), chosen.front()->remaining().front());
        }
        const std::string help =
            chosen.empty() ? "hdrtm --help" : "hdrtm " + chosen.front()->get_name() + " --help";
        return fail(std::string(e.what()) + "; see " + help);
    }

    const std::vector<std::string> commands = commandNames(app);
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    if (chosen.empty()) {
        if (app.remaining().empty()) {
            return fail("a command is required: " + joined(commands) + " (hdrtm --help describes them)");
        }
        const std::string name = app.remaining().front();
        const std::string near = closestName(name, commands);
        return fail("unknown command \"" + name + "\": the commands are " + joined(commands) +
                    (near.empty() ? "" : " (did you mean " + near + "?)"));
    }
    setCommandName(chosen.front()->get_name());
    if (!chosen.front()->remaining().empty()) {
        return unexpectedArgument(*chosen.front(), chosen.front()->remaining().front());
    }

    // With --json, an error is also a JSON object on stdout, with the
    // diagnostics of the tunings read so far.
    const bool json = (*demo && demoOptions.json) || (*lut && lutOptions.json) || (*diff && diffOptions.json);
    const auto failWith = [json](const std::string& message) {
        if (json) {
            const nlohmann::json out = {{"command", commandName()},
                                        {"error", message},
                                        {"tuning_diagnostics", vettedDiagnosticsJson()}};
            std::cout << out.dump(2) << std::endl;
        }
        return fail(message);
    };
    try {
        if (*demo) return runDemo(demoTuning, demoOptions);
        if (*lut) return runLut(lutTuning, parseConfiguration(layerTexts, blendText, hardware), lutOptions);
        if (*diff) {
            diffOptions.configurationGiven = !diffLayers.empty();
            refuseUnless(!diffLayers.empty() || (diff->count("--blend") == 0 && !diffHardware),
                         "--blend and --hw choose a configuration with --layer; without --layer diff compares "
                         "the demo's configurations: add --layer");
            refuseUnless(diffOptions.pictures || diff->count("--output") == 0,
                         "-o names the folder for the pictures, and --no-pictures writes none: drop one of them");
            std::vector<Configuration> configs = demoConfigurations();
            if (!diffLayers.empty()) configs = {parseConfiguration(diffLayers, diffBlend, diffHardware)};
            return runDiff(diffA, diffB, configs, diffOptions);
        }
        if (*apply) {
            applyOptions.configurationGiven = !applyLayers.empty() || apply->count("--blend") > 0 || applyHardware;
            applyOptions.config = parseConfiguration(applyLayers, applyBlend, applyHardware);
            return runApply(applyOptions);
        }
        if (*check) {
            refuseUnless(!(checkOptions.json && checkOptions.verbose),
                         "--json lists the notes always; -v shows them in the text output: drop -v");
            return runCheck(checkPath, checkOptions);
        }
        if (*curve) {
            refuseUnless(!curveForce || !curveTuning.empty(),
                         "--force plots a tuning file with errors, and no tuning file is given");
            return runCurve(curveTuning, curveOut, curveCsv, curvePeak, curveForce);
        }
        if (*preview) return runPreview(previewLut, previewOut, previewInput, previewOutput, previewPeak);
    } catch (const ForeignFilesError& e) {
        return failWith(std::string(e.what()) +
                        ": give a new or empty folder with -o, or add --force to write beside them");
    } catch (const std::exception& e) {
        return failWith(e.what());
    }
    return kExitError;
}
