#include "command_inputs.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "commands.h"
#include "files/output_files.h"
#include "messages.h"
#include "tuning/tuning_record.h"

namespace hdrtm::tool {
namespace fs = std::filesystem;

void requireWritable(const std::string& path, const std::vector<std::string>& extensions, const std::string& what) {
    const std::string problem = outputFileProblem(path, extensions);
    if (!problem.empty()) throw CommandError(what + " " + path + ": " + problem);
}

void noteIfInRunFolder(const std::string& path) {
    std::error_code ec;
    const fs::path folder = fs::path(path).parent_path().empty() ? fs::path(".") : fs::path(path).parent_path();
    if (!fs::exists(folder / kManifestName, ec)) return;
    if (earlierRunNames(folder.string()).count(fs::path(path).filename().string()) > 0) return;
    printNote(path + " goes into " + folder.string() + ", the folder of an earlier hdrtm run, which the next run "
              "there will refuse while this file is in it (unless --force)");
}

namespace {

volatile std::sig_atomic_t gInterruption = 0;

extern "C" void recordInterruption(int signal) { gInterruption = signal; }

std::vector<CheckedTuning>& vetted() {
    static std::vector<CheckedTuning> results;
    return results;
}

}  // namespace

CheckResult vetTuning(const std::string& path, bool force) {
    requireReadable(path, "tuning file");
    CheckResult check = checkTuningFile(path);
    vetted().push_back({path, check});
    for (const Diagnostic& d : check.diagnostics) {
        if (d.severity != Severity::kNote) std::cerr << formatDiagnostic(path, d) << "\n";
    }
    if (check.errors() > 0 && !force) {
        throw CommandError("the tuning file " + path + " has " + std::to_string(check.errors()) +
                           " error(s) (above): the library would not use it as written; fix them, "
                           "or add --force to build from it anyway");
    }
    if (check.errors() > 0) {
        printWarning("building from " + path + " despite its " + std::to_string(check.errors()) +
                     " error(s) (--force)");
    }
    return check;
}

void deferInterruptions() {
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, recordInterruption);
}

void stopIfInterrupted() {
    if (gInterruption != 0) {
        throw CommandError(std::string("interrupted (") + strsignal(gInterruption) + "): nothing of this run is kept");
    }
}

const std::vector<CheckedTuning>& vettedTunings() { return vetted(); }

nlohmann::json vettedDiagnosticsJson() { return tuningDiagnosticsJson(vetted()); }

std::string remedyText(Remedy remedy) {
    switch (remedy) {
        case Remedy::kNone: return "";
        case Remedy::kPerLayerBlend:
            return "only the first PQ layer gets the hardware LUT; use --blend layer for a LUT per layer";
        case Remedy::kHardwareOrPerLayer: return "add --hw for a hardware LUT, or use --blend layer for a layer LUT";
        case Remedy::kPqHardwareOrPerLayer:
            return "PQ layers are not blended in HLG; use --blend pq --hw or --blend layer";
        case Remedy::kHlgFirstOrPerLayer:
            return "one hardware LUT per call; put the HLG layer first or use --blend layer";
        case Remedy::kHardwareOrLayerLut:
            return "add --hw for a hardware LUT, or use --blend pq or --blend layer for a layer LUT";
        case Remedy::kKnownBlendSpace: return "use --blend pq, layer or hlg";
        case Remedy::kSdrBlendSpace:
            return "SDR layers are mapped into a blending space: use --blend pq or --blend hlg";
        case Remedy::kKnownTransfer:
            return "the entry builds LUTs for transfers pq (16), hlg (18) and sdr (1), or for class=2 (SDR content)";
    }
    return "";
}

TMParams loadTuning(const std::string& path, bool force, bool* versionTwo) {
    *versionTwo = vetTuning(path, force).versionTwo;
    return loadTuningRecord(path);
}

}  // namespace hdrtm::tool
