// VidsBinding: names and arrays checked, then one LumaReader or LumaWriter per call.
#include "python/VidsBinding.h"

#include <pybind11/numpy.h>

#include <string>

#include "python/FrameArrays.h"
#include "python/LumaSequence.h"

namespace py = pybind11;
using namespace pybind11::literals;

namespace gme_python {

namespace {

// A str, bytes or os.PathLike name as the file system spells it; TypeError otherwise.
std::string FileName(py::handle name) {
    const py::bytes b = py::module_::import("os").attr("fsencode")(name);
    return std::string(b);
}

py::array_t<std::uint8_t> ReadVids(py::handle name) {
    LumaReader reader(FileName(name));
    py::array_t<std::uint8_t> frames({reader.Frames(), static_cast<long>(reader.Height()),
                                      static_cast<long>(reader.Width())});
    std::uint8_t* out = frames.mutable_data();
    const long size = static_cast<long>(reader.Width()) * reader.Height();
    for (long k = 0; k < reader.Frames(); ++k)
        reader.Read(k, out + k * size);
    return frames;
}

void WriteVids(py::handle name, py::handle frames, double rate) {
    FrameStack f(frames, 3, "frames");
    LumaWriter writer(FileName(name), f.Width(), f.Height(), f.Count(), rate);
    for (long k = 0; k < f.Count(); ++k) {
        const Plane p = f.Frame(k);
        writer.Write(k, p.data, p.stride);
    }
    writer.Close();
}

}  // namespace

void BindVids(py::module_& m) {
    m.def("read_vids", &ReadVids, "name"_a, R"(The luminance of every frame of a vids sequence.

name: the sequence (str or path) without extension: "seq" reads seq.des and seq.pic (an
    extension given is dropped; a leading "~" and $NAME references are expanded).
Returns an (N, height, width) uint8 array: the frames gme reads from the sequence, of any
chroma format (an interlaced sequence gives its fields); wider samples are converted as
gme converts them.
Raises OSError (FileNotFoundError, PermissionError, ...) when a file is missing or
unreadable, the description does not parse or the sample file is shorter than it
declares; ValueError for a sequence without luminance or with samples packed below 8
bits.)");

    m.def("write_vids", &WriteVids, "name"_a, "frames"_a, "rate"_a = 25.0,
          R"(Writes frames as a luminance-only 8-bit vids sequence, as gme writes its output.

name: the sequence (str or path) without extension: "seq" writes seq.des and seq.pic. An
    existing sequence of that name is first renamed to seq.des~ and seq.pic~.
frames: (N, height, width) uint8 array, N >= 1.
rate: frames per second (positive).
Raises TypeError for another dtype, ValueError for another shape or rate, OSError when
the files cannot be created or written (the sequence may then be incomplete).)");
}

}  // namespace gme_python
