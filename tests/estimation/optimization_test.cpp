// Translation search and Gauss-Newton increments.
#include <algorithm>
#include <string>
#include <utility>

#include "tests/estimation/EstimatorTestUtil.h"

namespace {

using ormel::YUVImage;

// One pixel's contribution, written out plainly in the order of the formulas.
void AddRef(YUVImage& cur, YUVImage& prev, int x, int y, double dispX, double dispY, double* M,
            double* b) {
    const int x1 = static_cast<int>(std::floor(dispX)), y1 = static_cast<int>(std::floor(dispY));
    const double dk = dispX - x1, dl = dispY - y1;
    const double bilin = prev.Y(x1, y1) * (1 - dk) * (1 - dl) + prev.Y(x1 + 1, y1) * dk * (1 - dl) +
                         prev.Y(x1, y1 + 1) * (1 - dk) * dl + prev.Y(x1 + 1, y1 + 1) * dk * dl;
    const double e = bilin - cur.Y(x, y);
    const double dIdx = (prev.Y(x1 + 1, y1) - prev.Y(x1, y1)) * (1 - dl) +
                        (prev.Y(x1 + 1, y1 + 1) - prev.Y(x1, y1 + 1)) * dl;
    const double dIdy = (prev.Y(x1, y1 + 1) - prev.Y(x1, y1)) * (1 - dk) +
                        (prev.Y(x1 + 1, y1 + 1) - prev.Y(x1 + 1, y1)) * dk;
    const double dedp[6] = {dIdx, x * dIdx, y * dIdx, dIdy, x * dIdy, y * dIdy};
    for (int i = 0; i < 6; ++i) {
        b[i] += dedp[i] * e;
        for (int j = 0; j < 6; ++j)
            M[i * 6 + j] += dedp[i] * dedp[j];
    }
}

// The increment as the plain loops compute it. mask == nullptr: the threshold form (rows
// outer, border skipped, 3 x 3 count afresh); otherwise the mask form (columns outer).
void IncrementRef(BinGlobalMotionEstimator& est, YUVImage& cur, YUVImage& prev, int thr,
                  YUVImage* mask, double* a, double* da) {
    const int W = prev.Width(ormel::Y_COMP), H = prev.Height(ormel::Y_COMP);
    double M[36] = {}, b[6] = {};
    YUVImage comp(prev), diff(prev);
    est.Compensate(prev, a, comp);
    est.Accuracy(cur, comp, diff);
    const int border = mask ? 0 : 1;
    for (int outer = border; outer < (mask ? W : H) - border; ++outer)
        for (int inner = border; inner < (mask ? H : W) - border; ++inner) {
            const int x = mask ? outer : inner, y = mask ? inner : outer;
            const double dispX = a[0] + x * a[1] + y * a[2];
            const double dispY = a[3] + x * a[4] + y * a[5];
            const int x1 = static_cast<int>(std::floor(dispX)), y1 = static_cast<int>(std::floor(dispY));
            if (!(x1 >= 0 && x1 + 1 < W && y1 >= 0 && y1 + 1 < H))
                continue;
            bool skip;
            if (mask) {
                skip = mask->Y(x1, y1) || mask->Y(x1 + 1, y1) || mask->Y(x1, y1 + 1) ||
                       mask->Y(x1 + 1, y1 + 1);
            } else {
                int count = 0;
                for (int j = -1; j <= 1; ++j)
                    for (int i = -1; i <= 1; ++i)
                        count += diff.Y(x + i, y + j) <= thr;
                skip = diff.Y(x, y) > thr || count <= 6;
            }
            if (skip)
                continue;
            AddRef(cur, prev, x, y, dispX, dispY, M, b);
        }
    est.OptimizationMethodGradientDescent(M, b, da);
}

// cur(x, y) = Texture(truth(x, y)), prev(x, y) = Texture(x, y).
void TexturedPair(YUVImage& cur, YUVImage& prev, const double* truth) {
    const double id[6] = {0, 1, 0, 0, 0, 1};
    FillTexture(prev, id);
    FillTexture(cur, truth);
}

void ExpectBitwiseEqual(const double* got, const double* want) {
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(got[i], want[i]) << "da[" << i << "]";
}

}  // namespace

using InitialEstimate = EstimatorTest;

TEST_F(InitialEstimate, ZeroOnIdenticalFramesAndTheFirstCandidateOnUniformOnes) {
    YUVImage a(ormel::YUV420, 180, 144), b(ormel::YUV420, 180, 144);
    double truth[6] = {0, 1, 0, 0, 0, 1}, dx = 9, dy = 9;
    TexturedPair(a, b, truth);
    est.InitialEstimate(a, b, &dx, &dy);
    EXPECT_EQ(std::make_pair(dx, dy), std::make_pair(0.0, 0.0));
    FillConstant(a, 90);
    FillConstant(b, 90);
    est.InitialEstimate(a, b, &dx, &dy);   // every sum is 0: (-4, -4) comes first
    EXPECT_EQ(std::make_pair(dx, dy), std::make_pair(-4.0, -4.0));
}

TEST_F(InitialEstimate, FindsKnownShiftsUpToSevenPixels) {
    YUVImage cur(ormel::YUV420, 180, 144), prev(ormel::YUV420, 180, 144);
    // Steps 4, 2 and 1 reach 7 pixels at most: a shift of 9 is found as 7.
    for (auto [sx, sy] : {std::pair{3, -5}, std::pair{-6, 2}, std::pair{7, 7}, std::pair{9, -9}}) {
        double truth[6] = {double(sx), 1, 0, double(sy), 0, 1}, dx = 0, dy = 0;
        TexturedPair(cur, prev, truth);   // cur(x, y) = prev(x + sx, y + sy)
        est.InitialEstimate(cur, prev, &dx, &dy);
        EXPECT_EQ(std::make_pair(dx, dy),
                  std::make_pair(double(std::clamp(sx, -7, 7)), double(std::clamp(sy, -7, 7))));
    }
}

using MotionAadapt = EstimatorTest;

TEST_F(MotionAadapt, BothFormsMatchThePlainLoopsBitForBit) {
    YUVImage cur(ormel::YUV420, 123, 77), prev(ormel::YUV420, 123, 77), mask(ormel::YUV420, 123, 77);
    double truth[6] = {1.2, 1.01, 0.003, -0.6, -0.002, 0.995};
    TexturedPair(cur, prev, truth);
    // Noise in cur makes the threshold and the count matter; grey traces in the mask
    // stand for a low-passed object.
    std::mt19937 rng(17);
    for (int i = 0; i < 1500; ++i)
        cur.Y(rng() % 123, rng() % 77) = static_cast<unsigned char>(rng() % 256);
    for (int i = 0; i < 300; ++i)
        mask.Y(rng() % 123, rng() % 77) = static_cast<unsigned char>(1 + rng() % 255);
    double starts[][6] = {{0, 1, 0, 0, 0, 1}, {2.5, 0.97, 0.02, 1.5, -0.01, 1.03}};
    for (auto& a : starts) {
        double da[6], ref[6];
        for (int thr : {0, 12, 255}) {
            SCOPED_TRACE("threshold " + std::to_string(thr) + ", a[0] " + std::to_string(a[0]));
            est.MotionAadapt(cur, prev, thr, a, da);
            IncrementRef(est, cur, prev, thr, nullptr, a, ref);
            ExpectBitwiseEqual(da, ref);
        }
        SCOPED_TRACE("mask, a[0] " + std::to_string(a[0]));
        est.MotionAadapt(cur, prev, mask, a, da);
        IncrementRef(est, cur, prev, 0, &mask, a, ref);
        ExpectBitwiseEqual(da, ref);
    }
}

TEST_F(MotionAadapt, NoAcceptedPixelGivesZeroIncrement) {
    YUVImage cur(ormel::YUV420, 40, 30), prev(ormel::YUV420, 40, 30), mask(ormel::YUV420, 40, 30);
    double truth[6] = {1, 1, 0, 1, 0, 1}, a[6] = {0, 1, 0, 0, 0, 1}, da[2][6];
    TexturedPair(cur, prev, truth);
    FillConstant(mask, 255);
    est.MotionAadapt(cur, prev, -1, a, da[0]);   // every pixel an outlier
    est.MotionAadapt(cur, prev, mask, a, da[1]); // every pixel an object
    for (auto& d : da)
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(d[i], 0.0);
}

TEST_F(MotionAadapt, ThresholdIncrementsConvergeToAKnownAffineMotion) {
    YUVImage cur(ormel::YUV420, 240, 180), prev(ormel::YUV420, 240, 180);
    const double truth[6] = {1.3, 1.01, 0.005, -0.7, -0.004, 0.99};
    TexturedPair(cur, prev, truth);
    double a[6] = {0, 1, 0, 0, 0, 1};
    for (int it = 0; it < 20; ++it) {
        double da[6];
        est.MotionAadapt(cur, prev, 255, a, da);
        for (int i = 0; i < 6; ++i)
            a[i] += da[i];
    }
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(a[i], truth[i], i % 3 == 0 ? 0.05 : 0.001) << "a[" << i << "]";
}

TEST_F(MotionAadapt, MaskFormIgnoresPixelsWhoseNeighboursTouchTheMask) {
    // Noise in the previous frame, covered exactly by the mask: no accepted pixel reads
    // it, so the increment is bit for bit the one of the clean frame.
    YUVImage cur(ormel::YUV420, 160, 120), prev(ormel::YUV420, 160, 120);
    YUVImage dirty(ormel::YUV420, 160, 120), mask(ormel::YUV420, 160, 120), none(ormel::YUV420, 160, 120);
    double truth[6] = {0.6, 1.0, 0.0, -1.2, 0.0, 1.0}, a[6] = {0.3, 1.0, 0.0, -0.4, 0.0, 1.0};
    TexturedPair(cur, prev, truth);
    dirty.CopyFrom(prev, ormel::Y_COMP);
    std::mt19937 rng(5);
    for (int y = 50; y < 80; ++y)
        for (int x = 60; x < 100; ++x) {
            dirty.Y(x, y) = static_cast<unsigned char>(rng() % 256);
            mask.Y(x, y) = 255;
        }
    double clean[6], masked[6], unmasked[6];
    est.MotionAadapt(cur, prev, mask, a, clean);
    est.MotionAadapt(cur, dirty, mask, a, masked);
    est.MotionAadapt(cur, dirty, none, a, unmasked);
    ExpectBitwiseEqual(masked, clean);
    EXPECT_NE(unmasked[0], clean[0]);   // without the mask the noise does disturb it
}
