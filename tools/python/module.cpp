// hdr_tm: libhdr_tm's LUTs, stages and checks for Python, as numpy arrays,
// from the same code as hdrtm (tools/core).
#include "bindings.h"
#include "files/readable_file.h"
#include "playback/playback_run.h"

namespace hdrtm::python {
namespace {

std::mutex gLibrary;

}  // namespace

LibraryCall::LibraryCall() : release_(), lock_(gLibrary) {}

}  // namespace hdrtm::python

PYBIND11_MODULE(hdr_tm, m) {
    namespace py = pybind11;
    using hdrtm::tool::UnreadableFileError;
    m.doc() = R"(libhdr_tm's LUTs, stages and checks as numpy arrays, bit for bit the library's.

Tunings: Tuning.from_file, Tuning.defaults, check. The entry: Layer, run
(RunResult, Lut with codes, grid, apply, write), read_lut, diff,
demo_configurations. The exported stage functions by their C names
(st2084_forward_tf, OOTF_forward_tf, tone_mapping_core, lut3d_process, ...),
tone_curve in log10 nits, and delta_e_itp.

The library keeps process-wide state (its tuning, its log, the colour
manager); the module lets one thread into it at a time.)";
    m.attr("__version__") = HDRTM_VERSION;
    py::register_exception_translator([](std::exception_ptr p) {
        try {
            if (p) std::rethrow_exception(p);
        } catch (const UnreadableFileError& e) {
            using Reason = UnreadableFileError::Reason;
            PyObject* type = e.reason == Reason::kMissing     ? PyExc_FileNotFoundError
                             : e.reason == Reason::kDirectory ? PyExc_IsADirectoryError
                             : e.reason == Reason::kDenied    ? PyExc_PermissionError
                                                              : PyExc_OSError;  // a FIFO, a device
            PyErr_SetString(type, e.what());
        }
    });
    // The library's log lines go to each run's result, not to stderr.
    hdrtm::tool::captureLibraryLog();
    hdrtm::python::bindTuning(m);
    hdrtm::python::bindRun(m);
    hdrtm::python::bindStages(m);
}
