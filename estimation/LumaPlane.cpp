// LumaPlane: the size check shared by the estimator's pixel loops.
#include "estimation/LumaPlane.h"

#include <iostream>

namespace estimation {

bool LumaPlane::Covers(int w, int h, const char* op, const char* what) const {
    if (w <= 0 || h <= 0)
        return true;
    if (data && width >= w && height >= h)
        return true;
    std::cout << "BinGlobalMotionEstimator::" << op << ": " << what << " is smaller than " << w
              << " x " << h << std::endl;
    return false;
}

}  // namespace estimation
