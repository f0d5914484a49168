// Singular value decomposition and least-squares back-substitution on 6 x 6 matrices.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "numeric/numeric.h"

namespace {

// A random 6 x 6 matrix of rank r, its decomposition and a solver, one-based.
struct Svd {
    double a[7][7] = {};
    double** u = dmatrix(1, 6, 1, 6);
    double* w = dvector(1, 6);
    double** v = dmatrix(1, 6, 1, 6);

    Svd(int r, unsigned seed) {
        std::mt19937 rng(seed);
        std::uniform_real_distribution<double> g(-10.0, 10.0);
        double l[7][7], rt[7][7];
        for (int i = 1; i <= 6; ++i)
            for (int k = 1; k <= 6; ++k) {
                l[i][k] = g(rng);
                rt[k][i] = g(rng);
            }
        for (int i = 1; i <= 6; ++i)
            for (int j = 1; j <= 6; ++j) {
                for (int k = 1; k <= r; ++k)
                    a[i][j] += l[i][k] * rt[k][j];
                u[i][j] = a[i][j];
            }
        svdcmp(u, 6, 6, w, v);
    }
    ~Svd() {
        free_dmatrix(u, 1, 6, 1, 6);
        free_dvector(w, 1, 6);
        free_dmatrix(v, 1, 6, 1, 6);
    }
    double MaxW() const { return *std::max_element(w + 1, w + 7); }
};

}  // namespace

TEST(Svdcmp, ReproducesRandomAndRankDeficientMatrices) {
    for (int rank : {6, 5, 3, 1}) {
        Svd s(rank, 40u + rank);
        int zeros = 0;
        for (int p = 1; p <= 6; ++p) {
            ASSERT_GE(s.w[p], 0.0);
            zeros += s.w[p] < 1e-12 * s.MaxW();
            for (int q = 1; q <= 6; ++q) {
                double usv = 0.0, vv = 0.0, uu = 0.0;
                for (int k = 1; k <= 6; ++k) {
                    usv += s.u[p][k] * s.w[k] * s.v[q][k];
                    vv += s.v[k][p] * s.v[k][q];
                    uu += s.u[k][p] * s.u[k][q];
                }
                EXPECT_NEAR(usv, s.a[p][q], 1e-10) << "rank " << rank << ", A " << p << q;
                EXPECT_NEAR(vv, p == q, 1e-12) << "rank " << rank << ", V " << p << q;
                // U is orthonormal on the columns that carry a singular value.
                if (s.w[p] > 1e-10 * s.MaxW() && s.w[q] > 1e-10 * s.MaxW()) {
                    EXPECT_NEAR(uu, p == q, 1e-12) << "rank " << rank << ", U " << p << q;
                }
            }
        }
        EXPECT_EQ(zeros, 6 - rank);
    }
}

TEST(Svbksb, GivesTheMinimumNormLeastSquaresSolution) {
    // Rank 4 and an inconsistent right-hand side: with the two tiny values zeroed, the
    // residual is orthogonal to the columns of A and x has no null-space component.
    Svd s(4, 90);
    double b[7] = {0, 1, -2, 3, 0.5, 4, -1};
    double x[7];
    for (int j = 1; j <= 6; ++j)
        if (s.w[j] < 1e-12 * s.MaxW())
            s.w[j] = 0.0;
    ASSERT_EQ(std::count(s.w + 1, s.w + 7, 0.0), 2);
    svbksb(s.u, s.w, s.v, 6, 6, b, x);
    for (int j = 1; j <= 6; ++j) {
        double atr = 0.0, along = 0.0;
        for (int i = 1; i <= 6; ++i) {
            double r = -b[i];
            for (int k = 1; k <= 6; ++k)
                r += s.a[i][k] * x[k];
            atr += s.a[i][j] * r;
            along += s.v[i][j] * x[i];
        }
        EXPECT_NEAR(atr, 0.0, 1e-8) << "column " << j;
        if (s.w[j] == 0.0) {
            EXPECT_NEAR(along, 0.0, 1e-12) << "null direction " << j;
        }
    }
}

TEST(SvdcmpDeathTest, FewerRowsThanColumnsIsFatal) {
    // The report goes to standard output; route it to stderr, where the matcher looks.
    // The shape is refused before any element is touched.
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            svdcmp(nullptr, 3, 6, nullptr, nullptr);
        },
        testing::ExitedWithCode(1),
        "^Numerical Recipes run-time error\\.\\.\\.\n\n"
        "SVDCMP: You must augment A with extra zero rows\n"
        "\\.\\.\\.now exiting to system\\.\\.\\.\n\n$");
}
