// IncrementSums: the normal equations of one Gauss-Newton increment, summed pixel by
// pixel in the order that fixes their bits. Internal to the estimation library.
//
// A taking part pixel (x, y) of `current` is sampled in `previous` at dispX = a[0] +
// a[1] x + a[2] y, dispY = a[3] + a[4] x + a[5] y; with x1 = floor(dispX), y1 =
// floor(dispY), dk = dispX - x1, dl = dispY - y1 and Pij = previous(x1 + i, y1 + j):
//   bilin = P00 (1 - dk)(1 - dl) + P10 dk (1 - dl) + P01 (1 - dk) dl + P11 dk dl
//   e     = bilin - current(x, y)
//   dIdx  = (P10 - P00)(1 - dl) + (P11 - P01) dl
//   dIdy  = (P01 - P00)(1 - dk) + (P11 - P10) dk
//   dedp  = (dIdx, x dIdx, y dIdx, dIdy, x dIdy, y dIdy)
//   b[i] += dedp[i] e,  M[i][j] += dedp[i] dedp[j]  (j <= i; the upper triangle mirrored)
// every product and sum left to right as written, each of the 27 sums a chain of double
// additions from +0 in pixel order. A pixel takes part only when (x1, y1) and (x1 + 1,
// y1 + 1) lie inside `previous`, and
//   - mask form: `mask` is 0 at all four neighbours; the pixels go column by column
//     (x outer, y inner), all of them;
//   - threshold form: `use` is non-zero at (x, y); the pixels go row by row (y outer).
// A pixel between four equal neighbours adds only zeros, which leave every sum as it is:
// the vector paths skip it. All planes have current's size.
#ifndef ESTIMATION_INCREMENTSUMS_H
#define ESTIMATION_INCREMENTSUMS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "image/PlaneView.h"
#include "numeric/VectorUnit.h"

namespace estimation {

// M (6 x 6, row-major, symmetric) and b of M da = -b.
struct NormalEquations {
    double M[36];
    double b[6];
};

// Reused between increments: position terms and the per-pixel terms waiting for their
// turn in the sums.
class IncrementScratch {
public:
    IncrementScratch() = default;
    // A copy starts empty: scratch holds nothing worth copying.
    IncrementScratch(const IncrementScratch&) {}
    IncrementScratch& operator=(const IncrementScratch&) { return *this; }

    std::vector<double> colX, colY, rowX, rowY;
    // n records of 8 doubles, 64-byte aligned; grows, never shrinks.
    double* Records(std::size_t n);
    // The lanes that take part: per row of a strip (mask form), per group of a row
    // (threshold form).
    std::vector<std::uint8_t> takes;

private:
    struct Free {
        void operator()(double* p) const { ::operator delete[](p, std::align_val_t(64)); }
    };
    std::unique_ptr<double[], Free> records;
    std::size_t capacity = 0;
};

void SumMaskForm(ormel::ConstPlaneView current, ormel::ConstPlaneView previous,
                 ormel::ConstPlaneView mask, const double* a, IncrementScratch& scratch,
                 numeric::VectorUnit unit, NormalEquations* out);

void SumThresholdForm(ormel::ConstPlaneView current, ormel::ConstPlaneView previous,
                      ormel::ConstPlaneView use, const double* a, IncrementScratch& scratch,
                      numeric::VectorUnit unit, NormalEquations* out);

}  // namespace estimation

#endif
