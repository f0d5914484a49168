// Singular value decomposition and least-squares back-substitution.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "numeric/numeric.h"

namespace {

using Dense = std::vector<std::vector<double>>;   // zero-based m x n

Dense Random(int m, int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-10.0, 10.0);
    Dense a(m, std::vector<double>(n));
    for (auto& row : a)
        for (double& x : row)
            x = u(rng);
    return a;
}

// Rank r: the product of a random m x r and r x n matrix.
Dense RandomOfRank(int m, int n, int r, unsigned seed) {
    const Dense l = Random(m, r, seed);
    const Dense rt = Random(r, n, seed + 1);
    Dense a(m, std::vector<double>(n, 0.0));
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            for (int k = 0; k < r; ++k)
                a[i][j] += l[i][k] * rt[k][j];
    return a;
}

// Decomposition held in one-based arrays, released at the end of the scope.
struct Svd {
    int m, n;
    double** u;
    double* w;
    double** v;

    explicit Svd(const Dense& a)
        : m(static_cast<int>(a.size())), n(static_cast<int>(a[0].size())),
          u(dmatrix(1, m, 1, n)), w(dvector(1, n)), v(dmatrix(1, n, 1, n)) {
        for (int i = 1; i <= m; ++i)
            for (int j = 1; j <= n; ++j)
                u[i][j] = a[i - 1][j - 1];
        svdcmp(u, m, n, w, v);
    }
    ~Svd() {
        free_dmatrix(u, 1, m, 1, n);
        free_dvector(w, 1, n);
        free_dmatrix(v, 1, n, 1, n);
    }
    double MaxW() const {
        double mx = 0.0;
        for (int j = 1; j <= n; ++j)
            mx = std::max(mx, w[j]);
        return mx;
    }
    // Solves with singular values below tol * max(w) zeroed first.
    std::vector<double> Solve(const std::vector<double>& rhs, double tol) {
        const double cut = tol * MaxW();
        for (int j = 1; j <= n; ++j)
            if (w[j] < cut)
                w[j] = 0.0;
        double* b = dvector(1, m);
        double* x = dvector(1, n);
        for (int i = 1; i <= m; ++i)
            b[i] = rhs[i - 1];
        svbksb(u, w, v, m, n, b, x);
        std::vector<double> out(x + 1, x + n + 1);
        free_dvector(b, 1, m);
        free_dvector(x, 1, n);
        return out;
    }
};

double MaxAbs(const Dense& a) {
    double mx = 0.0;
    for (const auto& row : a)
        for (double x : row)
            mx = std::max(mx, std::fabs(x));
    return mx;
}

// U W V^T equals A, V is orthogonal, the columns of U that carry a non-zero singular
// value are orthonormal, and every singular value is non-negative.
void ExpectValidDecomposition(const Dense& a, const Svd& s) {
    const double scale = MaxAbs(a);
    for (int j = 1; j <= s.n; ++j)
        EXPECT_GE(s.w[j], 0.0) << "w[" << j << "]";
    for (int i = 1; i <= s.m; ++i)
        for (int j = 1; j <= s.n; ++j) {
            double sum = 0.0;
            for (int k = 1; k <= s.n; ++k)
                sum += s.u[i][k] * s.w[k] * s.v[j][k];
            EXPECT_NEAR(sum, a[i - 1][j - 1], 1e-12 * scale) << "A[" << i << "][" << j << "]";
        }
    for (int p = 1; p <= s.n; ++p)
        for (int q = 1; q <= s.n; ++q) {
            double vv = 0.0;
            for (int k = 1; k <= s.n; ++k)
                vv += s.v[k][p] * s.v[k][q];
            EXPECT_NEAR(vv, p == q ? 1.0 : 0.0, 1e-12) << "V column " << p << ", " << q;
            if (s.w[p] <= 1e-10 * s.MaxW() || s.w[q] <= 1e-10 * s.MaxW())
                continue;
            double uu = 0.0;
            for (int k = 1; k <= s.m; ++k)
                uu += s.u[k][p] * s.u[k][q];
            EXPECT_NEAR(uu, p == q ? 1.0 : 0.0, 1e-12) << "U column " << p << ", " << q;
        }
}

}  // namespace

TEST(Svdcmp, ReproducesRandomSquareAndTallMatrices) {
    for (unsigned seed : {1u, 2u, 3u, 4u}) {
        const Dense a = Random(6, 6, seed);
        Svd s(a);
        ExpectValidDecomposition(a, s);
    }
    const Dense tall = Random(9, 6, 77);
    Svd s(tall);
    ExpectValidDecomposition(tall, s);
}

TEST(Svdcmp, RankDeficientMatrixHasZeroSingularValues) {
    for (int rank : {1, 3, 5}) {
        const Dense a = RandomOfRank(6, 6, rank, 40u + rank);
        Svd s(a);
        ExpectValidDecomposition(a, s);
        int small = 0;
        for (int j = 1; j <= 6; ++j)
            small += s.w[j] < 1e-12 * s.MaxW();
        EXPECT_EQ(small, 6 - rank) << "rank " << rank;
    }
}

TEST(Svdcmp, ZeroAndDiagonalMatrices) {
    Svd zero(Dense(6, std::vector<double>(6, 0.0)));
    for (int j = 1; j <= 6; ++j)
        EXPECT_EQ(zero.w[j], 0.0);

    // A diagonal matrix with a negative entry: the values come back as magnitudes,
    // unsorted, and the sign moves into V.
    Dense d(3, std::vector<double>(3, 0.0));
    d[0][0] = 2.0;
    d[1][1] = -5.0;
    d[2][2] = 1.0;
    Svd s(d);
    ExpectValidDecomposition(d, s);
    std::vector<double> w(s.w + 1, s.w + 4);
    std::sort(w.begin(), w.end());
    EXPECT_DOUBLE_EQ(w[0], 1.0);
    EXPECT_DOUBLE_EQ(w[1], 2.0);
    EXPECT_DOUBLE_EQ(w[2], 5.0);
}

TEST(Svbksb, GivesTheLeastSquaresSolution) {
    // Overdetermined 9 x 6: the residual is orthogonal to the columns of A.
    const Dense a = Random(9, 6, 5);
    std::vector<double> b = {1, -2, 3, 0.5, 4, -1, 2, 7, -3};
    Svd s(a);
    const std::vector<double> x = s.Solve(b, 0.0);
    std::vector<double> r(9);
    for (int i = 0; i < 9; ++i) {
        r[i] = -b[i];
        for (int j = 0; j < 6; ++j)
            r[i] += a[i][j] * x[j];
    }
    for (int j = 0; j < 6; ++j) {
        double atr = 0.0;
        for (int i = 0; i < 9; ++i)
            atr += a[i][j] * r[i];
        EXPECT_NEAR(atr, 0.0, 1e-9) << "column " << j;
    }

    // Square and regular: the exact solution.
    const Dense sq = Random(6, 6, 8);
    const std::vector<double> truth = {0.25, -1, 2, 3.5, -0.75, 1};
    std::vector<double> rhs(6, 0.0);
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j)
            rhs[i] += sq[i][j] * truth[j];
    Svd t(sq);
    const std::vector<double> y = t.Solve(rhs, 0.0);
    for (int j = 0; j < 6; ++j)
        EXPECT_NEAR(y[j], truth[j], 1e-10);
}

TEST(Svbksb, ZeroedSingularValuesGiveTheMinimumNormSolution) {
    // Rank 4 of 6: after zeroing the two tiny values, x has no component along the
    // null-space columns of V and still solves the consistent system.
    const Dense a = RandomOfRank(6, 6, 4, 90);
    const std::vector<double> xr = {1, 2, -1, 0.5, 3, -2};
    std::vector<double> b(6, 0.0);
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j)
            b[i] += a[i][j] * xr[j];
    Svd s(a);
    const std::vector<double> x = s.Solve(b, 1e-12);
    int nulls = 0;
    for (int k = 1; k <= 6; ++k) {
        if (s.w[k] != 0.0)
            continue;
        ++nulls;
        double along = 0.0;
        for (int j = 1; j <= 6; ++j)
            along += s.v[j][k] * x[j - 1];
        EXPECT_NEAR(along, 0.0, 1e-12) << "null direction " << k;
    }
    EXPECT_EQ(nulls, 2);
    for (int i = 0; i < 6; ++i) {
        double ax = 0.0;
        for (int j = 0; j < 6; ++j)
            ax += a[i][j] * x[j];
        EXPECT_NEAR(ax, b[i], 1e-9 * MaxAbs(a));
    }

    // All singular values zero: the solution is exactly zero.
    Svd zero(Dense(6, std::vector<double>(6, 0.0)));
    const std::vector<double> z = zero.Solve({1, 2, 3, 4, 5, 6}, 0.0);
    for (double v : z)
        EXPECT_EQ(v, 0.0);
}

TEST(SvdcmpDeathTest, FewerRowsThanColumnsIsFatal) {
    // The shape is refused before any element is touched, and nothing is allocated that
    // the exiting child would leak.
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
