// Shared by the estimator benchmarks: a 720 x 576 frame pair related by a small affine
// motion, on a smooth texture, and an estimator on an unopened 4:2:0 sequence.
#ifndef BENCH_ESTIMATION_BENCHFRAMES_H
#define BENCH_ESTIMATION_BENCHFRAMES_H

#include <cmath>

#include "estimation/BinGlobalMotionEstimator.h"
#include "image/VidsFile.h"
#include "image/YUVImage.h"

constexpr int kWidth = 720;
constexpr int kHeight = 576;

inline void FillTexture(ormel::YUVImage& img, const double* a) {
    unsigned char* p = img.GetArray(ormel::Y_COMP);
    const int W = img.Width(ormel::Y_COMP);
    for (int y = 0; y < img.Height(ormel::Y_COMP); ++y)
        for (int x = 0; x < W; ++x) {
            const double u = a[0] + a[1] * x + a[2] * y;
            const double v = a[3] + a[4] * x + a[5] * y;
            const double t = 128.0 + 45.0 * std::sin(0.21 * u + 0.05 * v) +
                             35.0 * std::cos(0.13 * v - 0.07 * u) + 20.0 * std::sin(0.17 * (u + v));
            p[y * W + x] = static_cast<unsigned char>(std::lround(t));
        }
}

struct BenchFrames {
    ormel::VidsFile file;
    BinGlobalMotionEstimator est;
    ormel::YUVImage cur;
    ormel::YUVImage prev;

    BenchFrames()
        : file(), est(3, 0.1, 0.005, 0.1, file), cur(ormel::YUV420, kWidth, kHeight),
          prev(ormel::YUV420, kWidth, kHeight) {
        file.SetWidth(kWidth);
        file.SetHeight(kHeight);
        file.SetSamplingMatrices(ormel::YUV420, false);
        const double id[6] = {0, 1, 0, 0, 0, 1};
        const double motion[6] = {1.3, 1.002, 0.004, -0.7, -0.004, 1.002};
        FillTexture(prev, id);
        FillTexture(cur, motion);
    }
};

#endif
