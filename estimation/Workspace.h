// Workspace: the scratch that the estimator reuses from call to call, so that its
// per-pair and per-increment work allocates nothing once the first pair has sized it.
// Its contents between calls mean nothing; only the estimator's own operations use it.
#ifndef ESTIMATION_WORKSPACE_H
#define ESTIMATION_WORKSPACE_H

#include <cstdint>
#include <vector>

#include "estimation/FramePyramid.h"
#include "estimation/IncrementSums.h"
#include "image/PlaneView.h"
#include "image/YUVImage.h"
#include "motion/AffineWarp.h"

namespace estimation {

// The compensator's warp asked of the estimator's own warp of `previous` (the object
// mask's): see BinGlobalMotionEstimator::ShareCompensation.
struct SharedCompensation {
    const ormel::YUVImage* previous = nullptr;   // null: nothing asked
    ormel::PlaneView out;
    ormel::ConstPlaneView current;
    bool done = false;
    double a[6] = {};
    motion::WarpError error;
};

struct Workspace {
    motion::WarpScratch warp;         // position terms of the estimator's warps
    IncrementScratch increment;       // the increments' terms in waiting
    // The threshold form's plane: the compensated frame, then in place which pixels take
    // part; and three rows of its per-pixel test.
    std::vector<std::uint8_t> compensated, okRows;
    std::vector<std::uint8_t> pyramidRows;   // GaussFilter's filtered rows
    std::vector<double> predictColumns;      // Predict's per-column position terms
    // The pyramids of the drivers: the current frame's, the previous frame's and the
    // object mask's (a copy, which also restores a rejected pair's mask).
    FramePyramid current, previous, mask;
    // Set by PreviousIsLastCurrent, taken by the next driver call.
    bool previousIsLastCurrent = false;
    SharedCompensation shared;
};

}  // namespace estimation

#endif
