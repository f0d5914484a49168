// AffineWarp: the bilinear warp of an 8-bit plane by a six-parameter affine model, the
// pixel loop under both the estimator's and the compensator's compensation.
//
// out(x, y) = prev sampled at dispX = a[0] + a[1] x + a[2] y, dispY = a[3] + a[4] x +
// a[5] y (left to right), with x1 = floor(dispX), y1 = floor(dispY), fx = dispX - x1,
// gx = (x1 + 1) - dispX, fy = dispY - y1, gy = (y1 + 1) - dispY; the weighted sum is
// truncated toward zero and clamped at 255. A position whose four neighbours are not all
// inside prev (x1 outside [0, W - 2] or y1 outside [0, H - 2], or not a number) gives 0,
// so the last row and column of an identity warp are 0. The two users sum the four
// neighbours in different orders, and each order is part of its user's results:
//   kEstimator    fy (P11 fx + P01 gx) + gy (P10 fx + P00 gx)
//   kCompensator  gy (P00 gx + P10 fx) + fy (P01 gx + P11 fx)
// (Pij the sample at (x1 + i, y1 + j)). The loops run over prev's size: out must be at
// least as large, and the planes may not overlap.
#ifndef MOTION_AFFINEWARP_H
#define MOTION_AFFINEWARP_H

#include <vector>

#include "image/PlaneView.h"
#include "numeric/VectorUnit.h"

namespace motion {

enum class BilinearOrder { kEstimator, kCompensator };

// Pixels whose warp error is gathered: a pixel (x, y) counts when it was written from
// prev (not outside) and (x < colLow or x > colHigh) and (y < rowLow or y > rowHigh).
// Every written pixel counts with the defaults.
struct ErrorBand {
    ormel::ConstPlaneView current;   // compared with out; at least prev's size
    int colLow = 0x7fffffff;
    int colHigh = 0x7fffffff;
    int rowLow = 0x7fffffff;
    int rowHigh = 0x7fffffff;
};

// The sum of |out(x, y) - current(x, y)| over the counted pixels, and their number.
struct WarpError {
    long long sum = 0;
    long long count = 0;
};

// Per-column position terms of one warp (a[0] + a[1] x and a[3] + a[4] x), kept by the
// caller so that repeated warps do not allocate.
using WarpScratch = std::vector<double>;

void WarpAffine(ormel::ConstPlaneView prev, const double* a, ormel::PlaneView out,
                BilinearOrder order, WarpScratch& scratch, numeric::VectorUnit unit);

// The same warp, with the error against band.current.
WarpError WarpAffine(ormel::ConstPlaneView prev, const double* a, ormel::PlaneView out,
                     BilinearOrder order, const ErrorBand& band, WarpScratch& scratch,
                     numeric::VectorUnit unit);

// Both orders from one pass over the positions: out gets the kEstimator warp, second the
// kCompensator one, and the error is that of second. The same bytes and error as the two
// warps one after the other; the two orders give the same doubles (AffineWarp.cpp), so
// the pass computes one and writes it twice.
WarpError WarpAffineBoth(ormel::ConstPlaneView prev, const double* a, ormel::PlaneView out,
                         ormel::PlaneView second, const ErrorBand& band, WarpScratch& scratch,
                         numeric::VectorUnit unit);

}  // namespace motion

#endif
