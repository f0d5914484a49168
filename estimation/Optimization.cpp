// BinGlobalMotionEstimator: the integer translation search, the two Gauss-Newton
// increment forms and the 6 x 6 least-squares solve.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#endif

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/IncrementSums.h"
#include "estimation/PlaneCheck.h"
#include "estimation/ThresholdUse.h"
#include "image/PlaneView.h"
#include "motion/AffineWarp.h"
#include "numeric/VectorUnit.h"
#include "numeric/numeric.h"

using estimation::Covers;

namespace {

constexpr int kDim = 6;

// Sum of |previous(x + dx, y + dy) - current(x, y)| over the pixels of current whose
// shifted position lies inside current's size. An integer sum: any order gives it.
long long ShiftedSad(const ormel::PlaneView& cur, const ormel::PlaneView& prev, int dx, int dy) {
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
        int x = x0;
#if defined(__SSE2__) && defined(__x86_64__)
        // Sums of absolute differences of sixteen bytes into two 64-bit lanes.
        __m128i lanes = _mm_setzero_si128();
        for (; x + 16 <= x1; x += 16)
            lanes = _mm_add_epi64(
                lanes, _mm_sad_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + x)),
                                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + x))));
        sum += _mm_cvtsi128_si64(lanes) + _mm_cvtsi128_si64(_mm_unpackhi_epi64(lanes, lanes));
#endif
        for (; x < x1; ++x)
            sum += std::abs(p[x] - c[x]);
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

}  // namespace

void BinGlobalMotionEstimator::InitialEstimate(ormel::YUVImage& current, ormel::YUVImage& previous,
                                               double* dx, double* dy) {
    const ormel::PlaneView cur = ormel::LumaView(current);
    const ormel::PlaneView prev = ormel::LumaView(previous);
    if (!Covers(prev, cur.width, cur.height, "InitialEstimate", "previous"))
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
    const ormel::PlaneView cur = ormel::LumaView(current);
    const ormel::PlaneView prev = ormel::LumaView(previous);
    const int W = prev.width;
    const int H = prev.height;
    // The difference image spans current and is read over previous: the two must agree.
    if (!Covers(cur, W, H, "MotionAadapt", "current") ||
        !Covers(prev, cur.width, cur.height, "MotionAadapt", "previous")) {
        for (int i = 0; i < kDim; ++i)
            da[i] = 0.0;
        return;
    }
    // The compensated frame, then in its place which pixels take part.
    estimation::Workspace& w = scratch;
    w.compensated.resize(static_cast<size_t>(W) * H);
    const ormel::PlaneView comp{w.compensated.data(), W, H, W};
    motion::WarpAffine(Region(previous, W, H), a, comp, motion::BilinearOrder::kEstimator, w.warp,
                       numeric::BestVectorUnit());
    estimation::MarkThresholdUse(Region(current, W, H), w.compensated.data(), threshErr, w.okRows,
                                 numeric::BestVectorUnit());
    estimation::NormalEquations sums;
    estimation::SumThresholdForm(Region(current, W, H), Region(previous, W, H),
                                 ormel::ConstView(comp), a, w.increment,
                                 numeric::BestVectorUnit(), &sums);
    OptimizationMethodGradientDescent(sums.M, sums.b, da);
}

void BinGlobalMotionEstimator::MotionAadapt(ormel::YUVImage& current, ormel::YUVImage& previous,
                                            ormel::YUVImage& binObject, double* a, double* da) {
    const ormel::PlaneView cur = ormel::LumaView(current);
    const ormel::PlaneView prev = ormel::LumaView(previous);
    const ormel::PlaneView mask = ormel::LumaView(binObject);
    const int W = prev.width;
    const int H = prev.height;
    if (!Covers(cur, W, H, "MotionAadapt", "current") ||
        !Covers(mask, W, H, "MotionAadapt", "binObject")) {
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
    // The solver indexes from 1: rows and vectors of kDim + 1 doubles with element 0
    // unused, on the stack.
    double mStore[kDim + 1][kDim + 1] = {};
    double vStore[kDim + 1][kDim + 1] = {};
    double* MM[kDim + 1];
    double* v[kDim + 1];
    double wsqr[kDim + 1] = {};
    double x[kDim + 1] = {};
    double bb[kDim + 1] = {};
    for (int i = 0; i <= kDim; ++i) {
        MM[i] = mStore[i];
        v[i] = vStore[i];
    }
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
}
