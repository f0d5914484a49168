// BinGlobalMotionEstimator: the integer translation search, the two Gauss-Newton
// increment forms and the 6 x 6 least-squares solve.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/IncrementSums.h"
#include "estimation/LumaPlane.h"
#include "image/PlaneView.h"
#include "motion/AffineWarp.h"
#include "numeric/VectorUnit.h"
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

// A view of the top-left w x h of an image's luminance plane.
ormel::ConstPlaneView Region(ormel::YUVImage& img, int w, int h) {
    ormel::ConstPlaneView v = ormel::ConstView(ormel::LumaView(img));
    v.width = w;
    v.height = h;
    return v;
}

// use(x, y) = 1 where the pixel takes part in the threshold form: off the one-pixel
// border, its own |current - compensated| at most threshErr and more than 6 of its 3 x 3
// neighbourhood too; 0 elsewhere. `ok` holds three rows of the per-pixel test.
void ThresholdUse(ormel::ConstPlaneView cur, const std::uint8_t* comp, int threshErr,
                  std::uint8_t* use, std::vector<std::uint8_t>& ok) {
    const int W = cur.width;
    const int H = cur.height;
    std::memset(use, 0, static_cast<size_t>(W) * H);
    if (W < 3 || H < 3)
        return;
    ok.resize(3 * static_cast<size_t>(W));
    auto fill = [&](int y) {   // row y of the test into ring slot y % 3
        const std::uint8_t* c = cur.Row(y);
        const std::uint8_t* k = comp + static_cast<size_t>(y) * W;
        std::uint8_t* o = &ok[static_cast<size_t>(y % 3) * W];
        for (int x = 0; x < W; ++x)
            o[x] = std::abs(c[x] - k[x]) <= threshErr;
    };
    fill(0);
    fill(1);
    for (int y = 1; y < H - 1; ++y) {
        fill(y + 1);
        const std::uint8_t* up = &ok[static_cast<size_t>((y - 1) % 3) * W];
        const std::uint8_t* mid = &ok[static_cast<size_t>(y % 3) * W];
        const std::uint8_t* down = &ok[static_cast<size_t>((y + 1) % 3) * W];
        std::uint8_t* u = use + static_cast<size_t>(y) * W;
        int left = up[0] + mid[0] + down[0];
        int centre = up[1] + mid[1] + down[1];
        for (int x = 1; x < W - 1; ++x) {
            const int right = up[x + 1] + mid[x + 1] + down[x + 1];
            u[x] = mid[x] && left + centre + right > 6;
            left = centre;
            centre = right;
        }
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
    // The compensated frame and which pixels take part, in the estimator's scratch.
    estimation::Workspace& w = scratch;
    const size_t n = static_cast<size_t>(W) * H;
    w.compensated.resize(n);
    w.use.resize(n);
    const ormel::PlaneView comp{w.compensated.data(), W, H, W};
    motion::WarpAffine(Region(previous, W, H), a, comp, motion::BilinearOrder::kEstimator, w.warp,
                       numeric::BestVectorUnit());
    ThresholdUse(Region(current, W, H), w.compensated.data(), threshErr, w.use.data(), w.okRows);
    estimation::NormalEquations sums;
    estimation::SumThresholdForm(Region(current, W, H), Region(previous, W, H),
                                 ormel::ConstPlaneView{w.use.data(), W, H, W}, a, w.increment,
                                 numeric::BestVectorUnit(), &sums);
    OptimizationMethodGradientDescent(sums.M, sums.b, da);
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
    estimation::NormalEquations sums;
    estimation::SumMaskForm(Region(current, W, H), Region(previous, W, H), Region(binObject, W, H),
                            a, scratch.increment, numeric::BestVectorUnit(), &sums);
    OptimizationMethodGradientDescent(sums.M, sums.b, da);
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
