// numpy arrays in and out of the stage functions: the library works on three
// separate planes of float32, a caller holds colours as the last axis.
#include <climits>

#include "bindings.h"

namespace hdrtm::python {

std::string typeName(const py::handle& value) {
    if (py::isinstance<py::array>(value)) {
        return "an array of " + py::str(py::reinterpret_borrow<py::array>(value).dtype()).cast<std::string>();
    }
    return py::str(value.get_type().attr("__name__")).cast<std::string>();
}

ColourPlanes planesOf(const py::object& colours, const char* argument) {
    const std::string expected = "a numpy float32 array of shape (N, 3) or (H, W, 3)";
    if (!py::array_t<float>::check_(colours)) {
        throw py::type_error(std::string(argument) + " must be " + expected + ", not " + typeName(colours) +
                             ": the library computes in float32, so convert on purpose, "
                             "e.g. with .astype(numpy.float32)");
    }
    const auto a = py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(colours);
    const bool rows = a.ndim() == 2 && a.shape(1) == 3;
    const bool image = a.ndim() == 3 && a.shape(2) == 3;
    if (!rows && !image) {
        std::string shape = "(";
        for (py::ssize_t d = 0; d < a.ndim(); ++d) shape += (d ? ", " : "") + std::to_string(a.shape(d));
        throw py::value_error(std::string(argument) + " must be " + expected + ", not of shape " + shape +
                              (a.ndim() == 1 ? ",)" : ")"));
    }
    ColourPlanes p;
    p.shape.assign(a.shape(), a.shape() + a.ndim());
    const size_t count = static_cast<size_t>(a.size() / 3);
    if (count > UINT_MAX) {
        throw py::value_error(std::string(argument) + " holds " + std::to_string(count) +
                              " colours; the library takes at most " + std::to_string(UINT_MAX) + " at a time");
    }
    const float* data = a.data();
    for (auto& plane : p.planes) plane.resize(count);
    for (size_t i = 0; i < count; ++i) {
        for (int c = 0; c < 3; ++c) p.planes[c][i] = data[i * 3 + c];
    }
    return p;
}

py::array_t<float> arrayOf(const ColourPlanes& p) {
    py::array_t<float> out(p.shape);
    float* data = out.mutable_data();
    for (size_t i = 0; i < p.count(); ++i) {
        for (int c = 0; c < 3; ++c) data[i * 3 + c] = p.planes[c][i];
    }
    return out;
}

std::string pathText(const py::object& path) {
    return py::str(py::module_::import("os").attr("fspath")(path)).cast<std::string>();
}

long long integerArgument(const py::object& value, const char* argument, long long low, long long high) {
    const std::string range = std::to_string(low) + ".." + std::to_string(high);
    const py::object integer = py::module_::import("numbers").attr("Integral");
    if (!py::isinstance(value, integer) || py::isinstance<py::bool_>(value)) {
        throw py::type_error(std::string(argument) + " must be an integer " + range + ", not " + typeName(value));
    }
    const py::int_ n(value);
    if (n < py::int_(low) || n > py::int_(high)) {
        throw py::value_error(std::string(argument) + " must be " + range + ", not " +
                              py::str(py::handle(n)).cast<std::string>());
    }
    return n.cast<long long>();
}

}  // namespace hdrtm::python
