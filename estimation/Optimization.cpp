// BinGlobalMotionEstimator: the integer translation search, the two Gauss-Newton
// increment forms and the 6 x 6 least-squares solve.
#include <cstdlib>
#include <iostream>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/LumaPlane.h"
#include "numeric/numeric.h"

using estimation::FloorToInt;
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

// Per-pixel work shared by both increment forms. P0 and P1 point at (x1, y1) and
// (x1, y1 + 1) of the previous frame; cv is current(x, y). The formulas are evaluated in
// the order written, so that the sums in M and b round as they must.
inline void AddPixel(const unsigned char* P0, const unsigned char* P1, double dk, double dl,
                     unsigned char cv, int x, int y, double* M, double* b) {
    const double bilin = P0[0] * (1 - dk) * (1 - dl) + P0[1] * dk * (1 - dl) +
                         P1[0] * (1 - dk) * dl + P1[1] * dk * dl;
    const double e = bilin - cv;
    const double dIdx = (P0[1] - P0[0]) * (1 - dl) + (P1[1] - P1[0]) * dl;
    const double dIdy = (P1[0] - P0[0]) * (1 - dk) + (P1[1] - P0[1]) * dk;
    const double dedp[kDim] = {dIdx, x * dIdx, y * dIdx, dIdy, x * dIdy, y * dIdy};
    for (int i = 0; i < kDim; ++i) {
        b[i] += dedp[i] * e;
        for (int j = 0; j <= i; ++j)   // lower triangle and diagonal only
            M[i * kDim + j] += dedp[i] * dedp[j];
    }
}

void MirrorLowerTriangle(double* M) {
    for (int i = 0; i < kDim; ++i)
        for (int j = i + 1; j < kDim; ++j)
            M[i * kDim + j] = M[j * kDim + i];
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
    double M[kDim * kDim] = {};
    double b[kDim] = {};
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
    std::vector<unsigned char> ok(static_cast<size_t>(W) * (H > 0 ? H : 0));
    for (int y = 0; y < H; ++y) {
        const unsigned char* d = diff.Row(y);
        unsigned char* o = &ok[static_cast<size_t>(y) * W];
        for (int x = 0; x < W; ++x)
            o[x] = d[x] <= threshErr;
    }
    std::vector<double> colX(W > 0 ? W : 0), colY(W > 0 ? W : 0);
    for (int x = 0; x < W; ++x) {
        colX[x] = a[0] + x * a[1];   // then + y*a[2]: the order of the plain formula
        colY[x] = a[3] + x * a[4];
    }
    std::vector<unsigned char> column(W > 0 ? W : 0);
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
            const int x1 = FloorToInt(dispX);
            const int y1 = FloorToInt(dispY);
            if (x1 < 0 || x1 + 1 >= W || y1 < 0 || y1 + 1 >= H)
                continue;
            const unsigned char* P0 = prev.Row(y1) + x1;
            AddPixel(P0, P0 + W, dispX - x1, dispY - y1, c[x], x, y, M, b);
        }
    }
    MirrorLowerTriangle(M);
    OptimizationMethodGradientDescent(M, b, da);
}

void BinGlobalMotionEstimator::MotionAadapt(ormel::YUVImage& current, ormel::YUVImage& previous,
                                            ormel::YUVImage& binObject, double* a, double* da) {
    double M[kDim * kDim] = {};
    double b[kDim] = {};
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
    std::vector<double> rowX(H > 0 ? H : 0), rowY(H > 0 ? H : 0);
    for (int y = 0; y < H; ++y) {
        rowX[y] = y * a[2];
        rowY[y] = y * a[5];
    }
    // Column by column: the order in which the pixels enter M and b.
    for (int x = 0; x < W; ++x) {
        const double colX = a[0] + x * a[1];
        const double colY = a[3] + x * a[4];
        const unsigned char* c = cur.data + x;
        for (int y = 0; y < H; ++y) {
            const double dispX = colX + rowX[y];
            const double dispY = colY + rowY[y];
            const int x1 = FloorToInt(dispX);
            const int y1 = FloorToInt(dispY);
            if (x1 < 0 || x1 + 1 >= W || y1 < 0 || y1 + 1 >= H)
                continue;
            // Any trace of an object at the four interpolation neighbours excludes the pixel.
            const unsigned char* m0 = mask.Row(y1) + x1;
            const unsigned char* m1 = mask.Row(y1 + 1) + x1;
            if (m0[0] | m0[1] | m1[0] | m1[1])
                continue;
            const unsigned char* P0 = prev.Row(y1) + x1;
            AddPixel(P0, P0 + W, dispX - x1, dispY - y1, c[static_cast<ptrdiff_t>(y) * cur.width],
                     x, y, M, b);
        }
    }
    MirrorLowerTriangle(M);
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
