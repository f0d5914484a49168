// FrameArrays: argument checks and in-place or copied frames.
#include "python/FrameArrays.h"

#include <climits>
#include <string>

namespace py = pybind11;

namespace gme_python {

namespace {

std::string Shape(const py::array& a) {
    std::string s = "(";
    for (py::ssize_t d = 0; d < a.ndim(); ++d)
        s += (d ? ", " : "") + std::to_string(a.shape(d));
    return s + (a.ndim() == 1 ? ",)" : ")");
}

}  // namespace

FrameStack::FrameStack(py::handle obj, int dims, const char* what) {
    array = py::array::ensure(obj);
    if (!array)
        throw py::type_error(std::string(what) + " must be a numpy array of dtype uint8, not " +
                             std::string(py::str(obj.get_type().attr("__name__"))));
    const py::dtype type = array.dtype();
    if (type.kind() != 'u' || type.itemsize() != 1)
        throw py::type_error(std::string(what) + " must have dtype uint8, not " +
                             std::string(py::str(py::handle(type))));
    const char* layout = dims == 3 ? "(frames, height, width)" : "(height, width)";
    if (array.ndim() != dims)
        throw py::value_error(std::string(what) + " must have the shape " + layout +
                              ", not " + Shape(array));
    const int first = dims - 2;
    for (int d = 0; d < dims; ++d)
        if (array.shape(d) < 1 || array.shape(d) > INT_MAX)
            throw py::value_error(std::string(what) + " of shape " + Shape(array) +
                                  (array.shape(d) < 1 ? ": an empty dimension"
                                                      : ": a dimension beyond 2**31 - 1"));
    count = dims == 3 ? static_cast<long>(array.shape(0)) : 1;
    height = static_cast<int>(array.shape(first));
    width = static_cast<int>(array.shape(first + 1));
    strides[0] = dims == 3 ? array.strides(0) : 0;
    // The stride of a dimension of extent 1 is never used; numpy may report any value.
    strides[1] = height == 1 ? width : array.strides(first);
    strides[2] = width == 1 ? 1 : array.strides(first + 1);
    inPlace = strides[2] == 1 && strides[1] >= width;
    base = static_cast<const std::uint8_t*>(array.data());
    if (!inPlace) {
        scratch = py::array_t<std::uint8_t>({height, width});
        scratchData = scratch.mutable_data();
    }
}

bool FrameStack::SameSize(const FrameStack& other) const {
    return width == other.width && height == other.height;
}

Plane FrameStack::Frame(long n) {
    const std::uint8_t* first = base + n * strides[0];
    if (inPlace)
        return Plane{first, width, height, strides[1]};
    // Any other layout (columns apart, rows reversed or overlapping): copy sample by sample.
    std::uint8_t* out = scratchData;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* row = first + y * strides[1];
        std::uint8_t* o = out + static_cast<std::ptrdiff_t>(y) * width;
        for (int x = 0; x < width; ++x)
            o[x] = row[x * strides[2]];
    }
    return Plane{out, width, height, width};
}

}  // namespace gme_python
