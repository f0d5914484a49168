// PlaneCheck: the size check of the estimator's operations, made once before their pixel
// loops walk the planes (ormel::PlaneView) row by row. Internal to the estimation library.
#ifndef ESTIMATION_PLANECHECK_H
#define ESTIMATION_PLANECHECK_H

#include "image/PlaneView.h"

namespace estimation {

// True when `plane` covers a w x h region at the origin (always for an empty region);
// otherwise reports "BinGlobalMotionEstimator::<op>: <what> is smaller than <w> x <h>" on
// standard output and returns false. A plane without samples covers no region.
bool Covers(const ormel::PlaneView& plane, int w, int h, const char* op, const char* what);

}  // namespace estimation

#endif
