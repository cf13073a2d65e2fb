#include "files/lut_file.h"

#include <filesystem>

#include "files/clf_file.h"
#include "files/cube_file.h"

namespace hdrtm::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kHardwareLabel = "hardware";

}  // namespace

std::string lutTitle(const std::string& configuration, const ProducedLut& p) {
    return configuration + " - " + p.label;
}

std::vector<std::string> lutNotes(const std::string& configuration, const std::string& tuningLabel,
                                  const std::string& row, const ProducedLut& p) {
    std::vector<std::string> notes = {
        "configuration: " + configuration,
        "tuning: " + tuningLabel,
        "decision row: " + row,
        "LUT: " + p.label + ", " + std::to_string(p.lut.bitDepth) + "-bit codes, " + signalName(p.lut.input) +
            " in, " + signalName(p.lut.output) + " out",
    };
    if (p.hasChecksum) {
        notes.push_back("checksum: " + std::to_string(p.checksum) +
                        " (as the library logged it: a running sum over the call's "
                        "LUTs of the same direction)");
    }
    if (p.label == kHardwareLabel) {
        notes.push_back("hardware payload: uniform flag " + std::to_string(p.payloadUniform));
    }
    return notes;
}

void writeLutFile(const std::string& path, const ProducedLut& p, const std::string& title,
                  const std::vector<std::string>& notes, std::vector<std::string>* landed) {
    const fs::path file(path);
    const std::string ext = file.extension().string();
    if (ext == ".clf" || ext == ".CLF") {
        writeClf(path, p.lut, title, notes);
        landed->push_back(file.filename().string());
        return;
    }
    writeCube(path, p.lut, title, notes);
    landed->push_back(file.filename().string());
    // A CLF file places the points itself; a .cube file needs the list beside it.
    if (!p.lut.uniformGrid) {
        const fs::path grid = fs::path(file).replace_extension(".grid.txt");
        writeGridPositions(grid.string(), file.filename().string(), p.lut, p.hardwareGrid);
        landed->push_back(grid.filename().string());
    }
}

}  // namespace hdrtm::tool
