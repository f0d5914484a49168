// Downsample: one pyramid step in one pass, the [1 2 1]/4 low-pass along the rows keeping
// every second column, then down the columns keeping every second row, each division
// truncating and the first row and column their own upper and left neighbours:
//   h(x, r)   = (in(max(2x - 1, 0), r) + 2 in(2x, r) + in(2x + 1, r)) / 4
//   out(x, y) = (h(x, max(2y - 1, 0)) + 2 h(x, 2y) + h(x, 2y + 1)) / 4
// for x < W / 2 and y < H / 2 (W x H the input; an odd last row or column is dropped).
// The same bytes as the estimator's HorFilter followed by VerFilter, without the
// half-filtered image: only three filtered rows are kept. Internal to the estimation
// library.
#ifndef ESTIMATION_DOWNSAMPLE_H
#define ESTIMATION_DOWNSAMPLE_H

#include <cstdint>
#include <vector>

#include "image/PlaneView.h"

namespace estimation {

// Writes the (W / 2) x (H / 2) samples of out, which must be at least that large;
// `rows` is scratch kept by the caller (it grows to three half rows).
void DownsampleHalf(ormel::ConstPlaneView in, ormel::PlaneView out,
                    std::vector<std::uint8_t>& rows);

}  // namespace estimation

#endif
