// ThresholdUse: which pixels take part in the threshold form of an increment. Internal to
// the estimation library.
//
// In place: `plane` (current's size, rows of current.width bytes) holds the compensated
// frame on entry and on return use(x, y) = 1 where the pixel takes part: off the
// one-pixel border, its own |current - compensated| at most threshErr and more than 6 of
// its 3 x 3 neighbourhood too; 0 elsewhere. `ok` is scratch (three rows of the per-pixel
// test). Every unit gives the same bytes.
#ifndef ESTIMATION_THRESHOLDUSE_H
#define ESTIMATION_THRESHOLDUSE_H

#include <cstdint>
#include <vector>

#include "image/PlaneView.h"
#include "numeric/VectorUnit.h"

namespace estimation {

void MarkThresholdUse(ormel::ConstPlaneView current, std::uint8_t* plane, int threshErr,
                      std::vector<std::uint8_t>& ok, numeric::VectorUnit unit);

}  // namespace estimation

#endif
