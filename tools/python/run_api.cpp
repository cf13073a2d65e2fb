// run (the entry as hdrtm lut runs it), its LUTs (codes, grid, apply,
// write), read_lut and diff (the figures of hdrtm diff --json).
#include <algorithm>
#include <cmath>
#include <filesystem>

#include "apply/apply_image.h"
#include "bindings.h"
#include "colour/reference_levels.h"
#include "colour/run_difference.h"
#include "files/clf_file.h"
#include "files/lut_file.h"
#include "files/output_files.h"
#include "files/readable_file.h"
#include "hdr_playback.h"
#include "playback/playback_run.h"
#include "tuning/tuning_record.h"

namespace hdrtm::python {
namespace {

using namespace hdrtm::tool;

// A LUT with what Python shows of it and what apply and write need.
struct LutObject {
    ProducedLut produced;
    CubeTable table;          // what apply looks up: the LUT's, or the file's as it holds it
    std::string kind;         // "layer", "hardware" or "file"
    std::string title;        // for write: the file's title and header notes
    std::vector<std::string> notes;
    std::vector<ReferenceLevel> levels;
};

struct RunOutcome {
    std::string configuration;
    std::vector<std::string> rows;
    std::vector<LutObject> luts;
    std::vector<std::string> log;
    int status = 0;
    std::string printed;
    std::vector<std::string> problems;
};

const char* blendName(uint32_t blend) {
    switch (blend) {
        case kBlendSpacePq: return "pq";
        case kBlendSpacePerLayer: return "layer";
        case kBlendSpaceHlg: return "hlg";
        default: return "unknown";
    }
}

// A layer value as the layer text spells it: a name (where names are
// taken) or an integer.
std::string valueText(const char* argument, const py::object& value, bool names) {
    if (names && py::isinstance<py::str>(value)) return value.cast<std::string>();
    const py::object integer = py::module_::import("numbers").attr("Integral");
    if (!py::isinstance(value, integer) || py::isinstance<py::bool_>(value)) {
        throw py::type_error(std::string(argument) + " must be " + (names ? "a name or " : "") + "an integer, not " +
                             typeName(value));
    }
    return py::str(value).cast<std::string>();
}

LayerConfig makeLayer(const py::object& transfer, const py::object& primaries, const py::object& contentClass,
                      const py::object& master, const py::object& cll) {
    std::string text = valueText("transfer", transfer, true);
    if (!primaries.is_none()) text += ",primaries=" + valueText("primaries", primaries, true);
    if (!contentClass.is_none()) text += ",class=" + valueText("content_class", contentClass, false);
    if (!master.is_none()) text += ",master=" + valueText("master", master, false);
    if (!cll.is_none()) text += ",cll=" + valueText("cll", cll, false);
    LayerConfig layer;
    std::string error;
    if (!parseLayerConfig(text, &layer, &error)) throw py::value_error("Layer: " + error);
    return layer;
}

std::vector<LayerConfig> layersArgument(const py::object& layers) {
    std::vector<LayerConfig> out;
    const auto one = [](const py::handle& item) {
        if (py::isinstance<LayerConfig>(item)) return item.cast<LayerConfig>();
        if (py::isinstance<py::str>(item)) {
            return makeLayer(py::reinterpret_borrow<py::object>(item), py::none(), py::none(), py::none(), py::none());
        }
        throw py::type_error("layers must be Layer objects (or layer texts such as \"pq,master=1000\"), not " +
                             typeName(item));
    };
    if (py::isinstance<LayerConfig>(layers) || py::isinstance<py::str>(layers)) {
        out.push_back(one(layers));
    } else if (py::isinstance<py::iterable>(layers)) {
        for (const py::handle item : layers) out.push_back(one(item));
    } else {
        out.push_back(one(layers));
    }
    if (out.empty() || out.size() > static_cast<size_t>(kMaxLayers)) {
        throw py::value_error("run() takes 1 to 4 layers (the entry's layer records), not " +
                              std::to_string(out.size()));
    }
    return out;
}

Configuration configurationArgument(const py::object& layers, const py::object& blend, const py::object& hw) {
    Configuration config;
    config.layers = layersArgument(layers);
    if (!py::isinstance<py::str>(blend) || !parseBlendSpace(blend.cast<std::string>(), &config.blendSpace)) {
        throw py::value_error("blend must be \"pq\", \"layer\" or \"hlg\", not " + py::repr(blend).cast<std::string>());
    }
    if (!py::isinstance<py::bool_>(hw)) throw py::type_error("hw must be True or False, not " + typeName(hw));
    config.hardware = hw.cast<bool>();
    return config;
}

// A tuning that a file says: run() and diff() hand the library the file.
Tuning fileTuning(const py::object& tuning, const char* function) {
    Tuning t = tuningArgument(tuning);
    if (!t.replaced.empty()) {
        std::string fields;
        for (const std::string& f : t.replaced) fields += (fields.empty() ? "" : ", ") + f;
        throw py::value_error(std::string(function) +
                              " hands the library a tuning file, as the display service does, and this tuning "
                              "has fields changed by replace() (" + fields +
                              "): write them into a tuning file, or use the stage functions");
    }
    return t;
}

std::string tuningLabel(const Tuning& t) { return t.path.empty() ? kDefaultsLabel : t.label; }

// Runs `configs` on `t`, with the library's lock held; the tuning file must
// still hold what it held when it was loaded.
std::vector<RunResult> runLocked(const Tuning& t, const std::vector<Configuration>& configs) {
    if (!t.path.empty()) requireReadable(t.path, "tuning file");
    std::vector<RunResult> results = runOnTuning(t.path, t.params, configs);
    if (libraryLoadFailed()) {
        throw std::runtime_error("the library failed to load the tuning file " + t.path);
    }
    if (!t.path.empty() && !sameTuningFields(g_params, t.params)) {
        throw std::runtime_error("the tuning file " + t.path +
                                 " changed since it was loaded: load it again with Tuning.from_file");
    }
    return results;
}

RunOutcome run(const py::object& layers, const py::object& blend, const py::object& hw, const py::object& tuning) {
    const Configuration config = configurationArgument(layers, blend, hw);
    const Tuning t = fileTuning(tuning, "run()");
    RunOutcome out;
    RunResult r;
    {
        LibraryCall call;
        r = runLocked(t, {config}).front();
        out.log = lastLibraryLog();
    }
    out.configuration = config.describe();
    out.rows = r.rows;
    out.status = r.status;
    out.printed = r.standardOutput;
    out.problems = r.problems;
    for (ProducedLut& p : r.luts) {
        LutObject l;
        l.kind = p.label == kHardwareLutLabel ? "hardware" : "layer";
        l.title = lutTitle(out.configuration, p);
        l.levels = referenceLevels(p.lut, config.layers[p.layer].contentPeakNits());
        l.notes = lutNotes(out.configuration, tuningLabel(t), r.rows[p.layer], p, l.levels);
        l.table = toCubeTable(p.lut);
        l.produced = std::move(p);
        out.luts.push_back(std::move(l));
    }
    return out;
}

LutObject readLut(const py::object& pathObject) {
    const std::string path = pathText(pathObject);
    LutObject l;
    LibraryCall call;
    requireReadable(path, "LUT file");
    try {
        l.table = readLutFile(path);
        l.produced.lut = lutFromTable(l.table, path);
    } catch (const std::runtime_error& e) {
        throw py::value_error(e.what());
    }
    if (l.table.bitDepth == 0) l.table.bitDepth = kForeignLutBits;
    l.levels = referenceLevels(l.produced.lut, 0.0);  // a file names no content peak
    l.produced.label = "file";
    l.kind = "file";
    l.title = std::filesystem::path(path).filename().string();
    l.notes = {"read by hdr_tm from " + path};
    return l;
}

py::array_t<uint16_t> codesArray(const LutObject& l) {
    py::array_t<uint16_t> a({kLutSize, kLutSize, kLutSize, 3});
    auto m = a.mutable_unchecked<4>();
    for (int k = 0; k < kLutEntries; ++k) {
        const int r = k % kLutSize, g = (k / kLutSize) % kLutSize, b = k / (kLutSize * kLutSize);
        for (int c = 0; c < 3; ++c) m(r, g, b, c) = static_cast<uint16_t>(l.produced.lut.codes[k][c]);
    }
    return a;
}

template <typename T, typename Values>
py::array_t<T> vectorArray(const Values& values) {
    py::array_t<T> a(static_cast<py::ssize_t>(values.size()));
    std::copy(values.begin(), values.end(), a.mutable_data());
    return a;
}

std::vector<py::ssize_t> imageShape(const py::array& a, const char* expected) {
    const bool rows = a.ndim() == 2 && a.shape(1) == 3;
    const bool image = a.ndim() == 3 && a.shape(2) == 3;
    if (!rows && !image) {
        throw py::value_error(std::string("image must be ") + expected + ", not of " + py::repr(a.attr("shape")).cast<std::string>() + " shape");
    }
    return {a.shape(), a.shape() + a.ndim()};
}

py::array apply(const LutObject& l, const py::object& image) {
    const char* expected =
        "a numpy array of shape (H, W, 3) or (N, 3): uint16 samples as a 16-bit PNG holds them, or float32 "
        "signal 0..1";
    if (py::array_t<uint16_t>::check_(image)) {
        const auto a = py::array_t<uint16_t, py::array::c_style | py::array::forcecast>::ensure(image);
        const std::vector<py::ssize_t> shape = imageShape(a, expected);
        const size_t pixels = static_cast<size_t>(a.size() / 3);
        const std::vector<uint16_t> in(a.data(), a.data() + a.size());
        py::array_t<uint16_t> out(shape);
        uint16_t* data = out.mutable_data();
        LibraryCall call;
        applyRow(l.table, in, data, pixels);
        return out;
    }
    if (py::array_t<float>::check_(image)) {
        const auto a = py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(image);
        const std::vector<py::ssize_t> shape = imageShape(a, expected);
        const float* in = a.data();
        for (py::ssize_t i = 0; i < a.size(); ++i) {
            if (!(in[i] >= 0.0f && in[i] <= 1.0f)) {
                throw py::value_error("image holds " + py::repr(py::float_(in[i])).cast<std::string>() +
                                      " at flat index " + std::to_string(i) +
                                      ": a float32 image is signal 0..1 (clip it on purpose first)");
            }
        }
        py::array_t<float> out(shape);
        float* data = out.mutable_data();
        const double maxCode = std::ldexp(1.0, l.table.bitDepth) - 1.0;
        LibraryCall call;
        for (py::ssize_t p = 0; p < a.size() / 3; ++p) {
            std::array<uint32_t, 3> codes;
            for (int c = 0; c < 3; ++c) codes[c] = static_cast<uint32_t>(std::lround(in[p * 3 + c] * double(kInputCodeMax)));
            const std::array<uint32_t, 3> v = lookUpCodes(l.table, codes);
            for (int c = 0; c < 3; ++c) data[p * 3 + c] = static_cast<float>(v[c] / maxCode);
        }
        return out;
    }
    throw py::type_error(std::string("image must be ") + expected + ", not " + typeName(image));
}

py::list levelsList(const LutObject& l) {
    py::list out;
    for (const ReferenceLevel& level : l.levels) {
        py::dict d;
        d["level"] = level.name;
        d["input_nits"] = level.inputNits;
        d["input_code"] = level.inputCode;
        d["output_nits"] = level.outputNits;
        d["output_codes"] = py::cast(std::vector<uint32_t>(level.outputCodes.begin(), level.outputCodes.end()));
        out.append(d);
    }
    return out;
}

void write(const LutObject& l, const py::object& pathObject) {
    const std::string path = pathText(pathObject);
    if (!isLutFileName(path)) throw py::value_error(path + ": a LUT is written as .cube or .clf");
    std::string failure = outputFileProblem(path, {});
    if (!failure.empty()) failure = path + ": " + failure;
    if (failure.empty()) {
        LibraryCall call;
        try {
            writeLutFile(path, l.produced, l.title, l.notes);
        } catch (const std::runtime_error& e) {
            failure = e.what();
        }
    }
    if (!failure.empty()) {
        PyErr_SetString(PyExc_OSError, failure.c_str());
        throw py::error_already_set();
    }
}

py::object diff(const py::object& a, const py::object& b, const py::object& layers, const py::object& blend,
                const py::object& hw, const py::object& maxDe) {
    std::vector<Configuration> configs = demoConfigurations();
    if (!layers.is_none()) {
        configs = {configurationArgument(layers, blend, hw)};
    } else if (!(py::isinstance<py::str>(blend) && blend.cast<std::string>() == "pq") || !hw.is(py::bool_(false))) {
        throw py::value_error("diff(): blend and hw choose the configuration of layers; without layers the demo's "
                              "configurations are compared");
    }
    DifferenceContext context;
    if (!maxDe.is_none()) {
        const py::object real = py::module_::import("numbers").attr("Real");
        if (!py::isinstance(maxDe, real) || py::isinstance<py::bool_>(maxDe)) {
            throw py::type_error("max_de must be a number, not " + typeName(maxDe));
        }
        context.maxDeltaE = maxDe.cast<double>();
        if (!std::isfinite(context.maxDeltaE) || context.maxDeltaE < 0.0) {
            throw py::value_error("max_de must be a number of 0 or more, not " + py::repr(maxDe).cast<std::string>());
        }
    }
    const Tuning ta = fileTuning(a, "diff()");
    const Tuning tb = fileTuning(b, "diff()");
    context.a = ta.path;
    context.b = tb.path;
    for (const Tuning* t : {&ta, &tb}) {
        if (!t->path.empty()) context.tunings.push_back({t->path, t->check});
    }
    for (const Configuration& c : configs) context.titles.push_back(c.describe());
    std::string json;
    {
        LibraryCall call;
        const std::vector<RunResult> runsA = runLocked(ta, configs);
        const std::vector<RunResult> runsB = runLocked(tb, configs);
        json = differenceJson(compareRuns(runsA, runsB, configs), context);
    }
    return py::module_::import("json").attr("loads")(json);
}

}  // namespace

void bindRun(py::module_& m) {
    py::class_<LayerConfig>(m, "Layer", R"(One video layer as the display service describes it to the entry.

Layer(transfer, primaries=None, content_class=None, master=None, cll=None):
transfer is "pq", "hlg", "sdr" or an H.273 transfer code 0..255 (or a whole
layer text as hdrtm lut --layer takes it, "pq,master=4000,cll=1500");
primaries "bt2020", "bt709", "p3" or an H.273 code; content_class 0..2 (2
marks SDR content); master the mastering peak and cll the MaxCLL, whole nits
up to 10000. Omitted keys take what hdrtm takes: BT.2020, class 0, no
metadata ("sdr": BT.709, class 2). Bad keys or values raise ValueError naming
the valid ones.)")
        .def(py::init(&makeLayer), py::arg("transfer"), py::arg("primaries") = py::none(),
             py::arg("content_class") = py::none(), py::arg("master") = py::none(), py::arg("cll") = py::none())
        .def_readonly("transfer", &LayerConfig::transfer, "H.273 transfer code (16 PQ, 18 HLG, 1 SDR).")
        .def_readonly("primaries", &LayerConfig::primaries, "H.273 primaries code (9 BT.2020, 1 BT.709, 12 P3).")
        .def_readonly("content_class", &LayerConfig::contentClass, "2 marks SDR content.")
        .def_readonly("master", &LayerConfig::masterNits, "Mastering peak in nits; 0 when not given.")
        .def_property_readonly(
            "cll", [](const LayerConfig& l) { return l.cllPresent ? py::object(py::int_(l.maxCll)) : py::none(); },
            "MaxCLL in nits, or None when not given.")
        .def_property_readonly("text", &LayerConfig::text, "The layer as hdrtm lut --layer takes it.")
        .def("__str__", &LayerConfig::describe)
        .def("__repr__", [](const LayerConfig& l) { return "Layer(" + py::repr(py::str(l.text())).cast<std::string>() + ")"; });

    py::class_<Configuration>(m, "Configuration", "Layers, blend space and hardware path: what one entry call is given.")
        .def_readonly("layers", &Configuration::layers, "The layers, 1 to 4.")
        .def_property_readonly("blend", [](const Configuration& c) { return blendName(c.blendSpace); },
                               "\"pq\", \"layer\" or \"hlg\".")
        .def_readonly("hw", &Configuration::hardware, "The hardware path (PCC read, 12-bit push).")
        .def("__str__", &Configuration::describe)
        .def("__repr__", [](const Configuration& c) { return "<Configuration " + c.describe() + ">"; });

    py::class_<LutObject>(m, "Lut", R"(A 17x17x17 LUT the entry produced, or one read from a file.

codes: uint16 (17, 17, 17, 3) output codes indexed [r, g, b, channel];
grid: float64 (17,), each grid index's true input position (signal 0..1,
the same on each axis); bits, kind, pipeline, checksum as the library gave
them.)")
        .def_property_readonly("codes", &codesArray,
                               "Output codes, uint16 of shape (17, 17, 17, 3), indexed [r, g, b, channel].")
        .def_property_readonly(
            "grid",
            [](const LutObject& l) {
                std::vector<double> g;
                for (uint32_t code : l.produced.lut.grid) g.push_back(code / double(kInputCodeMax));
                return vectorArray<double>(g);
            },
            "Input position of each grid index, float64 (17,): code/1023 (64i/1023 on the uniform grid, not i/16).")
        .def_property_readonly("grid_codes", [](const LutObject& l) { return vectorArray<uint16_t>(l.produced.lut.grid); },
                               "The 10-bit input code of each grid index, uint16 (17,).")
        .def_property_readonly(
            "hardware_grid",
            [](const LutObject& l) {
                return l.produced.hardwareGrid.empty() ? py::none()
                                                       : py::object(vectorArray<uint16_t>(l.produced.hardwareGrid));
            },
            "The 12-bit grid coordinates the hardware push carried (uint16 (17,)), or None.")
        .def_property_readonly("bits", [](const LutObject& l) { return l.produced.lut.bitDepth; },
                               "Output bit depth: 10 for a layer LUT, 12 for the hardware LUT.")
        .def_readonly("kind", &LutObject::kind, "\"layer\", \"hardware\" or \"file\" (read by read_lut).")
        .def_property_readonly("label", [](const LutObject& l) { return l.produced.label; },
                               "\"layer N\", \"hardware\" or \"file\", as hdrtm names its files.")
        .def_property_readonly("layer", [](const LutObject& l) { return l.produced.layer; },
                               "The layer whose decision row produced it.")
        .def_property_readonly(
            "pipeline",
            [](const LutObject& l) {
                return l.produced.pipeline.empty() ? py::none() : py::object(py::str(l.produced.pipeline));
            },
            "The stage function that built it (\"lut3d_process\", ...); None for a file.")
        .def_property_readonly(
            "checksum",
            [](const LutObject& l) {
                return l.produced.hasChecksum ? py::object(py::int_(l.produced.checksum)) : py::none();
            },
            "The checksum the library logged (a running sum over the call's LUTs of one direction), or None.")
        .def_property_readonly("input_signal", [](const LutObject& l) { return signalName(l.produced.lut.input); },
                               "What the LUT's input encodes: \"pq\", \"hlg\" or \"sdr\".")
        .def_property_readonly("output_signal", [](const LutObject& l) { return signalName(l.produced.lut.output); },
                               "What its output encodes: \"panel\", \"pq\" or \"hlg\".")
        .def_property_readonly("levels", &levelsList,
                               "Where the reference levels land, as hdrtm lut --json gives them: a dict per level "
                               "(level, input_nits, input_code, output_nits, output_codes). Content at 100, 203 and "
                               "1000 nits below the layer's peak and the peak itself (for a file, the signal's top); "
                               "SDR black, 18% grey and white for a LUT from SDR.")
        .def("apply", &apply, py::arg("image"),
             R"(The image through the LUT exactly as hdrtm apply does (tetrahedral, true grid positions).

uint16 (H, W, 3) or (N, 3): 16-bit samples, as a 16-bit PNG holds them; each
becomes a 10-bit input code, and the output codes come back as 16-bit samples
(code x 65535 / full scale), the samples hdrtm apply writes. float32: signal
0..1 (values outside raise ValueError), read as 10-bit codes round(v x 1023);
the output is the output code / full scale as float32.)")
        .def("write", &write, py::arg("path"),
             "Writes the LUT as hdrtm does, .cube or .clf by the extension (a non-uniform .cube gets its "
             "NAME.grid.txt beside it).")
        .def("__repr__", [](const LutObject& l) {
            return "<Lut " + l.produced.label + ", " + std::to_string(l.produced.lut.bitDepth) + "-bit, " +
                   signalName(l.produced.lut.input) + " in, " + signalName(l.produced.lut.output) + " out>";
        });

    py::class_<RunOutcome>(m, "RunResult", "What one entry call gave: decision rows, LUTs and the library's log.")
        .def_property_readonly(
            "row",
            [](const RunOutcome& r) {
                std::string s;
                for (size_t i = 0; i < r.rows.size(); ++i) {
                    s += (i ? "; " : "") + (r.rows.size() > 1 ? std::to_string(i) + ": " : "") + r.rows[i];
                }
                return s;
            },
            "The decision-table row in words (\"layer LUT: lut3d_process\"); with several layers, each "
            "numbered, joined by \"; \".")
        .def_readonly("rows", &RunOutcome::rows, "The row of each layer.")
        .def_readonly("luts", &RunOutcome::luts, "The LUTs, in the order the entry produced them.")
        .def_readonly("log", &RunOutcome::log, "The library's log lines of the call.")
        .def_readonly("status", &RunOutcome::status, "The entry's return value: 1 ran to its end, 0 refused.")
        .def_readonly("printed", &RunOutcome::printed, "What the entry printed to standard output.")
        .def_readonly("problems", &RunOutcome::problems,
                      "Disagreements between the decision table and what the entry produced (none expected).")
        .def_readonly("configuration", &RunOutcome::configuration, "The configuration in words.")
        .def("__repr__", [](const RunOutcome& r) {
            return "<RunResult " + r.configuration + ": " + std::to_string(r.luts.size()) + " LUT(s)>";
        });

    m.def("run", &run, py::arg("layers"), py::arg("blend") = "pq", py::arg("hw") = false,
          py::arg("tuning") = py::none(),
          R"(Runs the library's entry once, as hdrtm lut does, and returns a RunResult.

layers: a Layer (or layer text) or a list of 1 to 4; blend: "pq", "layer" or
"hlg"; hw: the hardware path (PCC read, 12-bit LUT push to the colour-manager
simulator); tuning: a Tuning from a file, a path, or None for the built-in
defaults. The library reads its tuning once per process; run() has it load
the given file afresh, as hdrtm diff does for each side.)");
    m.def("read_lut", &readLut, py::arg("path"),
          "Reads a 17-point .cube or .clf file as hdrtm does (FileNotFoundError, or ValueError naming the problem).");
    m.def("demo_configurations", &demoConfigurations,
          "The configurations hdrtm demo runs and hdrtm diff compares, in their order.");
    m.def("diff", &diff, py::arg("a"), py::arg("b"), py::arg("layers") = py::none(), py::arg("blend") = "pq",
          py::arg("hw") = false, py::arg("max_de") = py::none(),
          R"(The figures of hdrtm diff --json --no-pictures for two tunings, as a dict.

a, b: a Tuning from a file, a path, or None for the defaults. Over the demo's
configurations, or the one that layers, blend and hw give. Per LUT: the
largest and mean code change per channel and ΔE_ITP (mean, p95, max) with
the worst nodes, and where the reference levels land in each; a pair of
LUTs that cannot be compared (other input or grid) is named in unmatched.
max_de, as --max-de: within_max_de tells whether every LUT was compared and
none differs by more (None without it). Paths are absolute; the tunings'
diagnostics are in tuning_diagnostics.)");
}

}  // namespace hdrtm::python
