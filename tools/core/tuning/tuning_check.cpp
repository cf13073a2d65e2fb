#include "tuning/tuning_check.h"

#include <tinyxml2.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string_view>

#include "files/file_kind.h"
#include "number_text.h"
#include "tuning/near_names.h"

namespace hdrtm::tool {
namespace {

using tinyxml2::XMLElement;

// How the loader reads an element's text and where it stores it.
enum class Kind {
    kFloat,      // float text
    kInt16,      // int text stored in 16 bits
    kSwitch,     // int text stored in 8 bits, meant as 0 or 1
    kColorName,  // name in the colour-mode map
    kGammaName,  // name in the output-gamma map
    kGroup,      // holds child settings
    kPcc,        // panel_pcc: rows r, g, b of eleven coefficients
    kToneMap,    // tone_map/points: x and y control points
};

// What a value must be for the stages that read it.
enum class Range { kAny, kPositive, kNonNegative };

struct FormatElement {
    const char* path;      // under hdr_lib; "group/child" for a group's setting
    Kind kind;
    const char* fallback;  // what the loader stores when the element is missing
    Range range;
};

// The tuning file's format: every element the loader reads, with its
// fallback. Positive values are those the tone curve takes a log of or
// divides by.
constexpr FormatElement kFormat[] = {
    {"panel_min_luminance", Kind::kFloat, "0.001", Range::kNonNegative},
    {"panel_max_luminance", Kind::kInt16, "800", Range::kPositive},
    {"nominal_peak_luminance", Kind::kFloat, "1500.0", Range::kPositive},
    {"panel_color_mode", Kind::kColorName, "sRGB", Range::kAny},
    {"output_gamma_space", Kind::kGroup, "space 2p2", Range::kAny},
    {"output_gamma_space/space", Kind::kGammaName, "2p2", Range::kAny},
    {"output_gamma_space/val", Kind::kFloat, "2.2", Range::kPositive},
    {"tone_map_curve_control", Kind::kGroup, "", Range::kAny},
    {"tone_map_curve_control/t0", Kind::kFloat, "0.01", Range::kPositive},
    {"tone_map_curve_control/sharp", Kind::kFloat, "2.0", Range::kPositive},
    {"tone_map_curve_control/slope", Kind::kFloat, "1.0", Range::kPositive},
    {"tone_map_curve_control/intl", Kind::kFloat, "24.0", Range::kPositive},
    {"tone_map_curve_control/inth", Kind::kFloat, "275.0", Range::kPositive},
    {"tone_map_curve_control/pivot", Kind::kFloat, "1000.0", Range::kPositive},
    {"tone_map_curve_control/LinearBoost", Kind::kFloat, "1.0", Range::kPositive},
    {"bright", Kind::kGroup, "", Range::kAny},
    {"bright/enable", Kind::kSwitch, "0", Range::kAny},
    {"bright/tlower", Kind::kFloat, "0.05", Range::kNonNegative},
    {"bright/tupper", Kind::kFloat, "400.0", Range::kPositive},
    {"bright/sysGamma", Kind::kFloat, "1.0", Range::kPositive},
    {"sat", Kind::kGroup, "", Range::kAny},
    {"sat/enable", Kind::kSwitch, "0", Range::kAny},
    {"sat/t1", Kind::kFloat, "0.005", Range::kNonNegative},
    {"sat/t2", Kind::kFloat, "0.05", Range::kNonNegative},
    {"sat/kmax", Kind::kFloat, "1.2", Range::kPositive},
    {"upper", Kind::kGroup, "", Range::kAny},
    {"upper/enableM", Kind::kSwitch, "1", Range::kAny},
    {"upper/linearScale", Kind::kSwitch, "0", Range::kAny},
    {"upper/fixedClip", Kind::kSwitch, "1", Range::kAny},
    {"upper/clipLuma", Kind::kFloat, "1000.0", Range::kPositive},
    {"upper/fixedRatio", Kind::kSwitch, "1", Range::kAny},
    {"upper/scaleStart", Kind::kFloat, "1000.0", Range::kPositive},
    {"upper/ratio", Kind::kFloat, "1.0", Range::kAny},
    {"panel_pcc", Kind::kPcc, "no panel correction", Range::kAny},
    {"tone_map", Kind::kToneMap, "the built-in control points", Range::kAny},
};

// Panel colour-correction rows and their terms, with the loader's fallbacks.
constexpr const char* kPccRows[] = {"r", "g", "b"};
constexpr const char* kPccRowColour[] = {"red", "green", "blue"};
struct PccTermInfo {
    const char* name;
    float fallback;
    float identity[3];  // the term's value in an identity row r, g, b
};
constexpr PccTermInfo kPccTerms[] = {
    {"c", 0.0f, {0, 0, 0}},  {"r", 1.0f, {1, 0, 0}},  {"g", 1.0f, {0, 1, 0}},
    {"b", 1.0f, {0, 0, 1}},  {"rr", 0.0f, {0, 0, 0}}, {"gg", 0.0f, {0, 0, 0}},
    {"bb", 0.0f, {0, 0, 0}}, {"rg", 0.0f, {0, 0, 0}}, {"gb", 0.0f, {0, 0, 0}},
    {"rb", 0.0f, {0, 0, 0}}, {"rgb", 0.0f, {0, 0, 0}},
};

constexpr const char* kColorNames[] = {"sRGB", "BT709", "ADOBE", "DCIP3", "BT2020"};
constexpr const char* kGammaNames[] = {"linear", "BT709", "sRGB", "2p2", "2d2", "custom"};

constexpr int kCurvePoints = 17;       // control points the loader stores
constexpr int kCurveMaxPoints = 24;    // slots of the control-point table
constexpr int kMaxCode = 1023;         // largest 10-bit code
constexpr const char* kVersionTwo = "2.0";
constexpr const char* kVersionOne = "1.0";
constexpr const char* kCustomGamma = "custom";  // the only output gamma that reads <val>
constexpr float kPowerGamma = 2.2f;             // the exponent of "2p2" and "2d2", and <val>'s fallback
// A calibration's terms stay near the identity's 0 and 1; beyond this a term
// drives its channel to 0 or 1 for almost every colour.
constexpr double kPccTermLimit = 10.0;
// Elements the format knows below the groups that kFormat does not list:
// the rows of the panel correction and the tone-curve table.
constexpr const char* kTableGroup = "tone_map/points";
constexpr const char* kTablePoints[] = {"x", "y"};

std::string inQuotes(std::string_view s) { return "\"" + std::string(s) + "\""; }

std::string lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// " (did you mean "X"?)" for the closest candidate within two edits.
std::string suggestion(std::string_view name, const std::vector<std::string>& candidates) {
    const std::string best = closestName(name, candidates);
    return best.empty() ? "" : " (did you mean " + inQuotes(best) + "?)";
}

std::string trimmed(const char* text) {
    std::string s = text ? text : "";
    const auto notSpace = [](unsigned char c) { return !std::isspace(c); };
    s.erase(s.begin(), std::find_if(s.begin(), s.end(), notSpace));
    s.erase(std::find_if(s.rbegin(), s.rend(), notSpace).base(), s.end());
    return s;
}

class Checker {
public:
    Checker(CheckResult& result, std::vector<std::string> lines)
        : result_(result), lines_(std::move(lines)) {}

    void checkRoot(XMLElement* root) {
        root_ = root;
        checkVersion(root);
        checkRootAttributes(root);
        checkChildren(root, "");
        for (const FormatElement& e : kFormat) {
            if (std::strchr(e.path, '/') != nullptr) continue;
            XMLElement* el = root->FirstChildElement(e.path);
            switch (e.kind) {
                case Kind::kGroup: checkGroup(root, el, e); break;
                case Kind::kPcc: checkPcc(root, el); break;
                case Kind::kToneMap: checkToneMap(root, el); break;
                default: checkSetting(root, el, e); break;
            }
        }
        checkLuminanceRange(root);
        checkGammaValue(root);
    }

private:
    void add(const XMLElement* at, Severity severity, const char* code, std::string message,
             std::string stored = "") {
        Diagnostic d{at ? at->GetLineNum() : 0, 0, severity, code, std::move(message), std::move(stored)};
        if (at != nullptr && d.line >= 1 && d.line <= static_cast<int>(lines_.size())) {
            const size_t column = lines_[d.line - 1].find("<" + std::string(at->Name()));
            if (column != std::string::npos) d.column = static_cast<int>(column) + 1;
        }
        result_.diagnostics.push_back(std::move(d));
    }
    void note(const XMLElement* at, const char* code, std::string message, std::string stored = "") {
        add(at, Severity::kNote, code, std::move(message), std::move(stored));
    }
    void warn(const XMLElement* at, const char* code, std::string message, std::string stored = "") {
        add(at, Severity::kWarning, code, std::move(message), std::move(stored));
    }
    void error(const XMLElement* at, const char* code, std::string message, std::string stored = "") {
        add(at, Severity::kError, code, std::move(message), std::move(stored));
    }

    // The loader takes the <tone_map> table only when the root says exactly
    // version="2.0"; any other value, or none, reads the file as 1.0.
    void checkVersion(XMLElement* root) {
        const char* version = root->Attribute("version");
        result_.versionTwo = version != nullptr && std::strcmp(version, kVersionTwo) == 0;
        if (result_.versionTwo) return;
        const std::string written =
            version != nullptr ? "version=" + inQuotes(version) : std::string("no version attribute");
        if (XMLElement* table = root->FirstChildElement("tone_map")) {
            error(root, "version",
                  "the <tone_map> table (line " + std::to_string(table->GetLineNum()) +
                      ") is not used: the loader takes it only with version=\"2.0\" on <hdr_lib>, and this "
                      "file has " + written + ", so the LUTs follow the parametric curve; write "
                      "version=\"2.0\", or remove <tone_map>",
                  "version 1.0 (parametric curve)");
        } else if (version != nullptr && std::strcmp(version, kVersionOne) != 0) {
            error(root, "version",
                  "version " + inQuotes(version) + " is neither \"2.0\" nor \"1.0\": the loader reads the "
                  "file as version 1.0 (parametric tone curve, uniform grid); write \"2.0\" for the table "
                  "curve and the non-uniform hardware grid, or \"1.0\"",
                  "version 1.0");
        }
    }

    void checkRootAttributes(XMLElement* root) {
        for (const tinyxml2::XMLAttribute* a = root->FirstAttribute(); a != nullptr; a = a->Next()) {
            const std::string name = a->Name();
            if (name == "version") continue;
            const std::string hint = suggestion(name, {"version"});
            add(root, hint.empty() ? Severity::kWarning : Severity::kError, "unknown-attribute",
                "attribute " + name + " of <hdr_lib> is ignored: the loader reads only version" + hint);
        }
    }

    // Every element path the format knows, "group/child" below the root;
    // listed once.
    static const std::vector<std::string>& knownPaths() {
        static const std::vector<std::string> paths = [] {
            std::vector<std::string> all;
            for (const FormatElement& e : kFormat) all.push_back(e.path);
            for (const char* row : kPccRows) {
                all.push_back(std::string("panel_pcc/") + row);
                for (const PccTermInfo& t : kPccTerms) all.push_back(std::string("panel_pcc/") + row + "/" + t.name);
            }
            all.push_back(kTableGroup);
            for (const char* point : kTablePoints) all.push_back(std::string(kTableGroup) + "/" + point);
            return all;
        }();
        return paths;
    }

    static std::string parentOf(const std::string& path) {
        const size_t slash = path.rfind('/');
        return slash == std::string::npos ? "" : path.substr(0, slash);
    }

    static std::string leafOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

    // "<bright>", "<panel_pcc><r>", or "<hdr_lib>" for the root.
    static std::string tags(const std::string& path) {
        if (path.empty()) return "<hdr_lib>";
        std::string out;
        size_t start = 0;
        while (start <= path.size()) {
            const size_t slash = path.find('/', start);
            const size_t end = slash == std::string::npos ? path.size() : slash;
            out += "<" + path.substr(start, end - start) + ">";
            start = end + 1;
        }
        return out;
    }

    // Names the format knows directly under `path` ("" for the root).
    static std::vector<std::string> knownChildren(const std::string& path) {
        std::vector<std::string> names;
        for (const std::string& p : knownPaths()) {
            if (parentOf(p) == path) names.push_back(leafOf(p));
        }
        return names;
    }

    // The groups where an element called `name` is read.
    static std::vector<std::string> homesOf(const std::string& name) {
        std::vector<std::string> homes;
        for (const std::string& p : knownPaths()) {
            if (leafOf(p) == name) homes.push_back(parentOf(p));
        }
        return homes;
    }

    // The element at `path` below the root, the first of each name as the loader takes it.
    XMLElement* elementAt(const std::string& path) const {
        XMLElement* el = root_;
        size_t start = 0;
        while (el != nullptr && start < path.size()) {
            const size_t slash = path.find('/', start);
            const size_t end = slash == std::string::npos ? path.size() : slash;
            el = el->FirstChildElement(path.substr(start, end - start).c_str());
            start = end + 1;
        }
        return el;
    }

    static const char* fallbackAt(const std::string& path) {
        for (const FormatElement& e : kFormat) {
            if (path == e.path) return e.fallback;
        }
        return nullptr;
    }

    // An element the format reads in another group: the loader does not look
    // for it here. Its setting keeps the fallback unless its group has it too.
    void misplaced(XMLElement* el, const std::string& path, const std::vector<std::string>& homes) {
        const std::string name = el->Name();
        std::string where;
        XMLElement* copy = nullptr;
        for (const std::string& home : homes) {
            where += (where.empty() ? "" : " or ") + tags(home);
            if (copy == nullptr) copy = elementAt(home.empty() ? name : home + "/" + name);
        }
        const std::string head = "<" + name + "> in " + tags(path) + " is not read there: the loader reads it in " + where;
        if (copy != nullptr) {
            warn(el, "misplaced-element",
                 head + ", which has its own (line " + std::to_string(copy->GetLineNum()) + "); this one is ignored");
            return;
        }
        const char* found = homes.size() == 1 ? fallbackAt(homes[0].empty() ? name : homes[0] + "/" + name) : nullptr;
        const std::string fallback = found != nullptr ? found : "";
        error(el, "misplaced-element",
              head + (fallback.empty() ? "" : ", so it keeps its fallback " + fallback) + "; move it there", fallback);
    }

    // Unknown children (likely typos), children of another group and repeated
    // ones (only the first counts) of the element at `path`.
    void checkChildren(XMLElement* parent, const std::string& path, bool repeatsAllowed = false) {
        const std::vector<std::string> known = knownChildren(path);
        std::map<std::string, int> firstLine;
        for (XMLElement* c = parent->FirstChildElement(); c; c = c->NextSiblingElement()) {
            const std::string name = c->Name();
            if (std::find(known.begin(), known.end(), name) == known.end()) {
                const std::vector<std::string> homes = homesOf(name);
                if (!homes.empty()) {
                    misplaced(c, path, homes);
                    continue;
                }
                // A near miss is a typo whose setting silently keeps its fallback.
                const std::string hint = suggestion(name, known);
                add(c, hint.empty() ? Severity::kWarning : Severity::kError, "unknown-element",
                    "unknown element <" + name + "> in " + tags(path) + " is ignored" + hint);
                continue;
            }
            if (repeatsAllowed) continue;
            const auto [it, first] = firstLine.emplace(name, c->GetLineNum());
            if (!first) {
                error(c, "repeated-element", "repeated <" + name + "> is ignored: only the first (line " +
                                                 std::to_string(it->second) + ") counts",
                      "the first, line " + std::to_string(it->second));
            }
        }
    }

    static std::string leaf(const FormatElement& e) {
        const char* slash = std::strrchr(e.path, '/');
        return slash ? slash + 1 : e.path;
    }

    void checkGroup(XMLElement* root, XMLElement* group, const FormatElement& e) {
        const std::string name = e.path;
        if (group == nullptr) {
            std::string fallbacks;
            if (*e.fallback != '\0') {
                fallbacks = e.fallback;
            } else {
                for (const FormatElement& child : kFormat) {
                    if (std::string(child.path).rfind(name + "/", 0) != 0) continue;
                    if (!fallbacks.empty()) fallbacks += ", ";
                    fallbacks += leaf(child) + " " + child.fallback;
                }
            }
            note(root, "missing", "<" + name + "> is missing: falls back to " + fallbacks, fallbacks);
            return;
        }
        checkChildren(group, name);
        for (const FormatElement& child : kFormat) {
            if (std::string(child.path).rfind(name + "/", 0) != 0) continue;
            checkSetting(group, group->FirstChildElement(leaf(child).c_str()), child);
        }
    }

    void checkSetting(XMLElement* parent, XMLElement* el, const FormatElement& e) {
        const std::string name = leaf(e);
        const std::string where = parent->Parent() && parent->Parent()->ToDocument()
                                      ? "<" + name + ">"
                                      : "<" + std::string(parent->Name()) + "><" + name + ">";
        if (el == nullptr) {
            note(parent, "missing", where + " is missing: falls back to " + e.fallback, e.fallback);
            return;
        }
        const std::string text = trimmed(el->GetText());
        switch (e.kind) {
            case Kind::kColorName:
            case Kind::kGammaName: checkName(el, where, text, e); return;
            case Kind::kFloat: checkFloat(el, where, text, e); return;
            default: checkInt(el, where, text, e); return;
        }
    }

    void checkName(XMLElement* el, const std::string& where, const std::string& text,
                   const FormatElement& e) {
        const bool colour = e.kind == Kind::kColorName;
        if (text.empty() && colour) {
            warn(el, "empty", where + " is empty: falls back to " + e.fallback, e.fallback);
            return;
        }
        std::vector<std::string> names;
        if (colour) {
            names.assign(std::begin(kColorNames), std::end(kColorNames));
        } else {
            names.assign(std::begin(kGammaNames), std::end(kGammaNames));
        }
        if (std::find(names.begin(), names.end(), text) != names.end()) return;
        std::string hint;
        for (const std::string& n : names) {
            if (lower(n) == lower(text)) hint = " (names are case-sensitive: did you mean " +
                                                inQuotes(n) + "?)";
        }
        if (hint.empty()) hint = suggestion(text, names);
        std::string list;
        for (const std::string& n : names) list += (list.empty() ? "" : ", ") + n;
        const std::string stored = colour ? "0 (sRGB)" : "0 (linear)";
        error(el, "unknown-name",
              where + " " + inQuotes(text) + " is not one of " + list + ": the loader stores " + stored +
                  hint,
              stored);
    }

    // A number the loader cannot read; an element holding its value in an
    // attribute rather than as text is the likely mistake when it has no text.
    void notANumber(XMLElement* el, const std::string& where, const std::string& text, const char* what,
                    const char* fallback) {
        const tinyxml2::XMLAttribute* attribute = el->FirstAttribute();
        if (text.empty() && attribute != nullptr) {
            error(el, "not-a-number",
                  where + " has no text: the loader reads an element's text, not its attribute " +
                      attribute->Name() + ", so it falls back to " + fallback + "; write <" + el->Name() + ">" +
                      attribute->Value() + "</" + el->Name() + ">",
                  fallback);
            return;
        }
        error(el, "not-a-number", where + " " + inQuotes(text) + " is not " + what + ": falls back to " + fallback,
              fallback);
    }

    void checkFloat(XMLElement* el, const std::string& where, const std::string& text,
                    const FormatElement& e) {
        float value = 0.0f;
        if (el->QueryFloatText(&value) != tinyxml2::XML_SUCCESS) {
            notANumber(el, where, text, "a number", e.fallback);
            return;
        }
        char* end = nullptr;
        errno = 0;
        std::strtof(text.c_str(), &end);
        if (end == text.c_str() || *end != '\0') {
            error(el, "trailing-text", where + " " + inQuotes(text) + " is read as " + numberText(value) +
                                           ": the rest of the text is ignored",
                  numberText(value));
        }
        checkRange(el, where, text, value, e.range);
    }

    void checkInt(XMLElement* el, const std::string& where, const std::string& text,
                  const FormatElement& e) {
        int value = 0;
        if (el->QueryIntText(&value) != tinyxml2::XML_SUCCESS) {
            notANumber(el, where, text, "an integer", e.fallback);
            return;
        }
        char* end = nullptr;
        std::strtol(text.c_str(), &end, 0);
        if (end == text.c_str() || *end != '\0') {
            error(el, "trailing-text", where + " " + inQuotes(text) + " is read as the integer " +
                                           std::to_string(value) + ": the rest of the text is ignored",
                  std::to_string(value));
        }
        const bool sixteen = e.kind == Kind::kInt16;
        const long stored = sixteen ? static_cast<long>(static_cast<uint16_t>(value))
                                    : static_cast<long>(static_cast<uint8_t>(value));
        if (stored != value) {
            error(el, "truncated",
                  where + " " + text + " does not fit in " + (sixteen ? "16" : "8") +
                      " bits: the loader stores " + std::to_string(stored),
                  std::to_string(stored));
            return;
        }
        if (e.kind == Kind::kSwitch && value != 0 && value != 1) {
            warn(el, "switch-value", where + " " + text +
                                         " is neither 0 nor 1: stages that test for 1 treat it as off",
                 std::to_string(value));
        }
        checkRange(el, where, text, static_cast<float>(stored), e.range);
    }

    // `text` is the value as the file writes it, quoted back unchanged.
    void checkRange(XMLElement* el, const std::string& where, const std::string& text, float value, Range range) {
        if (!std::isfinite(value)) {
            error(el, "out-of-range", where + " " + text + " is not finite", numberText(value));
        } else if (range == Range::kPositive && !(value > 0.0f)) {
            error(el, "out-of-range",
                  where + " " + text + " must be above 0 (the tone curve takes its log or divides by it)",
                  numberText(value));
        } else if (range == Range::kNonNegative && value < 0.0f) {
            error(el, "out-of-range", where + " " + text + " must not be negative", numberText(value));
        }
    }

    void checkPcc(XMLElement* root, XMLElement* pcc) {
        if (pcc == nullptr) {
            note(root, "missing", "<panel_pcc> is missing: the tuning carries no panel colour correction",
                 "no panel correction");
            return;
        }
        checkChildren(pcc, "panel_pcc");
        bool identity = true;  // the whole block, as the loader fills it
        for (int k = 0; k < 3; ++k) {
            XMLElement* row = pcc->FirstChildElement(kPccRows[k]);
            if (row == nullptr) {
                warn(pcc, "pcc-row-missing",
                     std::string("<panel_pcc> has no row <") + kPccRows[k] +
                         ">: all its coefficients are 0, so " + kPccRowColour[k] + " comes out as 0",
                     "0 for every term");
                identity = false;
                continue;
            }
            const std::string path = std::string("panel_pcc/") + kPccRows[k];
            checkChildren(row, path);
            std::string missing;
            bool rowIdentity = true;  // counting the fallbacks of missing terms
            bool fallbacksIdentity = true;
            bool allZero = true;
            for (const PccTermInfo& t : kPccTerms) {
                XMLElement* term = row->FirstChildElement(t.name);
                double value = t.fallback;
                if (term == nullptr) {
                    missing += std::string(missing.empty() ? "" : ", ") + t.name + " " + numberText(t.fallback);
                    fallbacksIdentity = fallbacksIdentity && t.fallback == t.identity[k];
                } else {
                    float read = 0.0f;
                    const std::string text = trimmed(term->GetText());
                    const std::string where = tags(path + "/" + t.name);
                    if (term->QueryFloatText(&read) != tinyxml2::XML_SUCCESS) {
                        notANumber(term, where, text, "a number", numberText(t.fallback).c_str());
                    } else {
                        value = read;
                        if (!(std::fabs(value) <= kPccTermLimit)) {
                            warn(term, "pcc-implausible",
                                 where + " " + text + " is implausible for a calibration, whose terms stay within ±" +
                                     numberText(kPccTermLimit) + ": " + kPccRowColour[k] +
                                     " is driven to 0 or 1 for almost every colour");
                        }
                    }
                }
                allZero = allZero && value == 0.0;
                rowIdentity = rowIdentity && value == t.identity[k];
            }
            identity = identity && rowIdentity;
            if (allZero) {
                warn(row, "pcc-implausible",
                     tags(path) + " is all zeros: " + kPccRowColour[k] + " comes out as 0 for every colour");
            } else if (!missing.empty() && fallbacksIdentity) {
                note(row, "pcc-partial", tags(path) + " lacks terms that fall back to " + missing, missing);
            } else if (!missing.empty()) {
                warn(row, "pcc-partial",
                     tags(path) + " is partial and its fallbacks are not an identity (" + missing +
                         "): " + kPccRowColour[k] + " picks up the other channels",
                     missing);
            }
        }
        // The entry builds every LUT with a correction block of its own, filled
        // from the colour manager on the hardware path: the file's block only
        // fills the library's g_pcc.
        if (!identity) {
            warn(pcc, "pcc-not-used",
                 "<panel_pcc> is not an identity, but no LUT uses it: the entry applies the colour manager's "
                 "panel correction on the hardware path and none on the others; the file's coefficients only "
                 "fill the library's g_pcc");
        }
    }

    // Reads the integer texts of the children called `name` as the loader
    // does (a text that does not convert gives 0).
    std::vector<std::pair<XMLElement*, int>> points(XMLElement* parent, const char* name) {
        std::vector<std::pair<XMLElement*, int>> out;
        for (XMLElement* p = parent->FirstChildElement(name); p; p = p->NextSiblingElement(name)) {
            int value = 0;
            if (p->QueryIntText(&value) != tinyxml2::XML_SUCCESS) {
                error(p, "not-a-number",
                      std::string("control point <") + name + "> " + inQuotes(trimmed(p->GetText())) +
                          " is not an integer: read as 0",
                      "0");
            }
            out.emplace_back(p, value);
        }
        return out;
    }

    void checkToneMap(XMLElement* root, XMLElement* toneMap) {
        if (toneMap == nullptr) {
            note(root, "missing", "<tone_map> is missing: falls back to the built-in control points",
                 "the built-in control points");
            return;
        }
        checkChildren(toneMap, "tone_map");
        XMLElement* pts = toneMap->FirstChildElement("points");
        if (pts == nullptr) {
            error(toneMap, "points-missing", "<tone_map> has no <points>: the control points cannot be read");
            return;
        }
        checkChildren(pts, kTableGroup, true);
        const auto xs = points(pts, "x");
        const auto ys = points(pts, "y");
        checkPointCount(pts, xs.size(), "x");
        checkPointCount(pts, ys.size(), "y");
        checkInputPoints(xs);
        checkOutputPoints(xs, ys);
    }

    void checkPointCount(XMLElement* pts, size_t count, const std::string& name) {
        const std::string n = std::to_string(count);
        if (count < static_cast<size_t>(kCurvePoints)) {
            error(pts, "points-too-few", "<points> has " + n + " <" + name + "> values; the format needs 17");
        } else if (name == "x" && count > static_cast<size_t>(kCurveMaxPoints)) {
            error(pts, "points-too-many",
                  "<points> has " + n + " <x> values: more than the table's 24 slots");
        } else if (count > static_cast<size_t>(kCurvePoints)) {
            // The loader keeps the count of x values, so the table reads the
            // slots past 17, which the file never fills.
            error(pts, "points-extra",
                  "<points> has " + n + " <" + name + "> values: the loader stores only the first 17" +
                      (name == "x" ? ", but keeps the count " + n + ", so the table curve reads " +
                                         std::to_string(count - kCurvePoints) + " empty slots"
                                   : std::string()) +
                      "; give exactly 17");
        }
    }

    static std::string pointLabel(const char* name, size_t i, int v) {
        return std::string("control point ") + name + "[" + std::to_string(i) + "] = " + std::to_string(v);
    }

    // The table lookup divides by each step of x and searches it in rising order.
    void checkInputPoints(const std::vector<std::pair<XMLElement*, int>>& xs) {
        const size_t used = std::min(xs.size(), static_cast<size_t>(kCurvePoints));
        for (size_t i = 0; i < used; ++i) {
            const auto& [el, v] = xs[i];
            if (v < 0 || v > kMaxCode) {
                error(el, "point-out-of-range", pointLabel("x", i, v) + " is outside the 10-bit codes 0..1023");
            } else if (i > 0 && v <= xs[i - 1].second) {
                error(el, "points-not-rising",
                      pointLabel("x", i, v) + " does not rise above " + std::to_string(xs[i - 1].second) +
                          " (the point before it): the table lookup needs rising inputs");
            }
        }
    }

    // A falling or flat output is legal but rarely meant; flat at the top
    // code is how the curve clips at the panel's peak.
    void checkOutputPoints(const std::vector<std::pair<XMLElement*, int>>& xs,
                           const std::vector<std::pair<XMLElement*, int>>& ys) {
        const size_t used = std::min(ys.size(), static_cast<size_t>(kCurvePoints));
        for (size_t i = 0; i < used; ++i) {
            const auto& [el, v] = ys[i];
            if (v < 0 || v > kMaxCode) {
                error(el, "point-out-of-range", pointLabel("y", i, v) + " is outside the 10-bit codes 0..1023");
                continue;
            }
            if (i == 0) continue;
            const int previous = ys[i - 1].second;
            if (v < previous) {
                warn(el, "points-falling",
                     pointLabel("y", i, v) + " falls below " + std::to_string(previous) +
                         " (the point before it): brighter content comes out darker");
            } else if (v == previous && v != kMaxCode) {
                const std::string span = i < xs.size() ? " (x " + std::to_string(xs[i - 1].second) + " to " +
                                                             std::to_string(xs[i].second) + ")"
                                                       : std::string();
                warn(el, "points-flat",
                     pointLabel("y", i, v) + " repeats the point before it: the content between them" + span +
                         " comes out at one level");
            }
        }
    }

    void checkLuminanceRange(XMLElement* root) {
        XMLElement* minEl = root->FirstChildElement("panel_min_luminance");
        XMLElement* maxEl = root->FirstChildElement("panel_max_luminance");
        float black = 0.001f;
        int peak = 800;
        if (minEl) minEl->QueryFloatText(&black);
        if (maxEl) maxEl->QueryIntText(&peak);
        const float storedPeak = static_cast<float>(static_cast<uint16_t>(peak));
        if (storedPeak > 0.0f && black >= storedPeak) {
            const std::string blackText = minEl ? trimmed(minEl->GetText()) : "0.001";
            error(minEl ? minEl : root, "black-above-peak",
                  "panel black level " + blackText + " nits is not below the panel peak " +
                      numberText(storedPeak) + " nits");
        }
    }

    // Only a custom output gamma reads <val>; another value beside another
    // space is an exponent the LUTs never see.
    void checkGammaValue(XMLElement* root) {
        XMLElement* group = root->FirstChildElement("output_gamma_space");
        XMLElement* val = group ? group->FirstChildElement("val") : nullptr;
        float exponent = 0.0f;
        if (val == nullptr || val->QueryFloatText(&exponent) != tinyxml2::XML_SUCCESS) return;
        XMLElement* spaceEl = group->FirstChildElement("space");
        const std::string space = spaceEl ? trimmed(spaceEl->GetText()) : "2p2";
        // 2.2, the loader's fallback, is what a file beside "2p2" means and harmless beside the rest.
        const bool known = std::find(std::begin(kGammaNames), std::end(kGammaNames), space) != std::end(kGammaNames);
        if (space == kCustomGamma || !known || exponent == kPowerGamma) return;
        warn(val, "gamma-value-not-used",
             "<output_gamma_space><val> " + trimmed(val->GetText()) + " is not used: only <space>custom</space> "
             "reads it, and the space here is " + inQuotes(space) +
                 (spaceEl ? "" : " (the fallback)") + "; write <space>custom</space> for an exponent of " +
                 trimmed(val->GetText()));
    }

    CheckResult& result_;
    XMLElement* root_ = nullptr;
    std::vector<std::string> lines_;  // the file's text, for columns
};

// "mismatched element: XMLElement name=x" from tinyxml2's error name and text.
std::string xmlErrorText(const tinyxml2::XMLDocument& doc) {
    std::string name = doc.ErrorName();
    const std::string prefix = "XML_ERROR_";
    if (name.rfind(prefix, 0) == 0) name = name.substr(prefix.size());
    for (char& c : name) c = c == '_' ? ' ' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::string text = doc.ErrorStr() ? doc.ErrorStr() : "";
    const size_t lineField = text.find("Line number=");
    const size_t detail = lineField == std::string::npos ? lineField : text.find(": ", lineField);
    if (detail != std::string::npos) name += ": " + text.substr(detail + 2);
    return name;
}

}  // namespace

const char* severityName(Severity s) {
    switch (s) {
        case Severity::kError: return "error";
        case Severity::kWarning: return "warning";
        case Severity::kNote: return "note";
    }
    return "?";
}

int CheckResult::count(Severity s) const {
    return static_cast<int>(std::count_if(diagnostics.begin(), diagnostics.end(),
                                          [s](const Diagnostic& d) { return d.severity == s; }));
}

CheckResult checkTuningFile(const std::string& path) {
    CheckResult result;
    // Anything but a regular file (a folder, a FIFO, a device) could block
    // or never end; it is no tuning file.
    const std::string kind = notARegularFile(path);
    if (!kind.empty()) {
        result.diagnostics.push_back({0, 0, Severity::kError, "unreadable", kind + ", not a tuning file", ""});
        return result;
    }
    std::ifstream in(path);
    if (!in) {
        result.diagnostics.push_back({0, 0, Severity::kError, "unreadable",
                                      std::string("cannot read the file: ") + std::strerror(errno), ""});
        return result;
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    in.close();
    // Parsed as the library's loader parses it: entities on, whitespace collapsed.
    tinyxml2::XMLDocument doc(true, tinyxml2::COLLAPSE_WHITESPACE);
    if (doc.LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS) {
        result.diagnostics.push_back(
            {doc.ErrorLineNum(), 0, Severity::kError, "not-xml",
             "not well-formed XML (" + xmlErrorText(doc) +
                 "): the library ignores the file and runs on an all-zero tuning",
             "nothing"});
        return result;
    }
    XMLElement* root = doc.FirstChildElement("hdr_lib");
    if (root == nullptr) {
        XMLElement* other = doc.FirstChildElement();
        result.diagnostics.push_back(
            {other ? other->GetLineNum() : 1, 0, Severity::kError, "wrong-root",
             std::string("the root element is ") +
                 (other ? "<" + std::string(other->Name()) + ">" : "missing") +
                 ", not <hdr_lib>: the library ignores the file and runs on an all-zero tuning",
             "nothing"});
        return result;
    }
    Checker(result, std::move(lines)).checkRoot(root);
    if (XMLElement* second = root->NextSiblingElement("hdr_lib")) {
        result.diagnostics.push_back({second->GetLineNum(), 1, Severity::kError, "repeated-element",
                                      "a second <hdr_lib> is ignored: the loader reads only the first (line " +
                                          std::to_string(root->GetLineNum()) + ")",
                                      "the first, line " + std::to_string(root->GetLineNum())});
    }
    std::stable_sort(result.diagnostics.begin(), result.diagnostics.end(),
                     [](const Diagnostic& a, const Diagnostic& b) {
                         return std::pair(a.line, a.column) < std::pair(b.line, b.column);
                     });
    return result;
}

std::string formatDiagnostic(const std::string& path, const Diagnostic& d) {
    std::string out = path;
    if (d.line > 0) out += ":" + std::to_string(d.line);
    if (d.line > 0 && d.column > 0) out += ":" + std::to_string(d.column);
    return out + ": " + severityName(d.severity) + ": " + d.message;
}

std::string diagnosticsJson(const std::string& path, const CheckResult& result) {
    nlohmann::json list = nlohmann::json::array();
    const auto orNull = [](int v) { return v > 0 ? nlohmann::json(v) : nlohmann::json(); };
    for (const Diagnostic& d : result.diagnostics) {
        list.push_back({{"file", path},
                        {"line", orNull(d.line)},
                        {"column", orNull(d.column)},
                        {"severity", severityName(d.severity)},
                        {"code", d.code},
                        {"message", d.message},
                        {"stored", d.stored.empty() ? nlohmann::json() : nlohmann::json(d.stored)}});
    }
    return list.dump(2);
}

}  // namespace hdrtm::tool
