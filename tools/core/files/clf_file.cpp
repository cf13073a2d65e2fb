#include "files/clf_file.h"

#include <tinyxml2.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "files/output_files.h"
#include "number_text.h"

namespace hdrtm::tool {
namespace {

constexpr const char* kSignalsKey = "hdrtm:";  // Description line with describeSignals()
constexpr int kShaperSize = kInputCodeMax + 1;   // one shaper entry per 10-bit input code
constexpr double kValueTolerance = 1e-5;         // of full scale, as for .cube

std::runtime_error clfError(const std::string& path, const std::string& what) {
    return std::runtime_error(path + ": " + what);
}

// Where input code `code` lies in the grid's index space, 0..1: grid point s
// at s / 16, linear between points.
double indexPosition(const Lut3d& lut, uint32_t code) {
    int s = 0;
    while (s < kLutSize - 2 && code > lut.grid[s + 1]) ++s;
    const double span = static_cast<double>(lut.grid[s + 1]) - lut.grid[s];
    const double within = span > 0 ? (static_cast<double>(code) - lut.grid[s]) / span : 0.0;
    return (s + std::clamp(within, 0.0, 1.0)) / (kLutSize - 1);
}

// Full scale of a CLF bit depth: "12i" is 4095, a float depth 1.
bool bitDepthScale(const char* depth, double* scale, int* bits) {
    if (depth == nullptr) return false;
    const std::string d = depth;
    if (d == "16f" || d == "32f") {
        *scale = 1.0;
        *bits = 0;
        return true;
    }
    for (int b : {8, 10, 12, 16}) {
        if (d == std::to_string(b) + "i") {
            *scale = static_cast<double>((1u << b) - 1u);
            *bits = b;
            return true;
        }
    }
    return false;
}

std::vector<double> readArray(const tinyxml2::XMLElement* node, const std::string& path,
                              const char* what) {
    const tinyxml2::XMLElement* array = node->FirstChildElement("Array");
    if (array == nullptr || array->GetText() == nullptr) throw clfError(path, std::string(what) + " has no Array");
    std::istringstream in(array->GetText());
    std::vector<double> values;
    double v = 0.0;
    while (in >> v) values.push_back(v);
    if (!in.eof()) throw clfError(path, std::string(what) + "'s Array holds something that is not a number");
    return values;
}

}  // namespace

std::string clfText(const Lut3d& lut, const std::string& id, const std::string& title,
                    const std::vector<std::string>& notes) {
    std::ostringstream out;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<ProcessList compCLFversion=\"3\" id=\"" << xmlEscaped(id) << "\" name=\"" << xmlEscaped(title)
        << "\">\n"
        << "  <Description>" << xmlEscaped(title) << "</Description>\n"
        << "  <Description>Written by hdrtm from libhdr_tm.</Description>\n";
    for (const std::string& note : notes) out << "  <Description>" << xmlEscaped(note) << "</Description>\n";
    out << "  <Description>" << kSignalsKey << " " << describeSignals(lut) << "</Description>\n"
        << "  <InputDescriptor>" << signalName(lut.input) << " signal, 0..1</InputDescriptor>\n"
        << "  <OutputDescriptor>" << signalName(lut.output) << " signal, " << lut.bitDepth
        << "-bit codes</OutputDescriptor>\n";
    // The shaper has an entry at every 10-bit input code, so its breakpoints
    // fall on the grid points whatever the grid, and linear interpolation
    // between them is exact.
    out << "  <LUT1D id=\"grid\" name=\"sample positions\" inBitDepth=\"32f\" outBitDepth=\"32f\" "
           "interpolation=\"linear\">\n"
        << "    <Description>Carries each axis onto the 3D table's index space: input code "
        << "c/1023 of grid point s goes to s/16 (grid:";
    for (uint32_t code : lut.grid) out << " " << code;
    out << ").</Description>\n    <Array dim=\"" << kShaperSize << " 1\">\n";
    char number[32];
    for (int code = 0; code < kShaperSize; ++code) {
        std::snprintf(number, sizeof(number), "%.9g\n", indexPosition(lut, static_cast<uint32_t>(code)));
        out << number;
    }
    out << "    </Array>\n  </LUT1D>\n";
    out << "  <LUT3D id=\"table\" name=\"" << xmlEscaped(title) << "\" inBitDepth=\"32f\" outBitDepth=\""
        << lut.bitDepth << "i\" interpolation=\"tetrahedral\">\n"
        << "    <Array dim=\"" << kLutSize << " " << kLutSize << " " << kLutSize << " 3\">\n";
    // CLF orders the table with blue fastest.
    for (int r = 0; r < kLutSize; ++r) {
        for (int g = 0; g < kLutSize; ++g) {
            for (int b = 0; b < kLutSize; ++b) {
                const auto& c = lut.codes[(b * kLutSize + g) * kLutSize + r];
                out << c[0] << " " << c[1] << " " << c[2] << "\n";
            }
        }
    }
    out << "    </Array>\n  </LUT3D>\n</ProcessList>\n";
    return out.str();
}

void writeClf(const std::string& path, const Lut3d& lut, const std::string& title,
              const std::vector<std::string>& notes) {
    writeFileAtomically(path, clfText(lut, std::filesystem::path(path).stem().string(), title, notes));
}

CubeTable readClf(const std::string& path) {
    tinyxml2::XMLDocument doc;
    if (doc.LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS) {
        throw clfError(path, std::string("not a readable CLF file: ") + doc.ErrorStr());
    }
    const tinyxml2::XMLElement* list = doc.FirstChildElement("ProcessList");
    if (list == nullptr) throw clfError(path, "not a CLF file: no <ProcessList>");
    CubeTable t;
    for (const tinyxml2::XMLElement* d = list->FirstChildElement("Description"); d != nullptr;
         d = d->NextSiblingElement("Description")) {
        const std::string text = d->GetText() ? d->GetText() : "";
        if (text.rfind(kSignalsKey, 0) == 0) readSignals(text.substr(std::string(kSignalsKey).size()), t);
    }
    const tinyxml2::XMLElement* table = list->FirstChildElement("LUT3D");
    if (table == nullptr) throw clfError(path, "holds no <LUT3D>: hdrtm reads a 3D LUT with an optional LUT1D shaper");
    double scale = 1.0;
    int bits = 0;
    if (!bitDepthScale(table->Attribute("outBitDepth"), &scale, &bits)) {
        throw clfError(path, "the LUT3D's outBitDepth must be 8i, 10i, 12i, 16i, 16f or 32f");
    }
    if (bits > 0) t.bitDepth = bits;
    const std::vector<double> values = readArray(table, path, "the LUT3D");
    const char* dim = table->FirstChildElement("Array")->Attribute("dim");
    int n = 0, n2 = 0, n3 = 0, channels = 0;
    if (dim == nullptr || std::sscanf(dim, "%d %d %d %d", &n, &n2, &n3, &channels) != 4 || n != n2 ||
        n != n3 || channels != 3 || n < 2 || n > 129) {
        throw clfError(path, "the LUT3D's Array dim must be \"N N N 3\" with N from 2 to 129");
    }
    if (values.size() != static_cast<size_t>(n) * n * n * 3) {
        throw clfError(path, "the LUT3D holds " + std::to_string(values.size()) + " numbers; dim " +
                                 dim + " needs " + std::to_string(n * n * n * 3));
    }
    // Outputs are codes within full scale; anything else is no display LUT.
    const auto outsideScale = [scale](double v) {
        return !(v >= -kValueTolerance * scale && v <= (1.0 + kValueTolerance) * scale);
    };
    const long outside = std::count_if(values.begin(), values.end(), outsideScale);
    if (outside > 0) {
        throw clfError(path, std::to_string(outside) + " LUT3D value(s) outside 0.." + numberText(scale) + " (first: " +
                                 numberText(*std::find_if(values.begin(), values.end(), outsideScale)) +
                                 "): a display LUT's outputs are codes within full scale");
    }
    t.size = n;
    t.values.resize(static_cast<size_t>(n) * n * n);
    size_t k = 0;
    for (int r = 0; r < n; ++r) {
        for (int g = 0; g < n; ++g) {
            for (int b = 0; b < n; ++b, k += 3) {
                t.values[(b * n + g) * n + r] = {static_cast<float>(values[k] / scale),
                                                 static_cast<float>(values[k + 1] / scale),
                                                 static_cast<float>(values[k + 2] / scale)};
            }
        }
    }
    // Each grid point's position: where the shaper reaches its index.
    const tinyxml2::XMLElement* shaper = list->FirstChildElement("LUT1D");
    std::vector<double> curve;
    if (shaper != nullptr) {
        curve = readArray(shaper, path, "the LUT1D");
        const char* shaperDim = shaper->FirstChildElement("Array")->Attribute("dim");
        int entries = 0, shaperChannels = 0;
        if (shaperDim == nullptr || std::sscanf(shaperDim, "%d %d", &entries, &shaperChannels) != 2 ||
            shaperChannels != 1 || entries < 2 || curve.size() != static_cast<size_t>(entries)) {
            throw clfError(path, "the LUT1D must be one curve for all channels, Array dim \"N 1\" with N numbers");
        }
        double shaperScale = 1.0;
        int shaperBits = 0;
        if (!bitDepthScale(shaper->Attribute("outBitDepth"), &shaperScale, &shaperBits)) {
            throw clfError(path, "the LUT1D's outBitDepth must be 8i, 10i, 12i, 16i, 16f or 32f");
        }
        for (double& v : curve) v /= shaperScale;
    }
    for (int s = 0; s < n; ++s) {
        const double target = static_cast<double>(s) / (n - 1);
        if (curve.empty()) {
            t.positions.push_back(static_cast<float>(target));
            continue;
        }
        const size_t last = curve.size() - 1;
        size_t k1 = 0;
        while (k1 < last - 1 && curve[k1 + 1] < target) ++k1;
        const double rise = curve[k1 + 1] - curve[k1];
        const double within = rise > 0 ? std::clamp((target - curve[k1]) / rise, 0.0, 1.0) : 0.0;
        t.positions.push_back(static_cast<float>((k1 + within) / last));
    }
    if (!std::is_sorted(t.positions.begin(), t.positions.end())) {
        throw clfError(path, "the LUT1D shaper does not rise: its grid positions are out of order");
    }
    return t;
}

bool isLutFileName(const std::string& path) {
    const std::string ext = std::filesystem::path(path).extension().string();
    return ext == ".cube" || ext == ".clf" || ext == ".CUBE" || ext == ".CLF";
}

bool isClfFileName(const std::string& path) {
    const std::string ext = std::filesystem::path(path).extension().string();
    return ext == ".clf" || ext == ".CLF";
}

CubeTable readLutFile(const std::string& path) { return isClfFileName(path) ? readClf(path) : readCube(path); }

}  // namespace hdrtm::tool
