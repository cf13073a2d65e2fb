// The library's exported stage functions over numpy arrays, and ΔE_ITP.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "bindings.h"
#include "colour/color_difference.h"
#include "cr_maths.h"
#include "playback/lut_data.h"
#include "tm_stages.h"
#include "tuning/curve_in_log_nits.h"
#include "tuning/tuning_record.h"

namespace hdrtm::python {
namespace {

using namespace hdrtm::tool;

constexpr unsigned short kThreePlanes = 3;
constexpr long long kMaxScale = 65535;       // scales and in_max are 16-bit
constexpr size_t kMaxGridSize = 255;         // grid_size is 8 bits
constexpr int kMaxCode = 1023;               // grid codes are 10-bit
constexpr int kMaxOutputBits = 16;

// call(planes, count) under the library's lock, and the planes back as an array.
template <typename Call>
py::array_t<float> onPlanes(ColourPlanes p, Call call) {
    {
        LibraryCall lock;
        std::array<float*, 3> planes = p.pointers();
        call(planes.data(), static_cast<unsigned int>(p.count()));
    }
    return arrayOf(p);
}

template <typename Call>
py::array_t<float> onPlanes(const py::object& colours, Call call) {
    return onPlanes(planesOf(colours, "colours"), call);
}

unsigned short scale(const py::object& v, const char* argument) {
    return static_cast<unsigned short>(integerArgument(v, argument, 0, kMaxScale));
}

// The table decoders index a 1024-entry table by the sample's place in
// 0..in_max and do not bound it: anything else would read outside it.
unsigned short tableInMax(const py::object& inMax, const ColourPlanes& p, const char* function) {
    const auto limit = static_cast<unsigned short>(integerArgument(inMax, "in_max", 1, kMaxScale));
    for (const auto& plane : p.planes) {
        for (float v : plane) {
            if (std::isnan(v) || (v >= 0.0f && v <= limit)) continue;
            throw py::value_error(std::string(function) + " reads its 1024-entry table at the sample's place in 0.." +
                                  std::to_string(limit) + " (in_max): every value must lie there (or be NaN), not " +
                                  py::repr(py::float_(v)).cast<std::string>());
        }
    }
    return limit;
}

template <typename Decode>
py::array_t<float> tableDecode(const py::object& colours, const py::object& inMax, const py::object& outScale,
                               const char* function, Decode decode) {
    ColourPlanes p = planesOf(colours, "colours");
    const unsigned short limit = tableInMax(inMax, p, function);
    const unsigned short out = scale(outScale, "out_scale");
    return onPlanes(std::move(p), [&](float** planes, unsigned n) { decode(planes, n, limit, out); });
}

float floatArgument(const py::object& v, const char* argument) {
    const py::object real = py::module_::import("numbers").attr("Real");
    if (!py::isinstance(v, real) || py::isinstance<py::bool_>(v)) {
        throw py::type_error(std::string(argument) + " must be a number, not " + typeName(v));
    }
    return static_cast<float>(py::float_(v).cast<double>());
}

MAP_DIRECTION direction(const py::object& d) {
    if (py::isinstance<py::str>(d) && d.cast<std::string>() == "forward") return MAP_FORWARD;
    if (py::isinstance<py::str>(d) && d.cast<std::string>() == "inverse") return MAP_INVERSE;
    throw py::value_error("direction must be \"forward\" or \"inverse\", not " + py::repr(d).cast<std::string>());
}

// A float32 array of any shape, its values in order.
struct Values {
    std::vector<py::ssize_t> shape;
    std::vector<float> data;
};

Values valuesOf(const py::object& array, const char* argument) {
    if (!py::array_t<float>::check_(array)) {
        throw py::type_error(std::string(argument) + " must be a numpy float32 array, not " + typeName(array) +
                             ": the library computes in float32, so convert on purpose, e.g. with "
                             ".astype(numpy.float32)");
    }
    const auto a = py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(array);
    return {{a.shape(), a.shape() + a.ndim()}, {a.data(), a.data() + a.size()}};
}

py::array_t<float> arrayOf(const Values& v) {
    py::array_t<float> out(v.shape);
    std::copy(v.data.begin(), v.data.end(), out.mutable_data());
    return out;
}

// `plane(values, count)`, one of the library's maths over a plane, over a
// float32 array of any shape.
template <typename Plane>
py::array_t<float> overValues(const py::object& x, Plane plane) {
    Values v = valuesOf(x, "x");
    plane(v.data.data(), static_cast<uint32_t>(v.data.size()));
    return arrayOf(v);
}

// The record the stage functions are given, as the entry prepares its
// working copy: the tuning's fields with a version 2.0 tuning's control
// points converted (CalCurveLUT), the per-call fields as the entry sets them
// for a layer LUT (those a Tuning holds zero stay zero: forward, no panel
// correction), a uniform grid and a zeroed panel-correction block that the
// record points to.
struct Record {
    TMParams params;
    PccCoefficients pcc{};
    explicit Record(const Tuning& t) : params(t.params) {
        if (params.version == kTableCurveVersion) CalCurveLUT(&params);
        params.pcc = &pcc;
        params.grid_size = kLutSize;
        params.out_bit_depth = 10;
        params.gamut_mode = 2;
        for (auto& set : params.grid_points) {
            for (auto& row : set) std::copy(kUniformGrid.begin(), kUniformGrid.end(), row);
        }
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
};

// The cores and yTM take grid_size^3 points. `count` points go through them
// in runs of at most 255^3, each padded with black up to a cube; every point
// is mapped on its own, so the padding changes none of them.
template <typename Stage>
void inCubes(size_t count, Stage stage) {
    const size_t maxRun = kMaxGridSize * kMaxGridSize * kMaxGridSize;
    for (size_t first = 0; first < count; first += maxRun) {
        const size_t n = std::min(count - first, maxRun);
        size_t g = 1;
        while (g * g * g < n) ++g;
        stage(first, n, static_cast<uint8_t>(g));
    }
}

py::array_t<float> core(const py::object& tuning, const py::object& colours, const py::object& dir, bool bt2020Input,
                        bool inverseCore) {
    const Tuning t = tuningArgument(tuning);
    const MAP_DIRECTION d = direction(dir);
    ColourPlanes p = planesOf(colours, "colours");
    {
        LibraryCall lock;
        inCubes(p.count(), [&](size_t first, size_t n, uint8_t g) {
            const size_t padded = size_t(g) * g * g;
            std::array<std::vector<float>, 3> cube;
            float* planes[3];
            for (int c = 0; c < 3; ++c) {
                cube[c].assign(padded, 0.0f);
                std::copy_n(p.planes[c].begin() + first, n, cube[c].begin());
                planes[c] = cube[c].data();
            }
            Record r(t);
            r.params.grid_size = g;
            r.params.map_direction = d;
            r.params.inverse_bt2020_luma = bt2020Input ? 1 : 0;
            inverseCore ? inverse_tone_mapping_core(&r.params, planes) : tone_mapping_core(&r.params, planes);
            for (int c = 0; c < 3; ++c) std::copy_n(cube[c].begin(), n, p.planes[c].begin() + first);
        });
    }
    return arrayOf(p);
}

py::array_t<float> luminanceMapping(const py::object& tuning, const py::object& luminance, const py::object& dir) {
    const Tuning t = tuningArgument(tuning);
    const MAP_DIRECTION d = direction(dir);
    Values v = valuesOf(luminance, "luminance");
    {
        LibraryCall lock;
        inCubes(v.data.size(), [&](size_t first, size_t n, uint8_t g) {
            std::vector<float> in(size_t(g) * g * g, 0.0f);
            std::vector<float> out(in.size(), 0.0f);
            std::copy_n(v.data.begin() + first, n, in.begin());
            Record r(t);
            r.params.grid_size = g;
            r.params.map_direction = d;
            yTM(&r.params, in.data(), out.data());
            std::copy_n(out.begin(), n, v.data.begin() + first);
        });
    }
    return arrayOf(v);
}

py::array_t<float> toneCurve(const py::object& tuning, const py::object& logNits, bool inverse) {
    const Tuning t = tuningArgument(tuning);
    Values v = valuesOf(logNits, "log_nits");
    {
        LibraryCall lock;
        applyToneCurve(t.params, v.data, inverse);
    }
    return arrayOf(v);
}

// Grid codes per axis: (n,) for all three axes or (3, n), n up to 17.
std::array<std::vector<uint32_t>, 3> gridArgument(const py::object& grid) {
    std::array<std::vector<uint32_t>, 3> rows;
    if (grid.is_none()) {
        for (auto& row : rows) row.assign(kUniformGrid.begin(), kUniformGrid.end());
        return rows;
    }
    const py::array a = py::array::ensure(grid);
    const std::string expected = "integer codes 0..1023, shape (n,) for every axis or (3, n), n from 1 to 17";
    if (!a || (a.dtype().kind() != 'i' && a.dtype().kind() != 'u')) {
        throw py::type_error("grid must hold " + expected + ", not " + typeName(grid));
    }
    const bool shared = a.ndim() == 1;
    if (!(shared || (a.ndim() == 2 && a.shape(0) == 3)) || a.shape(a.ndim() - 1) < 1 ||
        a.shape(a.ndim() - 1) > kLutSize) {
        throw py::value_error("grid must hold " + expected + ", not of shape " +
                              py::repr(a.attr("shape")).cast<std::string>());
    }
    const auto codes = py::array_t<long long, py::array::c_style | py::array::forcecast>::ensure(a);
    const py::ssize_t n = a.shape(a.ndim() - 1);
    for (int axis = 0; axis < 3; ++axis) {
        for (py::ssize_t i = 0; i < n; ++i) {
            const long long code = codes.data()[(shared ? 0 : axis * n) + i];
            if (code < 0 || code > kMaxCode) {
                throw py::value_error("grid codes must lie in 0..1023 (the pipelines decode them through "
                                      "1024-entry tables), not " + std::to_string(code));
            }
            rows[axis].push_back(static_cast<uint32_t>(code));
        }
    }
    return rows;
}

std::optional<PccCoefficients> pccArgument(const py::object& pcc) {
    if (pcc.is_none()) return std::nullopt;
    const py::array a = py::array::ensure(pcc);
    if (!a || a.dtype().kind() != 'f') {
        throw py::type_error("pcc must be a float array of shape (3, 11) (rows r, g, b; terms c, r, g, b, rr, gg, "
                             "bb, rg, gb, rb, rgb), not " + typeName(pcc));
    }
    if (a.ndim() != 2 || a.shape(0) != 3 || a.shape(1) != kPccTermCount) {
        throw py::value_error("pcc must be of shape (3, 11), not " + py::repr(a.attr("shape")).cast<std::string>());
    }
    const auto rows = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(a);
    PccCoefficients out{};
    for (int r = 0; r < 3; ++r) std::copy_n(rows.data() + r * kPccTermCount, kPccTermCount, out.row[r]);
    return out;
}

using Pipeline = void (*)(TMParams*, float**);

// Runs a pipeline on the grid the caller gives (it fills its planes from the
// grid itself) and returns its planes as [r, g, b, channel].
py::array_t<float> pipeline(Pipeline run, const py::object& tuning, const py::object& grid, const py::object& bits,
                            const py::object& gamutMode, const py::object& pcc, bool hlgInput) {
    const Tuning t = tuningArgument(tuning);
    const std::array<std::vector<uint32_t>, 3> rows = gridArgument(grid);
    const auto depth = static_cast<uint8_t>(integerArgument(bits, "bits", 1, kMaxOutputBits));
    const auto gamut = static_cast<uint8_t>(integerArgument(gamutMode, "gamut_mode", 0, 3));
    const std::optional<PccCoefficients> correction = pccArgument(pcc);
    const size_t n = rows[0].size();
    std::array<std::vector<float>, 3> planes;
    for (auto& plane : planes) plane.assign(n * n * n, 0.0f);
    {
        LibraryCall lock;
        Record r(t);
        for (auto& set : r.params.grid_points) {
            for (int axis = 0; axis < 3; ++axis) std::copy(rows[axis].begin(), rows[axis].end(), set[axis]);
        }
        r.params.grid_size = static_cast<uint8_t>(n);
        r.params.out_bit_depth = depth;
        r.params.gamut_mode = gamut;
        r.params.inverse_bt2020_luma = hlgInput ? 1 : 0;
        if (correction) {
            r.pcc = *correction;
            r.params.pcc_enable = 1;
        }
        float* pointers[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
        run(&r.params, pointers);
    }
    const auto side = static_cast<py::ssize_t>(n);
    py::array_t<float> out({side, side, side, py::ssize_t{3}});
    auto m = out.mutable_unchecked<4>();
    for (size_t i = 0; i < n * n * n; ++i) {
        for (int c = 0; c < 3; ++c) m(i % n, (i / n) % n, i / (n * n), c) = planes[c][i];
    }
    return out;
}

py::array_t<double> deltaE(const py::object& a, const py::object& b) {
    const auto light = [](const py::object& v, const char* argument) {
        if (!py::array_t<float>::check_(v) && !py::array_t<double>::check_(v)) {
            throw py::type_error(std::string(argument) +
                                 " must be a numpy float32 or float64 array of display light in nits (BT.2020), "
                                 "shape (..., 3), not " + typeName(v));
        }
        return py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(v);
    };
    const auto la = light(a, "a");
    const auto lb = light(b, "b");
    const std::vector<py::ssize_t> shape(la.shape(), la.shape() + la.ndim());
    if (la.ndim() < 1 || shape.back() != 3 || !std::equal(shape.begin(), shape.end(), lb.shape(), lb.shape() + lb.ndim())) {
        throw py::value_error("a and b must have the same shape (..., 3), not " + py::repr(a.attr("shape")).cast<std::string>() +
                              " and " + py::repr(b.attr("shape")).cast<std::string>());
    }
    py::array_t<double> out(std::vector<py::ssize_t>(shape.begin(), shape.end() - 1));
    double* d = out.mutable_data();
    for (py::ssize_t i = 0; i < la.size() / 3; ++i) {
        const Nits3 x = {la.data()[i * 3], la.data()[i * 3 + 1], la.data()[i * 3 + 2]};
        const Nits3 y = {lb.data()[i * 3], lb.data()[i * 3 + 1], lb.data()[i * 3 + 2]};
        d[i] = deltaEItp(ictcpFromNits(x), ictcpFromNits(y));
    }
    return out;
}

// A stage function of the library with its Python name and what it does.
template <typename Function>
struct Named {
    const char* name;
    Function function;
    const char* what;
};

const char* const kColoursDoc = "colours: float32 of shape (N, 3) or (H, W, 3), channels last; returns a new array.";

}  // namespace

void bindStages(py::module_& m) {
    const auto doc = [](const std::string& what) { return what + "\n\n" + kColoursDoc; };
    m.def(
        "st2084_forward_tf",
        [](const py::object& colours, const py::object& inScale, const py::object& outScale) {
            const unsigned short in = scale(inScale, "in_scale"), out = scale(outScale, "out_scale");
            return onPlanes(colours, [&](float** p, unsigned n) { st2084_forward_tf(p, n, in, out); });
        },
        py::arg("colours"), py::arg("in_scale") = 1, py::arg("out_scale") = 1,
        doc("PQ encoding (linear light / in_scale, clamped to 0..1, to the PQ signal) x out_scale.").c_str());
    m.def(
        "st2084_inverse_tf",
        [](const py::object& colours, const py::object& inMax, const py::object& outScale) {
            return tableDecode(colours, inMax, outScale, "st2084_inverse_tf",
                               [](float** p, unsigned n, unsigned short max, unsigned short out) {
                                   st2084_inverse_tf(p, n, kThreePlanes, max, out);
                               });
        },
        py::arg("colours"), py::arg("in_max") = 1, py::arg("out_scale") = 1,
        doc("PQ decoding through the library's table: signal (in_max stands for full signal) to linear light "
            "(1 = 10000 nits) x out_scale. Values outside 0..in_max raise ValueError.")
            .c_str());
    using Formula = void (*)(float**, unsigned int, unsigned short, unsigned short, unsigned short);
    static const Named<Formula> kFormulas[] = {
        {"HLG_forward_tf", &HLG_forward_tf, "HLG OETF: scene light / in_scale to the HLG signal (negative light gives NaN)"},
        {"bt709_forward_tf", &bt709_forward_tf, "BT.709 OETF: linear light / in_scale, clamped to 0..1, to the signal"},
        {"sRGB_forward_tf", &sRGB_forward_tf, "sRGB encoding: linear light / in_scale, clamped to 0..1, to the signal"},
        {"gamma2p2_forward_tf", &gamma2p2_forward_tf, "Power 0.45454544: linear light / in_scale, clamped, to the signal"},
        {"gamma2p2_inverse_tf", &gamma2p2_inverse_tf, "Power 2.2: signal / in_scale, clamped, to linear light"},
    };
    for (const Named<Formula>& f : kFormulas) {
        m.def(
            f.name,
            [function = f.function](const py::object& colours, const py::object& inScale, const py::object& outScale) {
                const unsigned short in = scale(inScale, "in_scale"), out = scale(outScale, "out_scale");
                return onPlanes(colours, [&](float** p, unsigned n) { function(p, n, kThreePlanes, in, out); });
            },
            py::arg("colours"), py::arg("in_scale") = 1, py::arg("out_scale") = 1,
            doc(std::string(f.what) + ", x out_scale.").c_str());
    }
    using TableDecoder = void (*)(float**, unsigned int, unsigned short, unsigned short);
    static const Named<TableDecoder> kTables[] = {
        {"HLG_inverse_tf", &HLG_inverse_tf, "HLG inverse OETF (to scene light)"},
        {"bt709_inverse_tf", &bt709_inverse_tf, "BT.709 inverse OETF"},
        {"sRGB_inverse_tf", &sRGB_inverse_tf, "sRGB decoding"},
    };
    for (const Named<TableDecoder>& f : kTables) {
        m.def(
            f.name,
            [f](const py::object& colours, const py::object& inMax, const py::object& outScale) {
                return tableDecode(colours, inMax, outScale, f.name,
                                   [&f](float** p, unsigned n, unsigned short max, unsigned short out) {
                                       f.function(p, n, max, out);
                                   });
            },
            py::arg("colours"), py::arg("in_max") = 1, py::arg("out_scale") = 1,
            doc(std::string(f.what) + " through the library's table: signal (in_max stands for full signal) to "
                                      "light 0..1, x out_scale. Values outside 0..in_max raise ValueError.")
                .c_str());
    }
    m.def(
        "gamma_custom_forward_tf",
        [](const py::object& colours, const py::object& gamma, const py::object& inScale, const py::object& outScale) {
            const float g = floatArgument(gamma, "gamma");
            const unsigned short in = scale(inScale, "in_scale"), out = scale(outScale, "out_scale");
            return onPlanes(colours,
                            [&](float** p, unsigned n) { gamma_custom_forward_tf(g, p, n, kThreePlanes, in, out); });
        },
        py::arg("colours"), py::arg("gamma"), py::arg("in_scale") = 1, py::arg("out_scale") = 1,
        doc("Power 1/gamma (gamma as float32): linear light / in_scale, clamped, to the signal, x out_scale.").c_str());
    m.def(
        "OOTF_forward_tf",
        [](const py::object& colours, const py::object& peak) {
            const float nits = floatArgument(peak, "peak");
            return onPlanes(colours, [&](float** p, unsigned n) { OOTF_forward_tf(p, n, 0, 0, nits); });
        },
        py::arg("colours"), py::arg("peak"),
        doc("HLG OOTF for a display of `peak` nits: scene light 0..1 to display light (1 = 10000 nits), "
            "clamped. A colour whose luminance is not positive takes the gain of the colour before it, in "
            "array order, as the library does.")
            .c_str());
    m.def(
        "OOTF_inverse_tf",
        [](const py::object& colours, const py::object& peak) {
            const float nits = floatArgument(peak, "peak");
            return onPlanes(colours, [&](float** p, unsigned n) { OOTF_inverse_tf(p, n, 0, 0, nits); });
        },
        py::arg("colours"), py::arg("peak"),
        doc("Inverse HLG OOTF: display light (1 = 10000 nits) to scene light, clamped to 0..1.").c_str());

    m.def("tone_curve", &toneCurve, py::arg("tuning"), py::arg("log_nits"), py::arg("inverse") = false,
          R"(The tuning's tone curve, log10 nits in and log10 nits out, float32 of any shape.

The table curve (logTM_LUT, after CalCurveLUT) for a version 2.0 tuning, else
the parametric curve (logTM) with the arguments yTM derives from the record;
inverse=True maps outputs back to inputs. The record is taken as it is: the
entry derives clipLuma from the content for enableM 0 and fixedClip 0, so
replace(clipLuma=...) to see a content peak.)");
    m.def("yTM", &luminanceMapping, py::arg("tuning"), py::arg("luminance"), py::arg("direction") = "forward",
          R"(Luminance through yTM, float32 of any shape (1 = 10000 nits).

Forward: content luminance to the panel's range (0 at black, 1 at peak), with
the brightness section and linear scale; "inverse": panel range back.)");
    m.def(
        "tone_mapping_core",
        [](const py::object& tuning, const py::object& colours, const py::object& dir) {
            return core(tuning, colours, dir, false, false);
        },
        py::arg("tuning"), py::arg("colours"), py::arg("direction") = "forward",
        doc("The forward tone-mapping core: BT.2020 linear light (1 = 10000 nits) to the panel's range, saturation "
            "boost first when the tuning enables it.")
            .c_str());
    m.def(
        "inverse_tone_mapping_core",
        [](const py::object& tuning, const py::object& colours, bool bt2020Input, const py::object& dir) {
            return core(tuning, colours, dir, bt2020Input, true);
        },
        py::arg("tuning"), py::arg("colours"), py::arg("bt2020_input") = false, py::arg("direction") = "forward",
        doc("The inverse core: linear light on the panel's range (BT.709, or BT.2020 with bt2020_input) to BT.2020 "
            "light (1 = 10000 nits). The entry runs it with direction \"forward\", as here by default.")
            .c_str());

    const char* const pipelineDoc = R"(

Fills its planes from `grid` (integer codes 0..1023 per axis: shape (n,) for
every axis or (3, n), n up to 17; default the uniform 17-point grid) and runs
on the tuning's record as it is, with the per-call fields as the keywords
give them. Returns float32 of shape (n, n, n, 3), indexed [r, g, b, channel]:
output codes 0..2^bits - 1, not rounded (the entry truncates them).)";
    static const Named<Pipeline> kForward[] = {
        {"lut3d_process", &lut3d_process, "The PQ forward pipeline (a PQ layer's LUT)"},
        {"HLG_lut3d_process", &HLG_lut3d_process, "The HLG forward pipeline (an HLG layer's LUT)"},
    };
    for (const Named<Pipeline>& f : kForward) {
        m.def(
            f.name,
            [function = f.function](const py::object& tuning, const py::object& grid, const py::object& bits,
                                    const py::object& gamutMode, const py::object& pcc) {
                return pipeline(function, tuning, grid, bits, gamutMode, pcc, false);
            },
            py::arg("tuning"), py::arg("grid") = py::none(), py::kw_only(), py::arg("bits") = 10,
            py::arg("gamut_mode") = 2, py::arg("pcc") = py::none(),
            (std::string(f.what) + "; gamut_mode 2 maps to the panel's primaries (1 by matrix, 0 none), pcc (3, 11) "
                                   "turns the panel correction on." + pipelineDoc)
                .c_str());
    }
    m.def(
        "inverse_lut3d_process",
        [](const py::object& tuning, const py::object& grid, bool hlgInput, const py::object& bits) {
            return pipeline(&inverse_lut3d_process, tuning, grid, bits, py::int_(0), py::none(), hlgInput);
        },
        py::arg("tuning"), py::arg("grid") = py::none(), py::kw_only(), py::arg("hlg_input") = false,
        py::arg("bits") = 10,
        (std::string("The inverse pipeline into PQ: SDR (sRGB) input, or HLG input with hlg_input=True. It "
                     "always samples the uniform grid set, here the given one.") +
         pipelineDoc)
            .c_str());
    m.def(
        "HLG_inverse_lut3d_process",
        [](const py::object& tuning, const py::object& grid, const py::object& bits) {
            return pipeline(&HLG_inverse_lut3d_process, tuning, grid, bits, py::int_(0), py::none(), false);
        },
        py::arg("tuning"), py::arg("grid") = py::none(), py::kw_only(), py::arg("bits") = 10,
        (std::string("The inverse pipeline from SDR (sRGB) into HLG.") + pipelineDoc).c_str());

    m.def(
        "powf",
        [](const py::object& x, const py::object& y) {
            if (py::isinstance<py::float_>(y) || py::isinstance<py::int_>(y)) {
                const float exponent = y.cast<float>();
                return overValues(x, [exponent](float* v, uint32_t n) { powPlane(v, n, exponent); });
            }
            Values v = valuesOf(x, "x");
            const Values e = valuesOf(y, "y");
            if (e.shape != v.shape) throw py::value_error("y must be a number or a float32 array of x's shape");
            powPlanePerSample(v.data.data(), e.data.data(), static_cast<uint32_t>(v.data.size()));
            return arrayOf(v);
        },
        py::arg("x"), py::arg("y"),
        "x to the power y (a number, or a float32 array of x's shape) as the library computes it, float32 "
        "of any shape: correctly rounded (the float nearest the exact value), the same on every build and C "
        "library.");
    m.def(
        "logf", [](const py::object& x) { return overValues(x, [](float* v, uint32_t n) { logPlane(v, n); }); },
        py::arg("x"), "The natural logarithm as the library computes it, float32 of any shape, correctly rounded.");
    m.def(
        "log10f",
        [](const py::object& x) { return overValues(x, [](float* v, uint32_t n) { log10Plane(v, n); }); },
        py::arg("x"), "The base-10 logarithm as the library computes it, float32 of any shape, correctly rounded.");

    m.def("delta_e_itp", &deltaE, py::arg("a"), py::arg("b"),
          R"(ΔE_ITP (ITU-R BT.2124) between two arrays of display light in nits on BT.2020 primaries.

a, b: float32 or float64 of the same shape (..., 3); returns float64 of shape
(...). 1 is about one just-noticeable difference. Negative light counts as
none, as hdrtm diff takes it.)");
}

}  // namespace hdrtm::python
