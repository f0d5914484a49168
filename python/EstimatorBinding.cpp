// EstimatorBinding: argument checks, then one call of the C++ class per frame.
#include "python/EstimatorBinding.h"

#include <pybind11/numpy.h>

#include <array>
#include <cmath>
#include <cstring>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include "gme/Compensate.h"
#include "gme/SequenceEstimator.h"
#include "python/FrameArrays.h"

namespace py = pybind11;
using namespace pybind11::literals;

namespace gme_python {

namespace {

// Deeper pyramids than this leave no coarsest level to search on any frame the estimator
// takes.
constexpr int kMaxLevels = 8;
constexpr double kMinimumPercent = 1e-6;

gme::Settings MakeSettings(int levels, double er1, double er2, double percent) {
    if (levels < 1 || levels > kMaxLevels)
        throw py::value_error("levels must be from 1 to " + std::to_string(kMaxLevels) +
                              ", not " + std::to_string(levels));
    if (!(er1 >= 0 && std::isfinite(er1)) || !(er2 >= 0 && std::isfinite(er2)))
        throw py::value_error("er1 and er2 must be finite and not negative");
    // From kMinimumPercent up, the outlier threshold of a frame (up to 2**40 pixels) is
    // one of its pixels; nearer 0 it falls beyond the last one, which the estimator
    // reports on standard output.
    if (!(percent >= kMinimumPercent && percent <= 1))
        throw py::value_error("percent must be from 1e-6 to 1");
    gme::Settings s;
    s.levels = levels;
    s.er1 = er1;
    s.er2 = er2;
    s.percent = percent;
    return s;
}

// The smallest frame a pyramid of `levels` levels can search: the coarsest level keeps
// room for the +-7 pixel translation search, as the command's three levels do at 32.
int MinimumSide(int levels) {
    const int side = (gme::kMinimumWidth >> 2) << (levels - 1);
    return side > gme::kMinimumWidth ? side : gme::kMinimumWidth;
}

void CheckFrameSize(const FrameStack& f, int levels, const char* what) {
    const int side = MinimumSide(levels);
    if (f.Width() < side || f.Height() < side)
        throw py::value_error(std::string(what) + " of " + std::to_string(f.Width()) + "x" +
                              std::to_string(f.Height()) + " are below the minimum of " +
                              std::to_string(side) + "x" + std::to_string(side) + " for " +
                              std::to_string(levels) + " levels");
}

// gme.PairResult: the C++ result with the estimator's frames copied out.
struct PairResult {
    py::array_t<double> params;
    bool accepted;
    double mae;
    double maeZeroMotion;
    int objectBlocks;
    double estimatorSeconds;
    double compensatorSeconds;
    py::array_t<std::uint8_t> compensated;
    py::array_t<std::uint8_t> objectMask;
};

py::array_t<std::uint8_t> CopyPlane(const std::uint8_t* p, int width, int height) {
    py::array_t<std::uint8_t> a({height, width});
    std::memcpy(a.mutable_data(), p, static_cast<size_t>(width) * height);
    return a;
}

// gme.SequenceEstimator. One push at a time: a push from a second thread while one runs
// is refused rather than raced. After a fault of the numerical core or a failed
// allocation the C++ estimator must not be used again, and is not.
class Estimator {
public:
    Estimator(int levels, double er1, double er2, double percent)
        : levels(levels), estimator(MakeSettings(levels, er1, er2, percent)) {}

    py::object Push(py::handle frame) {
        FrameStack f(frame, 2, "frame");
        CheckFrameSize(f, levels, "frames");
        if (busy)
            throw std::runtime_error("gme.SequenceEstimator.push: another thread is pushing");
        if (broken)
            throw std::runtime_error(
                "gme.SequenceEstimator.push: unusable after the failure of an earlier push");
        busy = true;
        std::optional<gme::PairResult> r;
        try {
            py::gil_scoped_release unlocked;
            const Plane p = f.Frame(0);
            r = estimator.push(p.data, p.width, p.height, p.stride);
        } catch (const std::invalid_argument&) {
            busy = false;   // refused: the estimator is unchanged
            throw;
        } catch (...) {
            busy = false;
            broken = true;
            throw;
        }
        busy = false;
        if (!r)
            return py::none();
        PairResult out;
        out.params = py::array_t<double>(6, r->params.data());
        out.accepted = r->accepted;
        out.mae = r->mae;
        out.maeZeroMotion = r->maeZeroMotion;
        out.objectBlocks = r->objectBlocks;
        out.estimatorSeconds = r->estimatorSeconds;
        out.compensatorSeconds = r->compensatorSeconds;
        out.compensated = CopyPlane(estimator.Compensated(), f.Width(), f.Height());
        out.objectMask = CopyPlane(estimator.ObjectMask(), f.Width(), f.Height());
        return py::cast(std::move(out));
    }

    int Width() const { return estimator.Width(); }
    int Height() const { return estimator.Height(); }
    long FramesPushed() const { return estimator.FramesPushed(); }

private:
    int levels;
    gme::SequenceEstimator estimator;
    bool busy = false;     // read and written under the interpreter lock only
    bool broken = false;
};

py::dict Estimate(py::handle frames, int levels, double er1, double er2, double percent) {
    const gme::Settings settings = MakeSettings(levels, er1, er2, percent);
    FrameStack f(frames, 3, "frames");
    if (f.Count() < 2)
        throw py::value_error("frames must hold at least two frames, not " +
                              std::to_string(f.Count()));
    CheckFrameSize(f, levels, "frames");
    const long pairs = f.Count() - 1;
    py::array_t<double> params({pairs, 6L});
    py::array_t<bool> accepted(pairs);
    py::array_t<double> mae(pairs), maeZeroMotion(pairs);
    py::array_t<std::int64_t> objectBlocks(pairs);
    double* a = params.mutable_data();
    bool* ok = accepted.mutable_data();
    double* m = mae.mutable_data();
    double* z = maeZeroMotion.mutable_data();
    std::int64_t* b = objectBlocks.mutable_data();
    {
        py::gil_scoped_release unlocked;
        gme::SequenceEstimator estimator(settings);
        for (long n = 0; n < f.Count(); ++n) {
            const Plane p = f.Frame(n);
            const std::optional<gme::PairResult> r =
                estimator.push(p.data, p.width, p.height, p.stride);
            if (!r)
                continue;
            const long k = n - 1;
            std::memcpy(a + 6 * k, r->params.data(), sizeof r->params);
            ok[k] = r->accepted;
            m[k] = r->mae;
            z[k] = r->maeZeroMotion;
            b[k] = r->objectBlocks;
        }
    }
    return py::dict("params"_a = params, "accepted"_a = accepted, "mae"_a = mae,
                    "mae_zero_motion"_a = maeZeroMotion, "object_blocks"_a = objectBlocks);
}

py::tuple Compensate(py::handle previous, py::handle params, py::handle current) {
    FrameStack prev(previous, 2, "previous");
    // Integers and floats of any width; not bool, complex, strings or objects (None would
    // otherwise pass as NaN).
    const py::array given = py::array::ensure(params);
    const char kind = given ? given.dtype().kind() : 'O';
    if (kind != 'i' && kind != 'u' && kind != 'f')
        throw py::type_error("params must be 6 real numbers, not " +
                             (given ? std::string(py::str(py::handle(given.dtype())))
                                    : std::string(py::str(params.get_type().attr("__name__")))));
    if (given.ndim() != 1 || given.size() != 6)
        throw py::value_error("params must be 6 numbers (a0 .. a5), not the shape " +
                              std::string(py::str(given.attr("shape"))));
    using Doubles = py::array_t<double, py::array::c_style | py::array::forcecast>;
    const Doubles a = Doubles::ensure(given);
    if (!a)
        throw std::bad_alloc();
    std::array<double, 6> model;
    std::memcpy(model.data(), a.data(), sizeof model);
    std::optional<FrameStack> cur;
    if (!current.is_none()) {
        cur.emplace(current, 2, "current");
        if (!cur->SameSize(prev))
            throw py::value_error("current is " + std::to_string(cur->Width()) + "x" +
                                  std::to_string(cur->Height()) + ", previous " +
                                  std::to_string(prev.Width()) + "x" +
                                  std::to_string(prev.Height()));
    }
    py::array_t<std::uint8_t> out({prev.Height(), prev.Width()});
    std::uint8_t* o = out.mutable_data();
    double mae;
    {
        py::gil_scoped_release unlocked;
        const Plane p = prev.Frame(0);
        const Plane c = cur ? cur->Frame(0) : Plane{nullptr, 0, 0, 0};
        mae = gme::Compensate(p.data, p.width, p.height, p.stride, model, o, p.width, c.data,
                              c.stride);
    }
    return py::make_tuple(out, cur ? py::object(py::float_(mae)) : py::object(py::none()));
}

}  // namespace

void BindEstimator(py::module_& m) {
    py::class_<PairResult>(m, "PairResult", R"(The motion of one pair of frames (previous, current), as gme computes it.

Attributes:
    params: numpy float64 array (a0, a1, a2, a3, a4, a5), the model used for the pair:
        pixel (x, y) of the current frame, x the column and y the row, is predicted
        from position (a0 + a1 x + a2 y, a3 + a4 x + a5 y) of the previous frame. After
        a rejected estimate, the last accepted model.
    accepted: False when the estimate was rejected (the number of object blocks changed
        by more than 35 %).
    mae: mean absolute difference between the compensated previous frame and the current
        frame, over the pixels whose position falls inside the previous frame (nan when
        none does).
    mae_zero_motion: the same without any warp, over all pixels.
    object_blocks: 8 x 8 blocks marked as independently moving after the pair.
    estimator_seconds, compensator_seconds: processor seconds of the estimate and the
        compensation (not reproducible).
    compensated: (height, width) uint8 array, the previous frame warped onto the current
        one (0 where the position falls outside).
    object_mask: (height, width) uint8 array, 255 in object blocks and 0 elsewhere.)")
        .def_readonly("params", &PairResult::params)
        .def_readonly("accepted", &PairResult::accepted)
        .def_readonly("mae", &PairResult::mae)
        .def_readonly("mae_zero_motion", &PairResult::maeZeroMotion)
        .def_readonly("object_blocks", &PairResult::objectBlocks)
        .def_readonly("estimator_seconds", &PairResult::estimatorSeconds)
        .def_readonly("compensator_seconds", &PairResult::compensatorSeconds)
        .def_readonly("compensated", &PairResult::compensated)
        .def_readonly("object_mask", &PairResult::objectMask)
        .def("__repr__", [](const PairResult& r) {
            return "PairResult(params=" + std::string(py::repr(r.params.attr("tolist")())) +
                   ", accepted=" + (r.accepted ? "True" : "False") +
                   ", mae=" + std::string(py::repr(py::float_(r.mae))) +
                   ", mae_zero_motion=" + std::string(py::repr(py::float_(r.maeZeroMotion))) +
                   ", object_blocks=" + std::to_string(r.objectBlocks) + ")";
        });

    py::class_<Estimator>(m, "SequenceEstimator", R"(Global motion along a sequence of frames pushed one at a time.

SequenceEstimator(*, levels=3, er1=0.1, er2=0.005, percent=0.1)

The defaults are the gme command's, and so are the results, bit for bit:
    levels: pyramid levels, full resolution included (1 to 8).
    er1: convergence bound on the translation increments (pixels).
    er2: convergence bound on the increments of the linear terms.
    percent: share of pixels (1e-6 to 1) taken as outliers in the first pair.
Frames must be at least 32 x 32 (8 * 2**(levels - 1) on each side for more than three
levels). One estimator serves one thread at a time; estimators on different threads run
side by side.)")
        .def(py::init<int, double, double, double>(), py::kw_only(), "levels"_a = 3,
             "er1"_a = 0.1, "er2"_a = 0.005, "percent"_a = 0.1)
        .def("push", &Estimator::Push, "frame"_a, R"(Adds the next frame and returns the result of its pair.

frame: (height, width) uint8 array of luminance, read in place when its rows are
    contiguous (copied otherwise); the caller may change it afterwards.
Returns None for the first frame, then a PairResult for the pair (previous frame, this
frame). Raises TypeError for another dtype, ValueError for another shape, a frame below
the minimum size or of another size than the first (the estimator is then unchanged),
gme.FatalError when the numerical core fails (the estimator is then unusable).)")
        .def_property_readonly("width", &Estimator::Width, "Frame width (0 before the first frame).")
        .def_property_readonly("height", &Estimator::Height, "Frame height (0 before the first frame).")
        .def_property_readonly("frames_pushed", &Estimator::FramesPushed, "Frames accepted so far.");

    m.def("estimate", &Estimate, "frames"_a, py::kw_only(), "levels"_a = 3, "er1"_a = 0.1,
          "er2"_a = 0.005, "percent"_a = 0.1, R"(The motion of every pair of consecutive frames, as gme computes it.

frames: (N, height, width) uint8 array, N >= 2, frames at least 32 x 32; read in place
    when the rows of each frame are contiguous.
levels, er1, er2, percent: as for SequenceEstimator.
Returns a dict of numpy arrays over the N - 1 pairs (n - 1, n):
    params (N - 1, 6) float64, accepted bool, mae float64, mae_zero_motion float64,
    object_blocks int64; row k is the PairResult of pair (k, k + 1).
Raises TypeError for another dtype, ValueError for another shape or too small frames.)");

    m.def("compensate", &Compensate, "previous"_a, "params"_a, "current"_a = py::none(),
          R"(Warps one frame onto another with an affine model, as gme compensates a pair.

previous: (height, width) uint8 array.
params: 6 numbers (a0 .. a5): out(x, y) is previous sampled bilinearly at
    (a0 + a1 x + a2 y, a3 + a4 x + a5 y), truncated toward zero; 0 where the position has
    no four neighbours inside previous. The identity is (0, 1, 0, 0, 0, 1).
current: optional (height, width) uint8 array.
Returns (warped, mae): the warped (height, width) uint8 frame and, with current, the mean
absolute difference between warped and current over the pixels taken from previous (nan
when there is none), else None.)");
}

}  // namespace gme_python
