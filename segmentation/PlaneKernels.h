// PlaneKernels: the per-pixel loops of motion detection and of the object mask, on plane
// views, compiled once per vector unit (numeric/VectorUnit.h): plain (the x86-64 baseline,
// and the only path on other processors), AVX2 and AVX-512. Every path writes exactly the
// same bytes; callers take Kernels(numeric::BestVectorUnit()).
//
// Windows follow TolvarMotionDetection: before = window / 2, after = window - before, and
// the window of (x, y) covers offsets -before .. after - 1 in both directions. A windowed
// kernel writes only the interior (before <= x < width - before, likewise y) of the rows
// [rowBegin, rowEnd) it is asked for, and reads only the rows that their windows cover,
// so a caller may produce a plane in stripes. Its input and output must not overlap.
#ifndef SEGMENTATION_PLANEKERNELS_H
#define SEGMENTATION_PLANEKERNELS_H

#include <cstdint>

#include "image/PlaneView.h"
#include "numeric/VectorUnit.h"

namespace segmentation {

struct PlaneKernels {
    // out = floor(sum of |a - b| over the window / window^2): the windowed mean absolute
    // difference. a, b and out have one size; window >= 1.
    void (*AbsDiffMean)(ormel::ConstPlaneView a, ormel::ConstPlaneView b, int window,
                        ormel::PlaneView out, int rowBegin, int rowEnd);
    // out = gain * min(window maximum of in, clip), kept to its low 8 bits (it wraps).
    void (*ClippedMax)(ormel::ConstPlaneView in, int window, unsigned int clip,
                       unsigned int gain, ormel::PlaneView out, int rowBegin, int rowEnd);
    // out = black where in <= threshold, white elsewhere; in and out may be one plane.
    void (*Binarize)(ormel::ConstPlaneView in, std::uint8_t threshold, std::uint8_t black,
                     std::uint8_t white, ormel::PlaneView out);
    // sums[j * (width / 8) + i] = the sum of the 8 x 8 block at (8 i, 8 j), for the whole
    // blocks of in; the columns and rows beyond them are not read.
    void (*BlockSums)(ormel::ConstPlaneView in, int* sums);
    // The block sums of the picture that Binarize would make of in, without making it.
    void (*BinaryBlockSums)(ormel::ConstPlaneView in, std::uint8_t threshold, std::uint8_t black,
                            std::uint8_t white, int* sums);
};

// floor(x / d) for every 16-bit x and 1 <= d < 65536 by a multiply-high, two shifts and
// two additions (Granlund and Montgomery's round-up method): a division that vectorises.
struct Divide16 {
    std::uint16_t multiplier;
    int shift1;
    int shift2;
    explicit Divide16(unsigned int d) {
        int l = 0;
        while ((1u << l) < d)
            ++l;
        multiplier = static_cast<std::uint16_t>((65536ull * ((1ull << l) - d)) / d + 1);
        shift1 = l < 1 ? l : 1;
        shift2 = l > 1 ? l - 1 : 0;
    }
    std::uint16_t operator()(std::uint16_t x) const {
        const std::uint16_t t =
            static_cast<std::uint16_t>((static_cast<std::uint32_t>(x) * multiplier) >> 16);
        return static_cast<std::uint16_t>((t + ((x - t) >> shift1)) >> shift2);
    }
};

// The kernels compiled for `unit`, which must be one this processor runs (one of
// numeric::AvailableVectorUnits()).
const PlaneKernels& Kernels(numeric::VectorUnit unit);

}  // namespace segmentation

#endif
