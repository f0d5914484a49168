// RegionalThreshold: region histograms by rows, modes and means from the histograms, and
// the adaptive step.
#include "segmentation/RegionalThreshold.h"

#include <climits>
#include <cstdint>
#include <iostream>

namespace segmentation {
namespace {

using Lanes = std::uint32_t[4][256];

// Samples go to the four histograms in turn, so that a run of equal samples does not wait
// on its own previous count.
void Accumulate(const std::uint8_t* p, long from, long to, Lanes& h) {
    long x = from;
    for (; x + 4 <= to; x += 4) {
        ++h[0][p[x]];
        ++h[1][p[x + 1]];
        ++h[2][p[x + 2]];
        ++h[3][p[x + 3]];
    }
    for (; x < to; ++x)
        ++h[0][p[x]];
}

}  // namespace

// Every sample goes to the first region whose test holds:
//   rows y < H3:         x < W3 -> 0,  W3 <= x <= W6 -> 3,  x > W6 -> 6
//   rows H3 <= y < H6:   x <= W3 -> 1, W3 < x <= W6 -> 4,   x > W6 -> 7
//   rows y >= H6:        x < W3 -> 2,  W3 <= x <= W6 -> 5,  x > W6 -> 8
// (x >= W6 of regions 6 and 8 leaves x == W6 to 3 and 5, listed first.)
// Histograms do not depend on the visiting order, so rows go in order.
RegionalThreshold::RegionalThreshold(int w, int h)
    : H3(h / 3), H6(2 * (h / 3)), width(w), counts{} {
    const long W3 = w / 3;
    const long W6 = 2 * (w / 3);
    leftEnd = W3 < width ? W3 : width;
    middleLeftEnd = W3 + 1 < width ? W3 + 1 : width;
    middleEnd = W6 + 1 < width ? W6 + 1 : width;
}

template <class F>
void RegionalThreshold::ForEachPiece(long y, F f) const {
    const int band = y < H3 ? 0 : (y < H6 ? 1 : 2);
    const long split = band == 1 ? middleLeftEnd : leftEnd;
    f(band, 0, split);
    f(band + 3, split, middleEnd);
    f(band + 6, middleEnd, width);
}

void RegionalThreshold::AddRows(ormel::ConstPlaneView plane, int rowBegin, int rowEnd) {
    for (long y = rowBegin; y < rowEnd; ++y) {
        const std::uint8_t* p = plane.Row(static_cast<int>(y));
        ForEachPiece(y, [&](int r, long from, long to) { Accumulate(p, from, to, counts[r]); });
    }
}

void RegionalThreshold::AddRows(ormel::ConstPlaneView plane, int rowBegin, int rowEnd,
                                PairHistogram& pairs) {
    for (long y = rowBegin; y < rowEnd; ++y) {
        const std::uint8_t* p = plane.Row(static_cast<int>(y));
        ForEachPiece(y, [&](int r, long from, long to) { pairs.Add(r, p, from, to); });
    }
}

void RegionalThreshold::TakePairs(PairHistogram& pairs) {
    for (int r = 0; r < kRegions; ++r)
        pairs.Take(r, counts[r][0]);
}

unsigned char RegionalThreshold::Ts() const {
    long long total = 0;
    for (int r = 0; r < kRegions; ++r) {
        // The region's sum and count from its histogram: integers, exact in any order.
        long long sum = 0;
        long long count = 0;
        // Mode of each band 0-51, 52-102, 103-153, 154-204, 205-255: ties keep the lower
        // bin, an empty band contributes 0.
        long long modeSum = 0;
        int peakBin = 0;
        long long peakCount = 0;
        for (int b = 0; b < 256; ++b) {
            long long n = 0;
            for (int lane = 0; lane < kLanes; ++lane)
                n += counts[r][lane][b];
            count += n;
            sum += n * b;
            if (n > peakCount) {
                peakCount = n;
                peakBin = b;
            }
            if (b == 51 || b == 102 || b == 153 || b == 204 || b == 255) {
                modeSum += peakBin;
                peakBin = 0;
                peakCount = 0;
            }
        }
        const long long mean = count != 0 ? sum / count : 0;
        total += mean + modeSum;
    }
    return static_cast<unsigned char>(total / 54);   // 9 regions x 6 values
}

unsigned char AdaptiveThreshold(unsigned char Ts, float motion, float weight, unsigned int low,
                                unsigned int middle, unsigned int high, unsigned char previous,
                                unsigned char* base, unsigned char* raised) {
    // Product in single precision; the rounding term is added in double.
    const float weighted = weight * motion;
    const double lifted = 0.5 + weighted;
    if (!(lifted > static_cast<double>(INT_MIN) - 1.0 &&
          lifted < static_cast<double>(INT_MAX) + 1.0)) {
        std::cout << "\nInvalid motion value!\nNothing is changed!\n" << std::endl;
        return previous;
    }
    const int lift = static_cast<int>(lifted);   // truncated toward zero

    unsigned char b;
    if (Ts < low)
        b = static_cast<unsigned char>(low + 20);
    else if (Ts < middle)
        b = static_cast<unsigned char>(middle + 10);
    else
        b = static_cast<unsigned char>(high);
    const unsigned char r = static_cast<unsigned char>(static_cast<long long>(b) + lift);
    if (base)
        *base = b;
    if (raised)
        *raised = r;
    // Ratchet: never below the previous result.
    return r > previous ? r : previous;
}

}  // namespace segmentation
