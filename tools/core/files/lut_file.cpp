#include "files/lut_file.h"

#include <filesystem>

#include "files/clf_file.h"
#include "files/cube_file.h"
#include "files/output_files.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

}  // namespace

std::string lutTitle(const std::string& configuration, const ProducedLut& p) {
    return configuration + " - " + p.label;
}

std::vector<std::string> lutNotes(const std::string& configuration, const std::string& tuningLabel,
                                  const std::string& row, const ProducedLut& p,
                                  const std::vector<ReferenceLevel>& levels) {
    std::vector<std::string> notes = {
        "configuration: " + configuration,
        "tuning: " + tuningLabel,
        "decision row: " + row,
        "LUT: " + p.label + ", " + std::to_string(p.lut.bitDepth) + "-bit codes, " + signalName(p.lut.input) +
            " in, " + signalName(p.lut.output) + " out",
        "levels: " + levelsText(levels),
    };
    if (p.hasChecksum) {
        notes.push_back("checksum: " + std::to_string(p.checksum) +
                        " (as the library logged it: a running sum over the call's "
                        "LUTs of the same direction)");
    }
    if (p.label == kHardwareLutLabel) {
        notes.push_back("hardware payload: uniform flag " + std::to_string(p.payloadUniform));
    }
    return notes;
}

std::vector<LutFileText> lutFileTexts(const std::string& fileName, const ProducedLut& p, const std::string& title,
                                      const std::vector<std::string>& notes) {
    const fs::path file = fs::path(fileName).filename();
    if (isClfFileName(fileName)) return {{file.string(), clfText(p.lut, file.stem().string(), title, notes)}};
    std::vector<LutFileText> files = {{file.string(), cubeText(p.lut, title, notes)}};
    // A CLF file places the points itself; a .cube file needs the list beside it.
    if (!p.lut.uniformGrid) {
        files.push_back({fs::path(file).replace_extension(".grid.txt").string(),
                         gridPositionsText(file.string(), p.lut, p.hardwareGrid)});
    }
    return files;
}

void writeLutFile(const std::string& path, const ProducedLut& p, const std::string& title,
                  const std::vector<std::string>& notes) {
    const fs::path folder = fs::path(path).parent_path();
    StagedFiles files;
    for (const LutFileText& f : lutFileTexts(path, p, title, notes)) files.stage((folder / f.name).string(), f.text);
    files.commit();
}

}  // namespace hdrtm::tool
