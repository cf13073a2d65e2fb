#include "files/cube_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "files/output_files.h"

namespace hdrtm::tool {
namespace {

constexpr const char* kInfoKey = "# hdrtm:";       // signal encodings and panel
constexpr const char* kGridKey = "# hdrtm-grid:";  // 10-bit sample codes per axis
constexpr int kMaxCubeSize = 256;                  // largest LUT_3D_SIZE read back
// Outputs are codes over full scale, 0..1; six decimals leave less than this.
constexpr float kValueTolerance = 1e-5f;

std::runtime_error fileError(const std::string& path, const std::string& what) {
    return std::runtime_error(path + ": " + what);
}

// The first value outside 0..1 in `v`, if any.
bool outsideUnitRange(const std::array<float, 3>& v) {
    return std::any_of(v.begin(), v.end(), [](float x) {
        return !(x >= -kValueTolerance && x <= 1.0f + kValueTolerance);
    });
}

std::string gridList(const Lut3d& lut) {
    std::string s;
    for (uint32_t code : lut.grid) s += (s.empty() ? "" : " ") + std::to_string(code);
    return s;
}

}  // namespace

std::string describeSignals(const Lut3d& lut) {
    std::ostringstream out;
    out << "input=" << signalName(lut.input) << " output=" << signalName(lut.output)
        << " bits=" << lut.bitDepth << " panel_peak=" << lut.panel.peakNits
        << " panel_black=" << lut.panel.blackNits
        << " panel_primaries=" << colorModeName(lut.panel.colorMode)
        << " panel_gamma=" << lut.panel.gammaSpace << " panel_gamma_value=" << lut.panel.gammaValue;
    return out.str();
}

void readSignals(const std::string& text, CubeTable& t) {
    t.describesItself = true;
    std::istringstream fields(text);
    std::string field;
    while (fields >> field) {
        const size_t eq = field.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = field.substr(0, eq);
        const std::string value = field.substr(eq + 1);
        const float number = std::strtof(value.c_str(), nullptr);
        if (key == "input") parseSignal(value, &t.input);
        if (key == "output") parseSignal(value, &t.output);
        if (key == "bits") t.bitDepth = static_cast<int>(number);
        if (key == "panel_peak") t.panel.peakNits = number;
        if (key == "panel_black") t.panel.blackNits = number;
        if (key == "panel_gamma") t.panel.gammaSpace = static_cast<uint32_t>(number);
        if (key == "panel_gamma_value") t.panel.gammaValue = number;
        if (key == "panel_primaries") {
            for (uint32_t m = 0; m < 5; ++m) {
                if (value == colorModeName(m)) t.panel.colorMode = m;
            }
        }
    }
}

CubeTable toCubeTable(const Lut3d& lut) {
    CubeTable t;
    t.size = kLutSize;
    for (uint32_t code : lut.grid) {
        t.positions.push_back(static_cast<float>(code) / static_cast<float>(kInputCodeMax));
    }
    t.values.resize(kLutEntries);
    for (int i = 0; i < kLutEntries; ++i) t.values[i] = lut.normalised(i);
    t.bitDepth = lut.bitDepth;
    t.input = lut.input;
    t.output = lut.output;
    t.panel = lut.panel;
    return t;
}

Lut3d lutFromTable(const CubeTable& table, const std::string& path) {
    constexpr int kUndeclaredBits = 16;
    if (table.size != kLutSize) {
        throw fileError(path, "has " + std::to_string(table.size) + " points per axis; the library's LUTs have 17");
    }
    Lut3d lut;
    lut.bitDepth = table.bitDepth > 0 ? table.bitDepth : kUndeclaredBits;
    for (int i = 0; i < kLutSize; ++i) {
        lut.grid[i] = static_cast<uint32_t>(std::lround(table.positions[i] * kInputCodeMax));
    }
    lut.uniformGrid = lut.grid == kUniformGrid;
    const double scale = lut.maxCode();
    for (int k = 0; k < kLutEntries; ++k) {
        for (int c = 0; c < 3; ++c) {
            lut.codes[k][c] = static_cast<uint32_t>(std::lround(std::clamp(double(table.values[k][c]), 0.0, 1.0) * scale));
        }
    }
    lut.input = table.input;
    lut.output = table.output;
    lut.panel = table.panel;
    return lut;
}

std::string cubeText(const Lut3d& lut, const std::string& title, const std::vector<std::string>& notes) {
    std::ostringstream out;
    out << "# " << title << "\n# Written by hdrtm from libhdr_tm.\n";
    for (const std::string& note : notes) out << "# " << note << "\n";
    out << "# Values are the LUT's " << lut.bitDepth << "-bit output codes divided by "
        << lut.maxCode() << ". Red varies fastest.\n";
    if (lut.uniformGrid) {
        out << "# Sample positions are the input codes " << gridList(lut)
            << " (of 1023) on each axis.\n"
               "# The library's uniform grid ends at 1023 rather than 1024, so its points are "
               "not exactly\n# evenly spaced: point i lies at 64i/1023, not i/16 (point 15 at "
               "0.93842 rather than 0.9375);\n# the last point is exactly 1.\n";
    } else {
        out << "# The LUT is sampled on a non-uniform grid (input codes " << gridList(lut)
            << " of 1023);\n# a reader that assumes evenly spaced points misplaces them: see "
               "the .grid.txt file beside this one.\n";
    }
    out << kInfoKey << " " << describeSignals(lut) << "\n";
    out << kGridKey << " " << gridList(lut) << "\n";
    out << "TITLE \"" << title << "\"\n";
    out << "LUT_3D_SIZE " << kLutSize << "\n";
    out << "DOMAIN_MIN 0.0 0.0 0.0\nDOMAIN_MAX 1.0 1.0 1.0\n";
    char line[64];
    for (int i = 0; i < kLutEntries; ++i) {
        const auto v = lut.normalised(i);
        std::snprintf(line, sizeof(line), "%.6f %.6f %.6f\n", v[0], v[1], v[2]);
        out << line;
    }
    return out.str();
}

void writeCube(const std::string& path, const Lut3d& lut, const std::string& title,
               const std::vector<std::string>& notes) {
    writeFileAtomically(path, cubeText(lut, title, notes));
}

std::string gridPositionsText(const std::string& cubeName, const Lut3d& lut, const std::vector<uint32_t>& hardware) {
    std::ostringstream out;
    out << "# Sample positions of " << cubeName
        << " on each axis (red, green and blue alike):\n"
           "# the LUT is sampled on this non-uniform grid, not at i/16.\n"
           "# index  input code (of 1023)  normalised";
    if (!hardware.empty()) out << "  12-bit hardware coordinate";
    out << "\n";
    char line[96];
    for (int i = 0; i < kLutSize; ++i) {
        std::snprintf(line, sizeof(line), "%2d %5u %.6f", i, lut.grid[i],
                      static_cast<float>(lut.grid[i]) / static_cast<float>(kInputCodeMax));
        out << line;
        if (!hardware.empty()) out << " " << hardware[i];
        out << "\n";
    }
    return out.str();
}

void writeGridPositions(const std::string& path, const std::string& cubeName, const Lut3d& lut,
                        const std::vector<uint32_t>& hardware) {
    writeFileAtomically(path, gridPositionsText(cubeName, lut, hardware));
}

CubeTable readCube(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw fileError(path, std::string("cannot read: ") + std::strerror(errno));
    CubeTable t;
    std::vector<float> grid;
    float domainMin = 0.0f;
    float domainMax = 1.0f;
    std::string line;
    int lineNumber = 0;
    int outside = 0;          // values outside 0..1
    std::string firstOutside;  // "line 12: 1e+30 0 0"
    const auto fail = [&](const std::string& what) {
        return fileError(path + ":" + std::to_string(lineNumber), what);
    };
    while (std::getline(in, line)) {
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.rfind(kInfoKey, 0) == 0) {
            readSignals(line.substr(std::strlen(kInfoKey)), t);
            continue;
        }
        if (line.rfind(kGridKey, 0) == 0) {
            std::istringstream codes(line.substr(std::strlen(kGridKey)));
            float code = 0.0f;
            while (codes >> code) grid.push_back(code / static_cast<float>(kInputCodeMax));
            continue;
        }
        std::istringstream words(line);
        std::string keyword;
        if (!(words >> keyword) || keyword[0] == '#') continue;
        if (keyword == "TITLE" || keyword == "LUT_1D_INPUT_RANGE") continue;
        if (keyword == "LUT_1D_SIZE") throw fail("1D LUTs are not supported");
        if (keyword == "LUT_3D_SIZE") {
            if (!(words >> t.size) || t.size < 2 || t.size > kMaxCubeSize) {
                throw fail("LUT_3D_SIZE must be a number from 2 to 256");
            }
            continue;
        }
        if (keyword == "DOMAIN_MIN" || keyword == "DOMAIN_MAX") {
            float a = 0.0f, b = 0.0f, c = 0.0f;
            if (!(words >> a >> b >> c) || a != b || b != c) {
                throw fail(keyword + " must give one value for all three channels");
            }
            (keyword == "DOMAIN_MIN" ? domainMin : domainMax) = a;
            continue;
        }
        if (t.size == 0) throw fail("not a 3D .cube file: no LUT_3D_SIZE before this line");
        std::istringstream numbers(line);
        std::array<float, 3> v{};
        if (!(numbers >> v[0] >> v[1] >> v[2])) throw fail("expected three numbers: " + line);
        if (outsideUnitRange(v) && outside++ == 0) firstOutside = "line " + std::to_string(lineNumber) + ": " + line;
        t.values.push_back(v);
    }
    if (t.size == 0) throw fileError(path, "not a 3D .cube file: no LUT_3D_SIZE");
    const size_t expected = static_cast<size_t>(t.size) * t.size * t.size;
    if (t.values.size() != expected) {
        throw fileError(path, "has " + std::to_string(t.values.size()) + " entries; LUT_3D_SIZE " +
                                  std::to_string(t.size) + " needs " + std::to_string(expected));
    }
    if (!(domainMax > domainMin)) throw fileError(path, "DOMAIN_MAX is not above DOMAIN_MIN");
    if (outside > 0) {
        throw fileError(path, std::to_string(outside) + " output value(s) outside 0..1 (first at " + firstOutside +
                                  "): a display LUT's outputs are codes over full scale; this is no LUT hdrtm can use");
    }
    if (grid.size() == static_cast<size_t>(t.size)) {
        t.positions = grid;
    } else {
        for (int i = 0; i < t.size; ++i) {
            const float u = static_cast<float>(i) / static_cast<float>(t.size - 1);
            t.positions.push_back(domainMin + u * (domainMax - domainMin));
        }
    }
    return t;
}

}  // namespace hdrtm::tool
