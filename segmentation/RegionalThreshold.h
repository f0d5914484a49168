// RegionalThreshold: the arithmetic of TolvarThrshold on plain planes, for callers that
// need its results without the object's buffer. RegionalThreshold gathers the region
// histograms of a plane, rows in any order and in as many calls as suits the caller, and
// gives its threshold Ts; AdaptiveThreshold is one step of the adaptive threshold. Rows of
// a plane with few distinct values may go through a PairHistogram instead, whose counts
// must be taken back (TakePairs) before Ts.
#ifndef SEGMENTATION_REGIONALTHRESHOLD_H
#define SEGMENTATION_REGIONALTHRESHOLD_H

#include <cstdint>

#include "image/PlaneView.h"
#include "segmentation/PairHistogram.h"

namespace segmentation {

class RegionalThreshold {
public:
    // The regions of a width x height plane: a 3 x 3 grid, unequal at the borders as
    // TolvarThrshold describes. No rows yet.
    RegionalThreshold(int width, int height);

    // Adds the rows [rowBegin, rowEnd) of plane (of the size given above, any stride).
    // Each row must be added once.
    void AddRows(ormel::ConstPlaneView plane, int rowBegin, int rowEnd);

    // The same through `pairs`, started for kRegions histograms with values that include
    // every sample of these rows; a row goes either way, never both.
    void AddRows(ormel::ConstPlaneView plane, int rowBegin, int rowEnd, PairHistogram& pairs);
    // Adds what `pairs` gathered to the histograms and empties it.
    void TakePairs(PairHistogram& pairs);

    // Ts of the rows added: the mean of each region and the modes of its five grey-level
    // bands, averaged over the 54 values, truncated, kept to 8 bits.
    unsigned char Ts() const;

    static const int kRegions = 9;

private:
    // f(region, from, to) for the three pieces of row y.
    template <class F>
    void ForEachPiece(long y, F f) const;

    static const int kLanes = 4;   // histograms per region, filled in turn

    long H3, H6;                   // the row bands start at H3 and H6
    long width;
    long leftEnd;                  // x < W3: the left regions of the outer bands
    long middleLeftEnd;            // x <= W3: the left region of the middle band
    long middleEnd;                // x <= W6: the middle regions
    // Counts of a plane below 2^32 samples.
    std::uint32_t counts[kRegions][kLanes][256];
};

// The adaptive threshold after Ts: the base of Ts's band (low + 20, middle + 10 or high),
// raised by (int)(0.5 + weight * motion) with the product in single precision, kept to 8
// bits, and never below `previous`. A weighted motion that is not a finite int prints the
// refusal and gives `previous`, with *base and *raised untouched. base and raised may be
// null.
unsigned char AdaptiveThreshold(unsigned char Ts, float motion, float weight, unsigned int low,
                                unsigned int middle, unsigned int high, unsigned char previous,
                                unsigned char* base = nullptr, unsigned char* raised = nullptr);

}  // namespace segmentation

#endif
