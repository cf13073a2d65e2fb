// What the parts of the hdr_tm Python module share: the lock every library
// call holds, the tuning record as Python sees it, and the numpy arrays the
// stage functions take and give.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tm_params.h"
#include "tuning/tuning_check.h"

namespace hdrtm::python {

namespace py = pybind11;

// Held for every call into the library and its process-wide state (the
// tuning property, g_params, the captured log, the colour-manager
// simulator): the GIL is released first, then the module's lock is taken, so
// Python threads make library calls one at a time while other threads run
// Python. Nothing from Python may be touched while it lives.
class LibraryCall {
public:
    LibraryCall();

private:
    py::gil_scoped_release release_;
    std::lock_guard<std::mutex> lock_;
};

// A tuning as the library's loader stores it, and where it came from.
struct Tuning {
    TMParams params{};                   // the fields the entry sets per call are zero
    std::optional<PccCoefficients> pcc;  // the file's panel correction, when it has one
    std::string path;                    // absolute; empty for the built-in defaults
    std::string label;                   // as the caller named it, or "defaults"
    std::vector<std::string> replaced;   // fields changed by replace(): no file says them
    hdrtm::tool::CheckResult check;      // what the checker found in the file (notes too)
};

// A float32 array of colours, shape (N, 3) or (H, W, 3), as three planes.
struct ColourPlanes {
    std::vector<py::ssize_t> shape;
    std::array<std::vector<float>, 3> planes;
    size_t count() const { return planes[0].size(); }
    std::array<float*, 3> pointers() { return {planes[0].data(), planes[1].data(), planes[2].data()}; }
};

// The planes of `colours`; TypeError for another type or dtype, ValueError
// for another shape, each naming what is expected. `argument` names it.
ColourPlanes planesOf(const py::object& colours, const char* argument);
// The planes back as an array of their shape.
py::array_t<float> arrayOf(const ColourPlanes& p);

// `value` as an integer within [low, high]; TypeError or ValueError naming
// `argument` and the range.
long long integerArgument(const py::object& value, const char* argument, long long low, long long high);
// A path argument (str or os.PathLike) as text.
std::string pathText(const py::object& path);
// "float32", "list", ...: the type or dtype a caller gave, for messages.
std::string typeName(const py::handle& value);

// A tuning from what run(), diff() and the stage functions take: a Tuning,
// a path, or None for the built-in defaults.
Tuning tuningArgument(const py::object& tuning);

// True when the fields a tuning file sets are the same, bit for bit.
bool sameTuningFields(const TMParams& a, const TMParams& b);

void bindTuning(py::module_& m);
void bindRun(py::module_& m);
void bindStages(py::module_& m);

}  // namespace hdrtm::python
