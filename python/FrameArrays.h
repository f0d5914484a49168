// FrameArrays: numpy arrays of 8-bit luminance as the C++ side reads them, without a copy.
// A FrameStack checks an argument once (TypeError unless its samples are uint8,
// ValueError for a wrong number of dimensions, an empty or oversized one) and then hands
// out each frame as a plane: a pointer and a row stride into the caller's array when its
// rows are runs of adjacent bytes (any C-contiguous array, or a crop of one), else a copy
// of that one frame in a scratch buffer. Frame() needs no interpreter lock, so a caller
// may release it around the whole loop; the stack keeps its array alive.
#ifndef PYTHON_FRAMEARRAYS_H
#define PYTHON_FRAMEARRAYS_H

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstdint>

namespace gme_python {

struct Plane {
    const std::uint8_t* data;
    int width;
    int height;
    std::ptrdiff_t stride;   // bytes from one row to the next, at least width
};

class FrameStack {
public:
    // `dims` is 2 for one frame (height, width), 3 for frames (count, height, width);
    // `what` names the argument in messages.
    FrameStack(pybind11::handle obj, int dims, const char* what);

    long Count() const { return count; }
    int Width() const { return width; }
    int Height() const { return height; }
    bool SameSize(const FrameStack& other) const;
    // True when Frame() reads the caller's array in place.
    bool InPlace() const { return inPlace; }

    // Frame n (0 for a single frame). A copied frame stays valid until the next call.
    Plane Frame(long n);

private:
    pybind11::array array;
    pybind11::array_t<std::uint8_t> scratch;   // one frame, only when not in place
    const std::uint8_t* base = nullptr;        // frame 0, row 0, column 0 of array
    std::uint8_t* scratchData = nullptr;
    long count = 1;
    int width = 0;
    int height = 0;
    std::ptrdiff_t strides[3] = {0, 0, 0};     // frame, row, column (bytes)
    bool inPlace = true;
};

}  // namespace gme_python

#endif
