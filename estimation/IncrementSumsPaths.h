// The paths of IncrementSums, shared by its two source files. Internal.
#ifndef ESTIMATION_INCREMENTSUMSPATHS_H
#define ESTIMATION_INCREMENTSUMSPATHS_H

#include <cstdint>

#include "estimation/IncrementSums.h"

namespace estimation {
namespace paths {

// current, previous, and the mask (mask form) or the use plane (threshold form).
struct Planes {
    ormel::ConstPlaneView current;
    ormel::ConstPlaneView previous;
    ormel::ConstPlaneView select;
    // Mask form, vector paths: previous(x, y) | clear(x, y) << 8, rows current.width
    // apart, clear(x, y) = 1 when the mask is 0 at (x, y), (x + 1, y), (x, y + 1) and
    // (x + 1, y + 1), so that one 32-bit gather yields P00, its test and P10.
    const std::uint16_t* sampleClear;
};

// Position terms past the last column, so that a vector group may overrun it.
constexpr int kPadding = 8;

// colX, colY (padded with NaN), rowX, rowY of a for a W x H plane.
void PositionTerms(int W, int H, const double* a, IncrementScratch& s);
// Copies the lower triangle of M into the upper one.
void Mirror(NormalEquations* n);
// Fills the sampleClear plane of previous and mask.
void BuildSampleClear(ormel::ConstPlaneView previous, ormel::ConstPlaneView mask,
                      std::uint16_t* out);

// Add every taking part pixel to *out (zero on entry), lower triangle and b only.
void MaskFormAvx2(const Planes& p, IncrementScratch& s, NormalEquations* out);
void ThresholdFormAvx2(const Planes& p, IncrementScratch& s, NormalEquations* out);
void MaskFormAvx512(const Planes& p, IncrementScratch& s, NormalEquations* out);
void ThresholdFormAvx512(const Planes& p, IncrementScratch& s, NormalEquations* out);

}  // namespace paths
}  // namespace estimation

#endif
