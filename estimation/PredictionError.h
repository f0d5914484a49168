// PredictionError: the row scores of the prediction. Internal to the estimation library.
//
// The translation stage: the sum of |previous[x] - current[x]| over the n pixels of a row
// where mask[x] is 0 (previous and mask are the shifted rows).
//
// The linear-term stage: for the pixels x of row y of `current`, the position in `previous` is (CoRound(colX[x]
// + rowX), CoRound(colY[x] + rowY)); the row's error is the sum of |previous - current|
// over the pixels whose position lies inside the plane with `mask` 0 there. An integer
// sum: every path gives the same.
//
// Both are sums of integers: any order gives them.
#ifndef ESTIMATION_PREDICTIONERROR_H
#define ESTIMATION_PREDICTIONERROR_H

#include <cstdint>

#include "image/PlaneView.h"
#include "numeric/VectorUnit.h"

namespace estimation {

long long MaskedRowError(const std::uint8_t* current, const std::uint8_t* previous,
                         const std::uint8_t* mask, int n);

// previous and mask have current's size; colX and colY hold current.width terms.
long long PredictionRowError(ormel::ConstPlaneView current, ormel::ConstPlaneView previous,
                             ormel::ConstPlaneView mask, int y, const double* colX,
                             const double* colY, double rowX, double rowY,
                             numeric::VectorUnit unit);

}  // namespace estimation

#endif
