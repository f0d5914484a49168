// Shared by the estimator tests: an estimator on an unopened 4:2:0 sequence description,
// deterministic test pictures and a plain pixel comparison.
#ifndef TESTS_ESTIMATION_ESTIMATORTESTUTIL_H
#define TESTS_ESTIMATION_ESTIMATORTESTUTIL_H

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "estimation/BinGlobalMotionEstimator.h"
#include "image/VidsFile.h"
#include "image/YUVImage.h"

// The sequence file only supplies the chroma format of scratch images; nothing is opened.
struct EstimatorTest : testing::Test {
    EstimatorTest() : file(), est(3, 0.1, 0.005, 0.1, file) {
        file.SetWidth(352);
        file.SetHeight(288);
        file.SetSamplingMatrices(ormel::YUV420, false);
    }
    ormel::VidsFile file;
    BinGlobalMotionEstimator est;
};

inline void FillConstant(ormel::YUVImage& img, unsigned char v) {
    for (int y = 0; y < img.Height(ormel::Y_COMP); ++y)
        for (int x = 0; x < img.Width(ormel::Y_COMP); ++x)
            img.Y(x, y) = v;
}

inline void FillRandom(ormel::YUVImage& img, unsigned seed, int lo = 0, int hi = 255) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> value(lo, hi);
    for (int y = 0; y < img.Height(ormel::Y_COMP); ++y)
        for (int x = 0; x < img.Width(ormel::Y_COMP); ++x)
            img.Y(x, y) = static_cast<unsigned char>(value(rng));
}

// A smooth texture (wavelengths of 20 to 50 pixels), defined at any real position.
inline double Texture(double x, double y) {
    return 128.0 + 45.0 * std::sin(0.21 * x + 0.05 * y) + 35.0 * std::cos(0.13 * y - 0.07 * x) +
           20.0 * std::sin(0.17 * (x + y) + 1.0);
}

// img(x, y) = Texture at the affine position of (x, y), rounded to 8 bits.
inline void FillTexture(ormel::YUVImage& img, const double* a) {
    for (int y = 0; y < img.Height(ormel::Y_COMP); ++y)
        for (int x = 0; x < img.Width(ormel::Y_COMP); ++x) {
            const double v = Texture(a[0] + a[1] * x + a[2] * y, a[3] + a[4] * x + a[5] * y);
            img.Y(x, y) = static_cast<unsigned char>(std::lround(v));
        }
}

#endif
