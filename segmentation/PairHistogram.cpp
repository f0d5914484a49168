// PairHistogram: the look-up tables of the counters, counting by pairs, and the fold of the
// pair counters back into per-value counts.
#include "segmentation/PairHistogram.h"

#include <algorithm>
#include <cstring>

namespace segmentation {

void PairHistogram::Start(const std::uint8_t* v, int valueCount, int histogramCount) {
    const bool same = valueCount == values && std::equal(v, v + valueCount, value);
    if (!same) {
        values = valueCount;
        pairs = values * (values + 1);
        std::copy(v, v + valueCount, value);
        // A value outside the set counts as values[0]: a miscount, as the header says.
        int slot[256] = {};
        for (int i = 0; i < values; ++i)
            slot[v[i]] = i;
        for (int a = 0; a < 256; ++a) {
            firstPart[a] = static_cast<std::uint16_t>(slot[a] * (values + 1));
            secondPart[a] = static_cast<std::uint8_t>(slot[a]);
        }
        // Keyed by two neighbouring samples read as one 16-bit number in this processor's
        // byte order, as the 16-bit fields of Add's 64-bit reads are: the first sample is
        // the low byte where a 16-bit 1 is stored as bytes 1, 0.
        const std::uint8_t one[2] = {1, 0};
        std::uint16_t probe;
        std::memcpy(&probe, one, sizeof probe);
        const int firstShift = probe == 1 ? 0 : 8;
        pairCounter.resize(65536);
        std::uint16_t* key = pairCounter.data();
        for (int b = 0; b < 256; ++b)
            for (int a = 0; a < 256; ++a)
                key[(a << firstShift) | (b << (8 - firstShift))] =
                    static_cast<std::uint16_t>(firstPart[a] + secondPart[b]);
    }
    if (!same || histogramCount != histograms) {
        histograms = histogramCount;
        counters.assign(static_cast<size_t>(histograms) * kLanes * pairs, 0);
    }
}

// Eight samples are read at once and their four pairs go to the four copies, so that a run
// of equal pairs does not wait on its own previous count. (Which pair goes to which copy
// depends on the byte order; the sums do not.) Thirty-two samples that all equal values[0]
// only add to a running count, which its counter takes at the end.
void PairHistogram::Add(int h, const std::uint8_t* p, long from, long to) {
    std::uint32_t* c0 = &counters[static_cast<size_t>(h) * kLanes * pairs];
    std::uint32_t* c1 = c0 + pairs;
    std::uint32_t* c2 = c1 + pairs;
    std::uint32_t* c3 = c2 + pairs;
    const std::uint16_t* first = firstPart;
    const std::uint8_t* second = secondPart;
    const std::uint16_t* pc = pairCounter.data();
    const std::uint64_t common = value[0] * 0x0101010101010101ull;
    std::uint32_t commonPairs = 0;
    auto addWord = [&](std::uint64_t w) {
        ++c0[pc[w & 0xffff]];
        ++c1[pc[(w >> 16) & 0xffff]];
        ++c2[pc[(w >> 32) & 0xffff]];
        ++c3[pc[w >> 48]];
    };
    long x = from;
    for (; x + 32 <= to; x += 32) {
        std::uint64_t w0, w1, w2, w3;
        std::memcpy(&w0, p + x, 8);
        std::memcpy(&w1, p + x + 8, 8);
        std::memcpy(&w2, p + x + 16, 8);
        std::memcpy(&w3, p + x + 24, 8);
        if (((w0 ^ common) | (w1 ^ common) | (w2 ^ common) | (w3 ^ common)) == 0) {
            commonPairs += 16;
            continue;
        }
        addWord(w0);
        addWord(w1);
        addWord(w2);
        addWord(w3);
    }
    for (; x + 8 <= to; x += 8) {
        std::uint64_t w;
        std::memcpy(&w, p + x, 8);
        addWord(w);
    }
    for (; x + 2 <= to; x += 2)
        ++c0[first[p[x]] + second[p[x + 1]]];
    if (x < to)
        ++c0[first[p[x]] + values];
    c0[0] += commonPairs;   // counter 0: values[0] twice
}

void PairHistogram::Take(int h, std::uint32_t* counts) {
    std::uint32_t* c = &counters[static_cast<size_t>(h) * kLanes * pairs];
    // The copies added up, then each counter's count goes to both of its values: the
    // first value's share as row totals, the second's as column totals.
    std::uint32_t sum[kMaxValues * (kMaxValues + 1)];
    for (int k = 0; k < pairs; ++k)
        sum[k] = c[k] + c[pairs + k] + c[2 * pairs + k] + c[3 * pairs + k];
    std::fill(c, c + kLanes * pairs, 0u);
    std::uint32_t column[kMaxValues + 1] = {};
    for (int i = 0; i < values; ++i) {
        const std::uint32_t* row = sum + i * (values + 1);
        std::uint32_t total = 0;
        for (int j = 0; j <= values; ++j) {
            total += row[j];
            column[j] += row[j];
        }
        counts[value[i]] += total;
    }
    for (int j = 0; j < values; ++j)   // column `values`: lone samples, no second value
        counts[value[j]] += column[j];
}

}  // namespace segmentation
