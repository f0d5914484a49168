// Shared by the estimator tests: an estimator on an unopened 4:2:0 sequence description,
// deterministic test pictures, a per-sample comparison and captured standard output.
// Each test file includes only this header.
#ifndef TESTS_ESTIMATION_ESTIMATORTESTUTIL_H
#define TESTS_ESTIMATION_ESTIMATORTESTUTIL_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/PredictionError.h"
#include "estimation/ThresholdUse.h"
#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "numeric/numeric.h"
#include "segmentation/BinImage.h"

using ormel::YUVImage;

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

inline const double kIdentity[6] = {0, 1, 0, 0, 0, 1};

// Six parameters as a vector, to compare and print them at once.
inline std::vector<double> Six(const double* a) { return {a, a + 6}; }

// img(x, y) = value(x, y) over the luminance plane, rows outer.
template <class F>
void Fill(YUVImage& img, F value) {
    for (int y = 0; y < img.Height(ormel::Y_COMP); ++y)
        for (int x = 0; x < img.Width(ormel::Y_COMP); ++x)
            img.Y(x, y) = static_cast<unsigned char>(value(x, y));
}

inline void FillConstant(YUVImage& img, int v) { Fill(img, [v](int, int) { return v; }); }

inline void FillRandom(YUVImage& img, unsigned seed, int lo = 0, int hi = 255) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> value(lo, hi);
    Fill(img, [&](int, int) { return value(rng); });
}

// A smooth texture (wavelengths of 20 to 50 pixels), defined at any real position.
inline double Texture(double x, double y) {
    return 128.0 + 45.0 * std::sin(0.21 * x + 0.05 * y) + 35.0 * std::cos(0.13 * y - 0.07 * x) +
           20.0 * std::sin(0.17 * (x + y) + 1.0);
}

// img(x, y) = Texture at the affine position of (x, y), rounded to 8 bits.
inline void FillTexture(YUVImage& img, const double* a) {
    Fill(img, [a](int x, int y) {
        return std::lround(Texture(a[0] + a[1] * x + a[2] * y, a[3] + a[4] * x + a[5] * y));
    });
}

// cur(x, y) = Texture(truth(x, y)), prev(x, y) = Texture(x, y): truth is the pair's motion.
inline void TexturedPair(YUVImage& cur, YUVImage& prev, const double* truth) {
    FillTexture(prev, kIdentity);
    FillTexture(cur, truth);
}

// Every luminance sample equals want(x, y); stops at the first mismatch and names it.
template <class F>
void ExpectLuma(YUVImage& img, F want) {
    for (int y = 0; y < img.Height(ormel::Y_COMP); ++y)
        for (int x = 0; x < img.Width(ormel::Y_COMP); ++x)
            ASSERT_EQ(img.Y(x, y), want(x, y)) << "at " << x << ", " << y;
}

// What call printed on standard output.
template <class F>
std::string Printed(F call) {
    testing::internal::CaptureStdout();
    call();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

#endif
