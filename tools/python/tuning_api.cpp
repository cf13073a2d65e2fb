// Tuning (the record as the loader stores it) and check (the diagnostics of
// hdrtm check).
#include <cstddef>
#include <cstring>
#include <filesystem>

#include "bindings.h"
#include "files/readable_file.h"
#include "tuning/near_names.h"
#include "tuning/tuning_check.h"
#include "tuning/tuning_record.h"

namespace hdrtm::python {
namespace {

using namespace hdrtm::tool;

enum class FieldType { kU8, kU16, kU32, kF32 };

struct Field {
    const char* name;
    FieldType type;
    size_t offset;
    const char* doc;
};

// The fields a tuning file sets, in the record's order. The rest of TMParams
// (gamut_mode, out_bit_depth, grid_size, map_direction, the grids, pcc_enable)
// is set per call: the stage functions take them as arguments.
constexpr Field kFields[] = {
    {"panel_max_luminance", FieldType::kU16, offsetof(TMParams, panel_max_luminance), "panel peak, nits (16 bits)"},
    {"panel_min_luminance", FieldType::kF32, offsetof(TMParams, panel_min_luminance), "panel black, nits"},
    {"nominal_peak_luminance", FieldType::kF32, offsetof(TMParams, nominal_peak_luminance), "HLG OOTF peak, nits"},
    {"panel_color_mode", FieldType::kU32, offsetof(TMParams, panel_color_mode),
     "panel primaries: 0 sRGB, 1 BT709, 2 ADOBE, 3 DCIP3, 4 BT2020"},
    {"output_gamma_val", FieldType::kF32, offsetof(TMParams, output_gamma_val), "exponent of a custom output gamma"},
    {"output_gamma_space", FieldType::kU32, offsetof(TMParams, output_gamma_space),
     "panel signal: 0 linear, 1 power 1/2.2, 2 sRGB, 3 BT.709, 4 custom"},
    {"t0", FieldType::kF32, offsetof(TMParams, t0), "tone curve: where the toe starts, nits"},
    {"sharp", FieldType::kF32, offsetof(TMParams, sharp), "tone curve: shoulder exponent (enableM 1)"},
    {"slope", FieldType::kF32, offsetof(TMParams, slope), "tone curve: slope of the straight segment"},
    {"intl", FieldType::kF32, offsetof(TMParams, intl), "tone curve: output where the toe ends, nits"},
    {"inth", FieldType::kF32, offsetof(TMParams, inth), "tone curve: output where the shoulder starts, nits"},
    {"pivot", FieldType::kF32, offsetof(TMParams, pivot), "tone curve: luminance the straight segment keeps, nits"},
    {"LinearBoost", FieldType::kF32, offsetof(TMParams, LinearBoost), "tone curve: gain floor of the straight segment"},
    {"bright_enable", FieldType::kU8, offsetof(TMParams, bright_enable), "brightness section on (1)"},
    {"sysGamma", FieldType::kF32, offsetof(TMParams, sysGamma), "brightness section: exponent"},
    {"tlower", FieldType::kF32, offsetof(TMParams, tlower), "brightness section: lower bound, nits"},
    {"tupper", FieldType::kF32, offsetof(TMParams, tupper), "brightness section: upper bound, nits"},
    {"sat_enable", FieldType::kU8, offsetof(TMParams, sat_enable), "saturation boost on (1)"},
    {"t1", FieldType::kF32, offsetof(TMParams, t1), "saturation boost: starts, nits"},
    {"t2", FieldType::kF32, offsetof(TMParams, t2), "saturation boost: full, nits"},
    {"kmax", FieldType::kF32, offsetof(TMParams, kmax), "saturation boost: largest gain"},
    {"clipLuma", FieldType::kF32, offsetof(TMParams, clipLuma), "clipping luminance, nits (enableM 0)"},
    {"enableM", FieldType::kU8, offsetof(TMParams, enableM), "1: shoulder by sharp; 0: the curve ends at clipLuma"},
    {"fixedClip", FieldType::kU8, offsetof(TMParams, fixedClip), "1: clipLuma as tuned; 0: from the content"},
    {"fixedRatio", FieldType::kU8, offsetof(TMParams, fixedRatio), "1: scaleStart and ratio as tuned"},
    {"linearScale", FieldType::kU8, offsetof(TMParams, linearScale), "linear scale above scaleStart on (1)"},
    {"scaleStart", FieldType::kF32, offsetof(TMParams, scaleStart), "linear scale: knee, nits"},
    {"ratio", FieldType::kF32, offsetof(TMParams, ratio), "linear scale: gain above the knee"},
    {"version", FieldType::kU32, offsetof(TMParams, version), "1 for a version 2.0 file (table curve), else 0"},
};

const Field* findField(const std::string& name) {
    for (const Field& f : kFields) {
        if (name == f.name) return &f;
    }
    return nullptr;
}

std::vector<std::string> fieldNames() {
    std::vector<std::string> names;
    for (const Field& f : kFields) names.emplace_back(f.name);
    return names;
}

template <typename T>
T readAt(const TMParams& p, size_t offset) {
    T v;
    std::memcpy(&v, reinterpret_cast<const unsigned char*>(&p) + offset, sizeof(T));
    return v;
}

template <typename T>
void writeAt(TMParams& p, size_t offset, T v) {
    std::memcpy(reinterpret_cast<unsigned char*>(&p) + offset, &v, sizeof(T));
}

py::object fieldValue(const TMParams& p, const Field& f) {
    switch (f.type) {
        case FieldType::kU8: return py::int_(readAt<uint8_t>(p, f.offset));
        case FieldType::kU16: return py::int_(readAt<uint16_t>(p, f.offset));
        case FieldType::kU32: return py::int_(readAt<uint32_t>(p, f.offset));
        case FieldType::kF32: return py::float_(readAt<float>(p, f.offset));
    }
    return py::none();
}

// Stores `value` as the field's type: integers must fit its width (the
// loader would truncate them silently), numbers become the nearest float32
// as the loader reads the file's text.
void setField(TMParams& p, const Field& f, const py::object& value) {
    switch (f.type) {
        case FieldType::kU8: writeAt(p, f.offset, static_cast<uint8_t>(integerArgument(value, f.name, 0, 255))); return;
        case FieldType::kU16:
            writeAt(p, f.offset, static_cast<uint16_t>(integerArgument(value, f.name, 0, 65535)));
            return;
        case FieldType::kU32:
            writeAt(p, f.offset, static_cast<uint32_t>(integerArgument(value, f.name, 0, 4294967295LL)));
            return;
        case FieldType::kF32: {
            const py::object real = py::module_::import("numbers").attr("Real");
            if (!py::isinstance(value, real) || py::isinstance<py::bool_>(value)) {
                throw py::type_error(std::string(f.name) + " must be a number, not " + typeName(value));
            }
            writeAt(p, f.offset, static_cast<float>(py::float_(value).cast<double>()));
            return;
        }
    }
}

// Warns in Python of each warning the checker found, as hdrtm prints them.
void warnOf(const std::string& path, const CheckResult& check) {
    for (const Diagnostic& d : check.diagnostics) {
        if (d.severity != Severity::kWarning) continue;
        if (PyErr_WarnEx(PyExc_UserWarning, formatDiagnostic(path, d).c_str(), 1) != 0) throw py::error_already_set();
    }
}

Tuning fromFile(const py::object& pathObject, bool force) {
    const std::string path = pathText(pathObject);
    Tuning t;
    CheckResult check;
    std::string failure;
    {
        LibraryCall call;
        requireReadable(path, "tuning file");
        check = checkTuningFile(path);
        if (check.errors() == 0 || force) {
            try {
                t.params = loadTuningRecord(path, &t.pcc);
            } catch (const std::runtime_error& e) {
                failure = e.what();
            }
        }
    }
    if (check.errors() > 0 && !force) {
        std::string message = "the tuning file " + path + " has " + std::to_string(check.errors()) +
                              " error(s): the library would not use it as written; fix them, or pass "
                              "force=True to load it anyway:";
        for (const Diagnostic& d : check.diagnostics) {
            if (d.severity == Severity::kError) message += "\n  " + formatDiagnostic(path, d);
        }
        throw py::value_error(message);
    }
    if (!failure.empty()) throw py::value_error(failure);
    warnOf(path, check);
    t.path = std::filesystem::absolute(path).string();
    t.label = path;
    t.check = std::move(check);
    return t;
}

Tuning defaults() {
    Tuning t;
    t.params = defaultParams();
    t.label = kDefaultsName;
    return t;
}

Tuning replaced(const Tuning& t, const py::kwargs& changes) {
    Tuning out = t;
    for (const auto& [key, value] : changes) {
        const std::string name = py::str(key).cast<std::string>();
        const Field* f = findField(name);
        if (f == nullptr) {
            const std::string near = closestName(name, fieldNames());
            std::string list;
            for (const Field& field : kFields) list += (list.empty() ? "" : ", ") + std::string(field.name);
            throw py::value_error("replace(): no field " + name +
                                  (near.empty() ? "" : " (did you mean " + near + "?)") + "; the fields are " + list);
        }
        setField(out.params, *f, py::reinterpret_borrow<py::object>(value));
        out.replaced.push_back(name);
    }
    return out;
}

py::dict curveDict(const TMParams& p) {
    py::list xs;
    py::list ys;
    for (int i = 0; i < kToneCurveMaxPoints; ++i) {
        xs.append(p.curve.points_x[i]);
        ys.append(p.curve.points_y[i]);
    }
    py::dict d;
    d["num_points"] = p.curve.num_points;
    d["points_x"] = xs;
    d["points_y"] = ys;
    return d;
}

py::object pccArray(const Tuning& t) {
    if (!t.pcc) return py::none();
    py::array_t<double> a({3, static_cast<int>(kPccTermCount)});
    for (int r = 0; r < 3; ++r) {
        for (int k = 0; k < kPccTermCount; ++k) a.mutable_at(r, k) = t.pcc->row[r][k];
    }
    return a;
}

py::dict toDict(const Tuning& t) {
    py::dict d;
    for (const Field& f : kFields) d[f.name] = fieldValue(t.params, f);
    d["curve"] = curveDict(t.params);
    d["pcc"] = t.pcc ? pccArray(t).attr("tolist")() : py::none();
    return d;
}

std::string tuningRepr(const Tuning& t) {
    std::string s = t.path.empty() ? "Tuning.defaults()" : "Tuning.from_file(" + py::repr(py::str(t.label)).cast<std::string>() + ")";
    if (!t.replaced.empty()) {
        s += ".replace(";
        for (size_t i = 0; i < t.replaced.size(); ++i) {
            const Field* f = findField(t.replaced[i]);
            s += (i ? ", " : "") + t.replaced[i] + "=" + py::repr(fieldValue(t.params, *f)).cast<std::string>();
        }
        s += ")";
    }
    return s;
}

py::object optionalInt(int v) { return v > 0 ? py::object(py::int_(v)) : py::none(); }

}  // namespace

bool sameTuningFields(const TMParams& a, const TMParams& b) {
    const auto bytes = [](const TMParams& p, size_t offset) { return reinterpret_cast<const unsigned char*>(&p) + offset; };
    for (const Field& f : kFields) {
        const size_t size = f.type == FieldType::kU8 ? 1 : f.type == FieldType::kU16 ? 2 : 4;
        if (std::memcmp(bytes(a, f.offset), bytes(b, f.offset), size) != 0) return false;
    }
    return std::memcmp(&a.curve, &b.curve, sizeof(a.curve)) == 0;
}

Tuning tuningArgument(const py::object& tuning) {
    if (tuning.is_none()) return defaults();
    if (py::isinstance<Tuning>(tuning)) return tuning.cast<Tuning>();
    const py::object pathLike = py::module_::import("os").attr("PathLike");
    if (py::isinstance<py::str>(tuning) || py::isinstance(tuning, pathLike)) return fromFile(tuning, false);
    throw py::type_error("tuning must be a Tuning, a path to a tuning file or None (the built-in defaults), not " +
                         typeName(tuning));
}

void bindTuning(py::module_& m) {
    py::class_<Tuning> tuning(m, "Tuning", R"(A tuning: the parameter record as the library's loader stores it.

Load one with Tuning.from_file(path) or take the built-in defaults with
Tuning.defaults(). Each field the tuning file sets is a read-only attribute
(panel_max_luminance, t0, enableM, ...); curve holds the control points,
pcc the file's panel colour correction. replace(**fields) gives a changed
copy for the stage functions; to_dict() gives every field.)");
    tuning
        .def_static("from_file", &fromFile, py::arg("path"), py::arg("force") = false,
                    R"(Loads a tuning file as the library's loader does.

The file is checked first, as hdrtm check does: a file with errors (a
setting the loader would not store as written) raises ValueError listing
them, unless force=True; warnings are issued as UserWarning. A missing file
raises FileNotFoundError.)")
        .def_static("defaults", &defaults, "The built-in defaults, as the library uses them without a tuning file.")
        .def("replace", &replaced,
             R"(A copy with the given fields changed, e.g. t.replace(t0=0.05, enableM=0).

Integer fields must fit their width (ValueError otherwise); numbers for float
fields are stored as the nearest float32, as the loader stores a file's text.
A replaced tuning has no file, so run() and diff() refuse it; the stage
functions take it.)")
        .def("to_dict", &toDict, "Every field as a plain dict, with curve and pcc (None without a panel_pcc).")
        .def_property_readonly(
            "path", [](const Tuning& t) { return t.path.empty() ? py::none() : py::object(py::str(t.path)); },
            "The tuning file's absolute path; None for the built-in defaults.")
        .def_property_readonly("curve", [](const Tuning& t) { return curveDict(t.params); },
                               "The control-point table as stored: num_points and the 24 slots of points_x "
                               "(input PQ codes) and points_y (panel codes).")
        .def_property_readonly("pcc", &pccArray,
                               "The file's panel colour correction, float64 of shape (3, 11): rows r, g, b, terms "
                               "c, r, g, b, rr, gg, bb, rg, gb, rb, rgb; None without one.")
        .def("__repr__", &tuningRepr)
        .def("__eq__", [](const Tuning& a, const Tuning& b) { return py::bool_(toDict(a).equal(toDict(b))); });
    for (const Field& f : kFields) {
        tuning.def_property_readonly(
            f.name, [f](const Tuning& t) { return fieldValue(t.params, f); }, f.doc);
    }

    py::class_<Diagnostic>(m, "Diagnostic", "One finding of check(): where, how bad, what the loader stores instead.")
        .def_property_readonly("severity", [](const Diagnostic& d) { return severityName(d.severity); },
                               "\"error\", \"warning\" or \"note\".")
        .def_readonly("code", &Diagnostic::code, "The rule's stable name, e.g. \"unknown-element\".")
        .def_property_readonly("line", [](const Diagnostic& d) { return optionalInt(d.line); },
                               "1-based line, or None when the problem has none.")
        .def_property_readonly("column", [](const Diagnostic& d) { return optionalInt(d.column); },
                               "1-based column of the element's \"<\", or None.")
        .def_readonly("message", &Diagnostic::message, "What is wrong and what follows from it.")
        .def_property_readonly(
            "stored", [](const Diagnostic& d) { return d.stored.empty() ? py::none() : py::object(py::str(d.stored)); },
            "The value the loader stores instead, when that is one value; else None.")
        .def("__repr__", [](const Diagnostic& d) {
            return "<Diagnostic " + std::string(severityName(d.severity)) + " " + d.code + " line " +
                   std::to_string(d.line) + ": " + d.message + ">";
        });

    m.def(
        "check",
        [](const py::object& pathObject) {
            const std::string path = pathText(pathObject);
            LibraryCall call;
            requireReadable(path, "tuning file");
            return checkTuningFile(path).diagnostics;
        },
        py::arg("path"),
        R"(The diagnostics of hdrtm check for a tuning file, notes included, in line order.

Each is a Diagnostic with severity, code, line, column, message and stored.
A missing file raises FileNotFoundError, a folder IsADirectoryError.)");
}

}  // namespace hdrtm::python
