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
};

// Position terms past the last column, so that a vector group may overrun it.
constexpr int kPadding = 8;

// colX, colY (padded with NaN), rowX, rowY of a for a W x H plane.
void PositionTerms(int W, int H, const double* a, IncrementScratch& s);
// Copies the lower triangle of M into the upper one.
void Mirror(NormalEquations* n);

// Add every taking part pixel to *out (zero on entry), lower triangle and b only.
void MaskFormAvx2(const Planes& p, IncrementScratch& s, NormalEquations* out);
void ThresholdFormAvx2(const Planes& p, IncrementScratch& s, NormalEquations* out);
void MaskFormAvx512(const Planes& p, IncrementScratch& s, NormalEquations* out);
void ThresholdFormAvx512(const Planes& p, IncrementScratch& s, NormalEquations* out);

}  // namespace paths
}  // namespace estimation

#endif
