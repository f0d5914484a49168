// The Python module gme: global motion estimation and compensation of numpy frames, and
// vids sequences in and out. Errors cross as exceptions: TypeError and ValueError for bad
// arguments, OSError for files, gme.FatalError for a fault of the numerical core.
#include <pybind11/pybind11.h>

#include "gme/SequenceEstimator.h"
#include "python/EstimatorBinding.h"
#include "python/LumaSequence.h"
#include "python/VidsBinding.h"

namespace py = pybind11;

PYBIND11_MODULE(gme, m) {
    m.doc() = R"(Global motion estimation and compensation.

The motion between consecutive 8-bit luminance frames as a six-parameter affine model,
with the rejection of doubtful estimates, the object mask and the prediction from the
motion of earlier frames; the results of the gme command, bit for bit.

    estimate(frames)           every pair of an (N, H, W) uint8 array at once
    SequenceEstimator().push   one frame at a time
    compensate(previous, params, current=None)
    read_vids(name), write_vids(name, frames, rate=25.0)

Model convention: params (a0 .. a5) predict pixel (x, y) of the current frame, x the
column and y the row, from position (a0 + a1 x + a2 y, a3 + a4 x + a5 y) of the previous
frame; the identity is (0, 1, 0, 0, 0, 1).)";

    static py::exception<gme::FatalError> fatal(m, "FatalError", PyExc_RuntimeError);
    fatal.attr("__doc__") = "A fault of the numerical core; the estimator that raised it is unusable.";
    py::register_exception_translator([](std::exception_ptr p) {
        try {
            if (p)
                std::rethrow_exception(p);
        } catch (const gme_python::FileError& e) {
            const py::object args = e.error ? py::make_tuple(e.error, e.what(), e.path)
                                            : py::make_tuple(e.what());
            PyErr_SetObject(PyExc_OSError, args.ptr());
        } catch (const gme::FatalError& e) {
            fatal(e.what());
        }
    });

    gme_python::BindEstimator(m);
    gme_python::BindVids(m);
}
