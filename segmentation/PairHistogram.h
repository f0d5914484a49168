// PairHistogram: several histograms of row pieces whose samples take one of a few known
// values (at most kMaxValues), gathered two neighbouring samples at a time: a pair has
// one counter of its own, which halves the counter updates of a plain histogram. A sample
// outside the values given is the caller's error and is miscounted. Long runs of the first
// value go fastest: give the most common value first.
// The tables are kept between uses, so that a caller that keeps the object allocates only
// when the values or the number of histograms change.
#ifndef SEGMENTATION_PAIRHISTOGRAM_H
#define SEGMENTATION_PAIRHISTOGRAM_H

#include <cstdint>
#include <vector>

namespace segmentation {

class PairHistogram {
public:
    static const int kMaxValues = 64;

    // Empty histograms 0 .. histograms - 1 for samples among values[0 .. valueCount - 1]
    // (distinct, 1 <= valueCount <= kMaxValues). The counters are empty after every Take,
    // so only a change of values or of the number of histograms clears them here.
    void Start(const std::uint8_t* values, int valueCount, int histograms);

    // Adds the samples p[from .. to - 1] to histogram h.
    void Add(int h, const std::uint8_t* p, long from, long to);

    // Adds histogram h's counts to counts[0 .. 255] (indexed by sample value) and empties it.
    void Take(int h, std::uint32_t* counts);

private:
    static const int kLanes = 4;   // pairs go to four copies in turn: see Add

    int values = 0;                // distinct values
    int pairs = 0;                 // counters per copy: values * (values + 1)
    int histograms = 0;
    // Counter i * (values + 1) + j counts the pairs value[i], value[j]; j = values stands
    // for a lone last sample.
    std::uint8_t value[kMaxValues];
    std::uint16_t firstPart[256];            // sample a first: i * (values + 1)
    std::uint8_t secondPart[256];            // sample b second: j
    std::vector<std::uint16_t> pairCounter;  // two samples as one 16-bit read -> counter
    std::vector<std::uint32_t> counters;     // [histogram][lane][counter]
};

}  // namespace segmentation

#endif
