// Workspace: the scratch that the estimator reuses from call to call, so that its
// per-pair and per-increment work allocates nothing once the first pair has sized it.
// Its contents between calls mean nothing; only the estimator's own operations use it.
#ifndef ESTIMATION_WORKSPACE_H
#define ESTIMATION_WORKSPACE_H

#include <cstdint>
#include <vector>

#include "estimation/IncrementSums.h"
#include "motion/AffineWarp.h"

namespace estimation {

struct Workspace {
    motion::WarpScratch warp;         // position terms of the estimator's warps
    IncrementScratch increment;       // the increments' terms in waiting
    std::vector<std::uint8_t> compensated, use, okRows;   // the threshold form's planes
};

}  // namespace estimation

#endif
