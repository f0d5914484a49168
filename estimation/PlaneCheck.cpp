// PlaneCheck: the size check shared by the estimator's pixel loops.
#include "estimation/PlaneCheck.h"

#include <iostream>

namespace estimation {

bool Covers(const ormel::PlaneView& plane, int w, int h, const char* op, const char* what) {
    if (w <= 0 || h <= 0)
        return true;
    if (plane.data && plane.width >= w && plane.height >= h)
        return true;
    std::cout << "BinGlobalMotionEstimator::" << op << ": " << what << " is smaller than " << w
              << " x " << h << std::endl;
    return false;
}

}  // namespace estimation
