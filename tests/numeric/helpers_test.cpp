// Rounding, minimum search, the qsort comparison, selection and the offset allocators.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <random>
#include <vector>

#include "numeric/numeric.h"

TEST(CoRound, HalvesGoAwayFromZero) {
    EXPECT_EQ(CoRound(2.5), 3);
    EXPECT_EQ(CoRound(-2.5), -3);
    EXPECT_EQ(CoRound(-0.4), 0);
    EXPECT_EQ(CoRound(0.49), 0);
    EXPECT_EQ(CoRound(0.49999999999999994), 1);   // x + 0.5 rounds up to 1.0 first
}

TEST(CoMin, FirstSmallestWinsAndShortVectorsGiveZero) {
    int v[] = {3, 1, 1, -1};
    EXPECT_EQ(CoMin(v, 3), 1);
    EXPECT_EQ(CoMin(v, 4), 3);
    EXPECT_EQ(CoMin(v + 3, 1), 0);
    EXPECT_EQ(CoMin(v, 0), 0);
}

TEST(Compare, SortsAscendingAndWrapsLikeA32BitSubtraction) {
    std::vector<int> v = {5, -3, 0, 255, 17, -3, 9};
    std::qsort(v.data(), v.size(), sizeof(int), compare);
    EXPECT_TRUE(std::is_sorted(v.begin(), v.end()));
    int lo = INT_MIN, one = 1;
    EXPECT_EQ(compare(&lo, &one), INT_MAX);
}

TEST(Sele, KthSmallestOfOneBasedArray) {
    std::mt19937 rng(12345);
    std::vector<float> src(301);
    for (float& f : src)
        f = static_cast<float>(rng() % 101);   // many duplicates
    std::vector<float> sorted(src.begin() + 1, src.end());
    std::sort(sorted.begin(), sorted.end());
    for (unsigned long k = 1; k <= 300; ++k) {
        std::vector<float> arr = src;
        ASSERT_EQ(sele(k, 300, arr.data()), sorted[k - 1]) << "k " << k;
    }
}

TEST(OffsetAllocation, ZeroedBlocksCoverExactlyTheirBounds) {
    // Every index is written: the sanitizer build catches any one outside the block.
    double* v = dvector(-3, 4);
    float** m = matrix(0, 3, 5, 7);
    for (int i = -3; i <= 4; ++i)
        v[i] += i;   // starts at 0
    for (int i = 0; i <= 3; ++i)
        for (int j = 5; j <= 7; ++j)
            m[i][j] = static_cast<float>(10 * i + j);
    float** sub = submatrix(m, 1, 3, 6, 7, 0, 0);   // shares m: sub[0][0] is m[1][6]
    EXPECT_EQ(sub[0][0] + sub[2][1], 16.0f + 37.0f);
    EXPECT_EQ(v[-3] + v[4], 1.0);
    free_submatrix(sub, 0, 2, 0, 1);
    free_matrix(m, 0, 3, 5, 7);
    free_dvector(v, -3, 4);
}
