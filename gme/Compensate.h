// gme::Compensate: one frame warped onto another with an affine model, as the gme
// command compensates every pair. This header needs only the standard library.
//
// Convention (that of SequenceEstimator): out(x, y) is `previous` sampled bilinearly at
// (a0 + a1 x + a2 y, a3 + a4 x + a5 y), x the column and y the row; the sum is truncated
// toward zero and clamped at 255, and a position without four neighbours inside
// `previous` gives 0 (so the last column and row of an identity warp are 0).
#ifndef GME_COMPENSATE_H
#define GME_COMPENSATE_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace gme {

// Warps the width x height plane `previous` (rows `stride` apart) into `out` (rows
// `outStride` apart). With `current` (rows `currentStride` apart) returns the mean
// |out - current| over the pixels written from `previous` (NaN when there is none);
// without it (null) returns NaN. std::invalid_argument for a null plane, a size below
// 1 x 1 or a stride below the width; the planes may not overlap.
double Compensate(const std::uint8_t* previous, int width, int height, std::ptrdiff_t stride,
                  const std::array<double, 6>& params, std::uint8_t* out,
                  std::ptrdiff_t outStride, const std::uint8_t* current = nullptr,
                  std::ptrdiff_t currentStride = 0);

}  // namespace gme

#endif
