// BinGlobalMotionEstimator: the integer translation search, the two Gauss-Newton
// increment forms and the 6 x 6 least-squares solve.
#include <cstdlib>
#include <iostream>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/LumaPlane.h"
#include "numeric/numeric.h"

using estimation::LumaPlane;

namespace {

constexpr int kDim = 6;

// Sum of |previous(x + dx, y + dy) - current(x, y)| over the pixels of current whose
// shifted position lies inside current's size. An integer sum: any order gives it.
long long ShiftedSad(const LumaPlane& cur, const LumaPlane& prev, int dx, int dy) {
    const int W = cur.width;
    const int H = cur.height;
    const int x0 = dx < 0 ? -dx : 0;
    const int x1 = dx > 0 ? W - dx : W;
    const int y0 = dy < 0 ? -dy : 0;
    const int y1 = dy > 0 ? H - dy : H;
    long long sum = 0;
    for (int y = y0; y < y1; ++y) {
        const unsigned char* c = cur.Row(y);
        const unsigned char* p = prev.Row(y + dy) + dx;
        int row = 0;   // at most 255 * width: fits
        for (int x = x0; x < x1; ++x)
            row += std::abs(p[x] - c[x]);
        sum += row;
    }
    return sum;
}

// The normal equations in packed pairs of doubles. A pair operation performs, lane by
// lane, exactly the scalar multiply or add, so every sum takes the same values in the
// same order as in the plain loop; only the instruction count drops.
typedef double Pair __attribute__((vector_size(16)));

// Row i of the lower triangle of M is kept as the pairs of columns (0, 1), (2, 3), (4, 5)
// that reach its diagonal: rows 0 and 1 one pair, rows 2 and 3 two, rows 4 and 5 three.
// A lane right of the diagonal is computed and never read.
struct NormalEquations {
    Pair m[12];
    Pair b[3];
};

// Adds one pixel. p00, p10, p01, p11 are the previous frame at (x1, y1), (x1 + 1, y1),
// (x1, y1 + 1), (x1 + 1, y1 + 1); cv is current(x, y). The formulas are evaluated in the
// order written: bilinear value, error, gradients, then dedp.
__attribute__((always_inline)) inline void AddPixel(int p00, int p10, int p01, int p11, double dk,
                                                    double dl, int cv, int x, int y,
                                                    NormalEquations& n) {
    const double bilin = p00 * (1 - dk) * (1 - dl) + p10 * dk * (1 - dl) + p01 * (1 - dk) * dl +
                         p11 * dk * dl;
    const double e = bilin - cv;
    const double dIdx = (p10 - p00) * (1 - dl) + (p11 - p01) * dl;
    const double dIdy = (p01 - p00) * (1 - dk) + (p11 - p10) * dk;
    // dedp = (dIdx, x dIdx, y dIdx, dIdy, x dIdy, y dIdy) as three pairs.
    const Pair d01 = {dIdx, x * dIdx};
    const Pair d23 = {y * dIdx, dIdy};
    const Pair d45 = {x * dIdy, y * dIdy};
    const Pair ee = {e, e};
    n.b[0] += d01 * ee;
    n.b[1] += d23 * ee;
    n.b[2] += d45 * ee;
    const Pair r0 = {d01[0], d01[0]};
    const Pair r1 = {d01[1], d01[1]};
    const Pair r2 = {d23[0], d23[0]};
    const Pair r3 = {d23[1], d23[1]};
    const Pair r4 = {d45[0], d45[0]};
    const Pair r5 = {d45[1], d45[1]};
    n.m[0] += r0 * d01;
    n.m[1] += r1 * d01;
    n.m[2] += r2 * d01;
    n.m[3] += r2 * d23;
    n.m[4] += r3 * d01;
    n.m[5] += r3 * d23;
    n.m[6] += r4 * d01;
    n.m[7] += r4 * d23;
    n.m[8] += r4 * d45;
    n.m[9] += r5 * d01;
    n.m[10] += r5 * d23;
    n.m[11] += r5 * d45;
}

// Unpacks into the 6 x 6 row-major M, the lower triangle mirrored into the upper one.
void Unpack(const NormalEquations& n, double* M, double* b) {
    int k = 0;
    for (int i = 0; i < kDim; ++i)
        for (int j = 0; j <= i; j += 2, ++k) {
            M[i * kDim + j] = n.m[k][0];
            if (j + 1 <= i)
                M[i * kDim + j + 1] = n.m[k][1];
        }
    for (int i = 0; i < kDim; ++i)
        for (int j = i + 1; j < kDim; ++j)
            M[i * kDim + j] = M[j * kDim + i];
    for (int p = 0; p < 3; ++p) {
        b[2 * p] = n.b[p][0];
        b[2 * p + 1] = n.b[p][1];
    }
}

}  // namespace

void BinGlobalMotionEstimator::InitialEstimate(ormel::YUVImage& current, ormel::YUVImage& previous,
                                               double* dx, double* dy) {
    const LumaPlane cur(current);
    const LumaPlane prev(previous);
    if (!prev.Covers(cur.width, cur.height, "InitialEstimate", "previous"))
        return;
    long long minerr = 100000000;   // kept across the rounds: a candidate must beat them all
    const int stepmax = 4;
    int step = stepmax;
    int dispx0 = 0;
    int dispy0 = 0;
    int match_x = 0;
    int match_y = 0;
    while (step > 0) {
        for (int dispx = dispx0 - step; dispx <= dispx0 + step; dispx += step)
            for (int dispy = dispy0 - step; dispy <= dispy0 + step; dispy += step) {
                const long long sqrerr = ShiftedSad(cur, prev, dispx, dispy);
                if (sqrerr < minerr) {   // strictly: ties keep the earlier candidate
                    minerr = sqrerr;
                    match_x = dispx;
                    match_y = dispy;
                }
            }
        dispx0 = match_x;
        dispy0 = match_y;
        step /= 2;
    }
    *dx = dispx0;
    *dy = dispy0;
}

void BinGlobalMotionEstimator::MotionAadapt(ormel::YUVImage& current, ormel::YUVImage& previous,
                                            int threshErr, double* a, double* da) {
    const LumaPlane cur(current);
    const LumaPlane prev(previous);
    const int W = prev.width;
    const int H = prev.height;
    // The difference image spans current and is read over previous: the two must agree.
    if (!cur.Covers(W, H, "MotionAadapt", "current") ||
        !prev.Covers(cur.width, cur.height, "MotionAadapt", "previous")) {
        for (int i = 0; i < kDim; ++i)
            da[i] = 0.0;
        return;
    }
    ormel::YUVImage compImage(previous);
    ormel::YUVImage diffImage(previous);
    Compensate(previous, a, compImage);
    Accuracy(current, compImage, diffImage);

    // ok = 1 where the compensated difference is at most threshErr. A pixel needs its own
    // ok and more than 6 in its 3 x 3 neighbourhood: the count is the sum of three
    // vertical sums of three, kept per column for the current row.
    const LumaPlane diff(diffImage);
    std::vector<unsigned char> ok(static_cast<size_t>(W) * H);
    for (int y = 0; y < H; ++y) {
        const unsigned char* d = diff.Row(y);
        unsigned char* o = &ok[static_cast<size_t>(y) * W];
        for (int x = 0; x < W; ++x)
            o[x] = d[x] <= threshErr;
    }
    // a[0] + x*a[1] per column, y*a[2] per row: their sum is the plain formula's.
    std::vector<double> colX(W), colY(W);
    for (int x = 0; x < W; ++x) {
        colX[x] = a[0] + x * a[1];
        colY[x] = a[3] + x * a[4];
    }
    // floor(dispX) >= 0 and floor(dispX) + 1 < W is 0 <= dispX < W - 1 (NaN fails);
    // inside, truncation is the floor.
    const double xLimit = W - 1;
    const double yLimit = H - 1;
    NormalEquations n = {};
    std::vector<unsigned char> column(W);
    for (int y = 1; y < H - 1; ++y) {
        const unsigned char* up = &ok[static_cast<size_t>(y - 1) * W];
        const unsigned char* mid = up + W;
        const unsigned char* down = mid + W;
        for (int x = 0; x < W; ++x)
            column[x] = static_cast<unsigned char>(up[x] + mid[x] + down[x]);
        const double rowX = y * a[2];
        const double rowY = y * a[5];
        const unsigned char* c = cur.Row(y);
        for (int x = 1; x < W - 1; ++x) {
            if (!mid[x] || column[x - 1] + column[x] + column[x + 1] <= 6)
                continue;
            const double dispX = colX[x] + rowX;
            const double dispY = colY[x] + rowY;
            if (!(dispX >= 0 && dispX < xLimit && dispY >= 0 && dispY < yLimit))
                continue;
            const int x1 = static_cast<int>(dispX);
            const int y1 = static_cast<int>(dispY);
            const unsigned char* p0 = prev.Row(y1) + x1;
            const unsigned char* p1 = p0 + W;
            AddPixel(p0[0], p0[1], p1[0], p1[1], dispX - x1, dispY - y1, c[x], x, y, n);
        }
    }
    double M[kDim * kDim];
    double b[kDim];
    Unpack(n, M, b);
    OptimizationMethodGradientDescent(M, b, da);
}

void BinGlobalMotionEstimator::MotionAadapt(ormel::YUVImage& current, ormel::YUVImage& previous,
                                            ormel::YUVImage& binObject, double* a, double* da) {
    const LumaPlane cur(current);
    const LumaPlane prev(previous);
    const LumaPlane mask(binObject);
    const int W = prev.width;
    const int H = prev.height;
    if (!cur.Covers(W, H, "MotionAadapt", "current") ||
        !mask.Covers(W, H, "MotionAadapt", "binObject")) {
        for (int i = 0; i < kDim; ++i)
            da[i] = 0.0;
        return;
    }
    std::vector<double> rowX(H), rowY(H);
    for (int y = 0; y < H; ++y) {
        rowX[y] = y * a[2];
        rowY[y] = y * a[5];
    }
    const double xLimit = W - 1;   // the inside test on the doubles, as above
    const double yLimit = H - 1;
    NormalEquations n = {};
    // Column by column: the order in which the pixels enter M and b.
    for (int x = 0; x < W; ++x) {
        const double colX = a[0] + x * a[1];
        const double colY = a[3] + x * a[4];
        const unsigned char* c = cur.data + x;
        for (int y = 0; y < H; ++y) {
            const double dispX = colX + rowX[y];
            const double dispY = colY + rowY[y];
            if (!(dispX >= 0 && dispX < xLimit && dispY >= 0 && dispY < yLimit))
                continue;
            const int x1 = static_cast<int>(dispX);
            const int y1 = static_cast<int>(dispY);
            // Any trace of an object at the four interpolation neighbours excludes the pixel.
            const unsigned char* m0 = mask.Row(y1) + x1;
            const unsigned char* m1 = mask.Row(y1 + 1) + x1;
            if (m0[0] | m0[1] | m1[0] | m1[1])
                continue;
            const unsigned char* p0 = prev.Row(y1) + x1;
            const unsigned char* p1 = p0 + W;
            AddPixel(p0[0], p0[1], p1[0], p1[1], dispX - x1, dispY - y1,
                     c[static_cast<ptrdiff_t>(y) * cur.width], x, y, n);
        }
    }
    double M[kDim * kDim];
    double b[kDim];
    Unpack(n, M, b);
    OptimizationMethodGradientDescent(M, b, da);
}

void BinGlobalMotionEstimator::OptimizationMethodGradientDescent(double* M, double* b, double* da) {
    double** MM = dmatrix(1, kDim, 1, kDim);
    double** v = dmatrix(1, kDim, 1, kDim);
    double* wsqr = dvector(1, kDim);
    double* x = dvector(1, kDim);
    double* bb = dvector(1, kDim);
    for (int i = 1; i <= kDim; ++i) {
        for (int j = 1; j <= kDim; ++j)
            MM[i][j] = M[(i - 1) * kDim + (j - 1)];
        bb[i] = -b[i - 1];
    }
    // No singular value is edited: only exact zeros are skipped by the back-substitution.
    svdcmp(MM, kDim, kDim, wsqr, v);
    svbksb(MM, wsqr, v, kDim, kDim, bb, x);
    for (int i = 0; i < kDim; ++i)
        da[i] = x[i + 1];
    free_dmatrix(MM, 1, kDim, 1, kDim);
    free_dmatrix(v, 1, kDim, 1, kDim);
    free_dvector(wsqr, 1, kDim);
    free_dvector(x, 1, kDim);
    free_dvector(bb, 1, kDim);
}
