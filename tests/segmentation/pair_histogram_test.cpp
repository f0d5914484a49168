// PairHistogram against a plain histogram on row pieces of every parity with long runs of
// the first value, over value sets from one value to the most it takes, used again after
// Take and after new values; and the regional threshold gathered through it against the
// plain one.
#include "segmentation/PairHistogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "segmentation/RegionalThreshold.h"

using segmentation::PairHistogram;

namespace {

// `count` distinct values in random order, with 0 and 255 among them when there is room.
std::vector<std::uint8_t> ValueSet(std::mt19937& rng, int count) {
    std::vector<std::uint8_t> all(256);
    std::iota(all.begin(), all.end(), 0);
    std::shuffle(all.begin() + 2, all.end(), rng);
    std::swap(all[1], all[255]);   // 0 and 255 first
    std::vector<std::uint8_t> set(all.begin(), all.begin() + count);
    std::shuffle(set.begin(), set.end(), rng);
    return set;
}

std::vector<std::uint8_t> Samples(std::mt19937& rng, const std::vector<std::uint8_t>& set, int n) {
    std::vector<std::uint8_t> s(static_cast<size_t>(n));
    for (size_t i = 0; i < s.size(); ++i)   // runs of one value as well as changes
        s[i] = i > 0 && rng() % 3 == 0 ? s[i - 1] : set[rng() % set.size()];
    return s;
}

}  // namespace

TEST(PairHistogram, CountsEveryPieceAsAPlainHistogram) {
    std::mt19937 rng(21);
    PairHistogram pairs;
    std::vector<std::uint8_t> set;
    for (int round = 0; round < 40; ++round) {
        const int valueCount =
            round < 3 ? (round == 0 ? 1 : round == 1 ? 2 : PairHistogram::kMaxValues)
                      : 1 + static_cast<int>(rng() % PairHistogram::kMaxValues);
        // Every fifth round keeps the previous values: what Take left must be empty.
        if (round % 5 != 4 || set.empty())
            set = ValueSet(rng, valueCount);
        const int histograms = 1 + static_cast<int>(rng() % 4);
        pairs.Start(set.data(), static_cast<int>(set.size()), histograms);

        std::vector<std::vector<std::uint32_t>> want(histograms, std::vector<std::uint32_t>(256));
        std::vector<std::uint8_t> row = Samples(rng, set, 300);
        // A long run of the first value, which is counted by the run.
        const int runStart = static_cast<int>(rng() % 150);
        std::fill(row.begin() + runStart, row.begin() + runStart + static_cast<int>(rng() % 150), set[0]);
        for (int piece = 0; piece < 30; ++piece) {
            const int h = static_cast<int>(rng() % histograms);
            const long from = static_cast<long>(rng() % 300);
            const long to = from + static_cast<long>(rng() % std::min<long>(20 + piece * 9, 301 - from));
            for (long x = from; x < to; ++x)
                ++want[h][row[x]];
            pairs.Add(h, row.data(), from, to);
        }
        for (int h = 0; h < histograms; ++h) {
            std::vector<std::uint32_t> got(256, 3);   // Take adds to what is there
            pairs.Take(h, got.data());
            for (int v = 0; v < 256; ++v)
                ASSERT_EQ(got[v], want[h][v] + 3)
                    << "round " << round << ", histogram " << h << ", value " << v;
        }
    }
}

TEST(RegionalThreshold, ThroughPairsGivesThePlainTs) {
    std::mt19937 rng(22);
    PairHistogram pairs;
    for (int trial = 0; trial < 30; ++trial) {
        const int w = 1 + static_cast<int>(rng() % 50), h = 1 + static_cast<int>(rng() % 40);
        const std::vector<std::uint8_t> set =
            ValueSet(rng, 1 + static_cast<int>(rng() % PairHistogram::kMaxValues));
        const std::vector<std::uint8_t> plane = Samples(rng, set, w * h);
        const ormel::ConstPlaneView view{plane.data(), w, h, w};
        segmentation::RegionalThreshold plain(w, h), paired(w, h);
        plain.AddRows(view, 0, h);
        pairs.Start(set.data(), static_cast<int>(set.size()), segmentation::RegionalThreshold::kRegions);
        for (int y = 0; y < h; y += 4)
            paired.AddRows(view, y, std::min(h, y + 4), pairs);
        paired.TakePairs(pairs);
        EXPECT_EQ(paired.Ts(), plain.Ts()) << w << "x" << h << ", " << set.size() << " values";
    }
}
