// The hdrtm commands, one file each (demo and lut share run_commands.cpp).
// Each returns the process exit status; bad input throws
// CommandError with one message naming the problem.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "playback/playback_run.h"

namespace hdrtm::tool {

struct CommandError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr int kExitOk = 0;
constexpr int kExitWarnings = 1;  // check --strict: warnings only
constexpr int kExitNoLut = 1;     // lut: the configuration yields no LUT
constexpr int kExitDiffer = 1;    // diff: the LUTs differ
constexpr int kExitError = 2;     // errors, bad arguments, unreadable input

struct RunOptions {
    std::string outputDir;
    int repeat = 5;          // timed calls after the captured one
    bool json = false;       // machine-readable summary on stdout
    bool previews = true;
    bool verbose = false;    // echo the library's log
    bool force = false;      // build from a tuning with errors; write beside foreign files
    std::string format = "cube";  // LUT files: "cube" or "clf" (Common LUT Format)
    std::string codesPath;        // lut: every node's codes as .csv or .json, when set
};

struct CheckOptions {
    bool strict = false;   // warnings fail too
    bool json = false;     // the diagnostics as a JSON list
    bool verbose = false;  // notes too
};

struct DiffOptions {
    std::string outputDir;  // pictures of the differences and both tone curves
    bool json = false;
    bool pictures = true;
    bool force = false;     // compare tunings with errors; write beside foreign files
    bool configurationGiven = false;  // --layer, --blend or --hw chose what to compare
    double maxDeltaE = -1.0;  // --max-de: exit 0 up to this largest ΔE_ITP; negative: not given
};

struct ApplyOptions {
    std::string image;     // 16-bit PNG
    std::string lut;       // .cube or .clf file, tuning file or "defaults"
    std::string output = "applied.png";
    std::string input;     // the image's signal when it has no cICP chunk
    std::string compare;   // "clip", or a second LUT to show beside the first
    Configuration config;  // for a tuning; empty: the image's own signal, per layer
    bool configurationGiven = false;  // --layer, --blend or --hw chose the configuration
    bool force = false;    // use a tuning file with errors
};

int runApply(const ApplyOptions& options);
int runDiff(const std::string& pathA, const std::string& pathB, const std::vector<Configuration>& configs,
            const DiffOptions& options);
int runDemo(const std::string& tuningPath, const RunOptions& options);
int runLut(const std::string& tuningPath, const Configuration& config, const RunOptions& options);
int runCheck(const std::string& path, const CheckOptions& options);
int runCurve(const std::string& tuningPath, const std::string& outputPath, const std::string& csvPath,
             float contentPeakNits, bool force);
int runPreview(const std::string& lutPath, const std::string& outputPath,
               const std::string& input, const std::string& output, float peakNits);

}  // namespace hdrtm::tool
