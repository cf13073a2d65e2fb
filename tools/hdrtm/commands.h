// The hdrtm commands, one file each (demo and lut share run_commands.cpp).
// Each returns the process exit status; bad input throws
// CommandError with one message naming the problem.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "playback_run.h"

namespace hdrtm::tool {

struct CommandError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr int kExitOk = 0;
constexpr int kExitWarnings = 1;  // check --strict: warnings only
constexpr int kExitNoLut = 1;     // lut: the configuration yields no LUT
constexpr int kExitError = 2;     // errors, bad arguments, unreadable input

struct RunOptions {
    std::string outputDir;
    int repeat = 5;          // timed calls after the captured one
    bool json = false;       // machine-readable summary on stdout
    bool previews = true;
    bool verbose = false;    // echo the library's log
    bool force = false;      // build from a tuning with errors; write beside foreign files
};

struct CheckOptions {
    bool strict = false;   // warnings fail too
    bool json = false;     // the diagnostics as a JSON list
    bool verbose = false;  // notes too
};

int runDemo(const std::string& tuningPath, const RunOptions& options);
int runLut(const std::string& tuningPath, const Configuration& config, const RunOptions& options);
int runCheck(const std::string& path, const CheckOptions& options);
int runCurve(const std::string& tuningPath, const std::string& outputPath, float contentPeakNits,
             bool force);
int runPreview(const std::string& cubePath, const std::string& outputPath,
               const std::string& input, const std::string& output, float peakNits);

// The demo's layer configurations: PQ at 1000 and 4000 nits with and without
// MaxCLL, HLG and SDR, across the blend spaces with and without the hardware
// path, and two mixed pairs.
std::vector<Configuration> demoConfigurations();

}  // namespace hdrtm::tool
