// preview: a LUT file's test pattern beside a plain clip.
#include <filesystem>
#include <iostream>

#include "command_inputs.h"
#include "commands.h"
#include "drawing/preview.h"
#include "files/clf_file.h"
#include "files/output_files.h"
#include "messages.h"
#include "number_text.h"

namespace hdrtm::tool {
namespace fs = std::filesystem;

int runPreview(const std::string& lutPath, const std::string& outputPath, const std::string& input,
               const std::string& output, float peakNits) {
    requireReadable(lutPath, "LUT file");
    requireWritable(outputPath, {".png"}, "-o");
    noteIfInRunFolder(outputPath);
    if (!isLutFileName(lutPath)) {
        throw CommandError(lutPath + " is not a LUT file: preview reads .cube and .clf files");
    }
    CubeTable table = readLutFile(lutPath);
    if (!input.empty() && (!parseSignal(input, &table.input) || table.input == Signal::kPanel)) {
        throw CommandError("--input must be pq, hlg or sdr, not \"" + input + "\"");
    }
    if (!output.empty() && (!parseSignal(output, &table.output) || table.output == Signal::kSdr)) {
        throw CommandError("--output-signal must be panel, pq or hlg, not \"" + output + "\"");
    }
    if (peakNits > 0.0f) table.panel.peakNits = peakNits;
    if (!table.describesItself) {
        std::string assumed;
        const auto assume = [&](bool given, const std::string& what) {
            if (!given) assumed += (assumed.empty() ? "" : ", ") + what;
        };
        assume(!input.empty(), std::string("--input ") + signalName(table.input));
        assume(!output.empty(), std::string("--output-signal ") + signalName(table.output));
        assume(peakNits > 0.0f, "--peak " + numberText(table.panel.peakNits));
        assume(false, std::string("panel black ") + numberText(table.panel.blackNits) + " nits, " +
                          colorModeName(table.panel.colorMode) + " primaries");
        printNote(lutPath + " does not record what it maps (hdrtm did not write it); assumed " + assumed);
    }
    writeFileAtomically(outputPath, encodePng(*renderPreview(table, fs::path(lutPath).filename().string())));
    std::cout << "Wrote the preview to " << outputPath << "\n";
    return kExitOk;
}

}  // namespace hdrtm::tool
