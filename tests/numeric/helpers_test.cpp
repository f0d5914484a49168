// Rounding, minimum search, the qsort comparison, selection and the offset allocators.
#include <gtest/gtest.h>
#include <unistd.h>

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
    EXPECT_EQ(CoRound(0.5), 1);
    EXPECT_EQ(CoRound(-0.5), -1);
    EXPECT_EQ(CoRound(-1.49), -1);
    EXPECT_EQ(CoRound(7.0), 7);
    EXPECT_EQ(CoRound(-7.0), -7);
    EXPECT_EQ(CoRound(0.49999999999999994), 1);   // x + 0.5 rounds up to 1.0 in double
}

TEST(CoMin, FirstSmallestWins) {
    int ties[] = {3, 1, 1};
    EXPECT_EQ(CoMin(ties, 3), 1);
    int all_equal[] = {5, 5, 5, 5};
    EXPECT_EQ(CoMin(all_equal, 4), 0);
    int last[] = {4, 3, 2, -1};
    EXPECT_EQ(CoMin(last, 4), 3);
    int one[] = {-9};
    EXPECT_EQ(CoMin(one, 1), 0);
    EXPECT_EQ(CoMin(one, 0), 0);
    EXPECT_EQ(CoMin(nullptr, -2), 0);
}

TEST(Compare, SortsAscendingAndWrapsLikeA32BitSubtraction) {
    std::vector<int> v = {5, -3, 0, 255, 17, -3, 9};
    std::qsort(v.data(), v.size(), sizeof(int), compare);
    EXPECT_TRUE(std::is_sorted(v.begin(), v.end()));
    int a = 7, b = 2;
    EXPECT_EQ(compare(&a, &b), 5);
    EXPECT_EQ(compare(&b, &a), -5);
    int lo = INT_MIN, one = 1;
    EXPECT_EQ(compare(&lo, &one), INT_MAX);   // wraps, as the plain subtraction does
}

TEST(Sele, KthSmallestMatchesSortedOrder) {
    std::mt19937 rng(12345);
    std::uniform_int_distribution<int> value(-50, 50);   // many duplicates
    for (unsigned long n : {1ul, 2ul, 3ul, 7ul, 64ul, 501ul}) {
        std::vector<float> src(n);
        for (float& f : src)
            f = static_cast<float>(value(rng));
        std::vector<float> sorted = src;
        std::sort(sorted.begin(), sorted.end());
        for (unsigned long k = 1; k <= n; ++k) {
            std::vector<float> arr(n + 1);
            std::copy(src.begin(), src.end(), arr.begin() + 1);
            ASSERT_EQ(sele(k, n, arr.data()), sorted[k - 1]) << "n " << n << " k " << k;
            std::vector<float> perm(arr.begin() + 1, arr.end());
            std::sort(perm.begin(), perm.end());
            ASSERT_EQ(perm, sorted) << "elements lost, n " << n << " k " << k;
        }
    }
}

TEST(Sele, RankOutsideTheArrayIsRefused) {
    float arr[4] = {0, 3, 1, 2};
    testing::internal::CaptureStdout();
    EXPECT_EQ(sele(0, 3, arr), 0.0f);
    EXPECT_EQ(sele(4, 3, arr), 0.0f);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("sele"), std::string::npos);
}

TEST(OffsetAllocation, VectorsCoverTheirBoundsAndStartZeroed) {
    double* d = dvector(-3, 4);
    int* iv = ivector(1, 6);
    float* f = fvector(10, 12);
    for (int i = -3; i <= 4; ++i) {
        EXPECT_EQ(d[i], 0.0);
        d[i] = i;   // the sanitizer build catches any index outside the block
    }
    for (int i = 1; i <= 6; ++i) {
        EXPECT_EQ(iv[i], 0);
        iv[i] = i;
    }
    for (int i = 10; i <= 12; ++i)
        f[i] = 1.5f * i;
    EXPECT_EQ(d[-3] + d[4], 1.0);
    EXPECT_EQ(&d[4] - &d[-3], 7);
    free_dvector(d, -3, 4);
    free_ivector(iv, 1, 6);
    free_fvector(f, 10, 12);
}

TEST(OffsetAllocation, MatricesHaveSeparateRowsWithTheirOwnBounds) {
    double** m = dmatrix(1, 6, 1, 6);
    int** im = imatrix(-1, 1, 0, 2);
    float** fm = matrix(0, 3, 5, 7);
    for (int i = 1; i <= 6; ++i)
        for (int j = 1; j <= 6; ++j) {
            EXPECT_EQ(m[i][j], 0.0);
            m[i][j] = 10 * i + j;
        }
    EXPECT_EQ(m[6][6], 66.0);
    for (int i = -1; i <= 1; ++i)
        for (int j = 0; j <= 2; ++j)
            im[i][j] = i * j;
    for (int i = 0; i <= 3; ++i)
        for (int j = 5; j <= 7; ++j)
            fm[i][j] = static_cast<float>(i + j);
    EXPECT_EQ(im[-1][2], -2);

    // A submatrix shares the elements: its [0][0] is fm[1][6].
    float** sub = submatrix(fm, 1, 3, 6, 7, 0, 0);
    EXPECT_EQ(sub[0][0], 7.0f);
    EXPECT_EQ(sub[2][1], 10.0f);
    sub[1][1] = -1.0f;
    EXPECT_EQ(fm[2][7], -1.0f);

    free_submatrix(sub, 0, 2, 0, 1);
    free_dmatrix(m, 1, 6, 1, 6);
    free_imatrix(im, -1, 1, 0, 2);
    free_matrix(fm, 0, 3, 5, 7);
}

TEST(NrerrorDeathTest, PrintsThreeLinesOnStandardOutputAndExitsWithOne) {
    // The report goes to standard output; route it to stderr where the matcher looks.
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            nrerror("allocation failure in dvector()");
        },
        testing::ExitedWithCode(1),
        "^Numerical Recipes run-time error\\.\\.\\.\n\nallocation failure in dvector\\(\\)\n"
        "\\.\\.\\.now exiting to system\\.\\.\\.\n\n$");
}
