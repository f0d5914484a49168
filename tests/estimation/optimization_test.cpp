// Translation search, Gauss-Newton increments and the least-squares solve.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/estimation/EstimatorTestUtil.h"

namespace {

using ormel::YUVImage;

// The per-pixel contribution, written out as plainly as possible.
void AddRef(YUVImage& cur, YUVImage& prev, int x, int y, int x1, int y1, double dk, double dl,
            double* M, double* b) {
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
        for (int j = 0; j <= i; ++j)
            M[i * 6 + j] += dedp[i] * dedp[j];
    }
}

void SolveRef(BinGlobalMotionEstimator& est, double* M, double* b, double* da) {
    for (int i = 0; i < 6; ++i)
        for (int j = i + 1; j < 6; ++j)
            M[i * 6 + j] = M[j * 6 + i];
    est.OptimizationMethodGradientDescent(M, b, da);
}

// Threshold form: rows outer, one-pixel border skipped, the 3 x 3 count taken afresh.
void ThresholdRef(BinGlobalMotionEstimator& est, YUVImage& cur, YUVImage& prev, int thr, double* a,
                  double* da) {
    const int W = prev.Width(ormel::Y_COMP), H = prev.Height(ormel::Y_COMP);
    double M[36] = {}, b[6] = {};
    YUVImage comp(prev), diff(prev);
    est.Compensate(prev, a, comp);
    est.Accuracy(cur, comp, diff);
    for (int y = 1; y <= H - 2; ++y)
        for (int x = 1; x <= W - 2; ++x) {
            const double dispX = a[0] + x * a[1] + y * a[2];
            const double dispY = a[3] + x * a[4] + y * a[5];
            const int x1 = static_cast<int>(std::floor(dispX));
            const int y1 = static_cast<int>(std::floor(dispY));
            if (!(x1 >= 0 && x1 + 1 < W && y1 >= 0 && y1 + 1 < H))
                continue;
            if (diff.Y(x, y) > thr)
                continue;
            int count = 0;
            for (int j = -1; j <= 1; ++j)
                for (int i = -1; i <= 1; ++i)
                    count += diff.Y(x + i, y + j) <= thr;
            if (count <= 6)
                continue;
            AddRef(cur, prev, x, y, x1, y1, dispX - x1, dispY - y1, M, b);
        }
    SolveRef(est, M, b, da);
}

// Mask form: columns outer, every pixel, the mask read at the four neighbours.
void MaskRef(BinGlobalMotionEstimator& est, YUVImage& cur, YUVImage& prev, YUVImage& mask, double* a,
             double* da) {
    const int W = prev.Width(ormel::Y_COMP), H = prev.Height(ormel::Y_COMP);
    double M[36] = {}, b[6] = {};
    for (int x = 0; x <= W - 1; ++x)
        for (int y = 0; y <= H - 1; ++y) {
            const double dispX = a[0] + x * a[1] + y * a[2];
            const double dispY = a[3] + x * a[4] + y * a[5];
            const int x1 = static_cast<int>(std::floor(dispX));
            const int y1 = static_cast<int>(std::floor(dispY));
            if (!(x1 >= 0 && x1 + 1 < W && y1 >= 0 && y1 + 1 < H))
                continue;
            if (mask.Y(x1, y1) != 0 || mask.Y(x1 + 1, y1) != 0 || mask.Y(x1, y1 + 1) != 0 ||
                mask.Y(x1 + 1, y1 + 1) != 0)
                continue;
            AddRef(cur, prev, x, y, x1, y1, dispX - x1, dispY - y1, M, b);
        }
    SolveRef(est, M, b, da);
}

// The search written plainly: three rounds, a running minimum never reset.
void InitialRef(YUVImage& cur, YUVImage& prev, double* dx, double* dy) {
    const int W = cur.Width(ormel::Y_COMP), H = cur.Height(ormel::Y_COMP);
    long minerr = 100000000;
    int x0 = 0, y0 = 0, mx = 0, my = 0;
    for (int step = 4; step > 0; step /= 2) {
        for (int sx = x0 - step; sx <= x0 + step; sx += step)
            for (int sy = y0 - step; sy <= y0 + step; sy += step) {
                long err = 0;
                for (int y = 0; y < H; ++y)
                    for (int x = 0; x < W; ++x)
                        if (x + sx >= 0 && x + sx < W && y + sy >= 0 && y + sy < H)
                            err += std::abs(prev.Y(x + sx, y + sy) - cur.Y(x, y));
                if (err < minerr) {
                    minerr = err;
                    mx = sx;
                    my = sy;
                }
            }
        x0 = mx;
        y0 = my;
    }
    *dx = x0;
    *dy = y0;
}

// A textured pair: cur(x, y) = Texture(truth(x, y)) and prev(x, y) = Texture(x, y).
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

TEST_F(InitialEstimate, IdenticalTexturedFramesGiveZero) {
    YUVImage a(ormel::YUV420, 180, 144), b(ormel::YUV420, 180, 144);
    double id[6] = {0, 1, 0, 0, 0, 1};
    FillTexture(a, id);
    FillTexture(b, id);
    double dx = 9, dy = 9;
    est.InitialEstimate(a, b, &dx, &dy);
    EXPECT_EQ(dx, 0.0);
    EXPECT_EQ(dy, 0.0);
}

TEST_F(InitialEstimate, UniformFramesKeepTheFirstCandidate) {
    YUVImage a(ormel::YUV420, 180, 144), b(ormel::YUV420, 180, 144);
    FillConstant(a, 90);
    FillConstant(b, 90);
    double dx = 0, dy = 0;
    est.InitialEstimate(a, b, &dx, &dy);
    EXPECT_EQ(dx, -4.0);
    EXPECT_EQ(dy, -4.0);
}

TEST_F(InitialEstimate, FindsAKnownIntegerShift) {
    for (auto [sx, sy] : {std::pair{3, -5}, std::pair{-6, 2}, std::pair{7, 7}, std::pair{0, 1}}) {
        YUVImage cur(ormel::YUV420, 180, 144), prev(ormel::YUV420, 180, 144);
        double truth[6] = {static_cast<double>(sx), 1, 0, static_cast<double>(sy), 0, 1};
        TexturedPair(cur, prev, truth);   // cur(x, y) = prev(x + sx, y + sy)
        double dx = 0, dy = 0;
        est.InitialEstimate(cur, prev, &dx, &dy);
        EXPECT_EQ(dx, sx) << "shift " << sx << ", " << sy;
        EXPECT_EQ(dy, sy) << "shift " << sx << ", " << sy;
    }
}

TEST_F(InitialEstimate, MatchesThePlainSearchWithinSevenPixels) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        const int w = 20 + 7 * static_cast<int>(seed), h = 15 + 5 * static_cast<int>(seed);
        YUVImage cur(ormel::YUV420, w, h), prev(ormel::YUV420, w, h);
        FillRandom(cur, seed, 0, 40 * static_cast<int>(seed));
        FillRandom(prev, seed + 100, 0, 40 * static_cast<int>(seed));
        double dx = 99, dy = 99, rx = 0, ry = 0;
        est.InitialEstimate(cur, prev, &dx, &dy);
        InitialRef(cur, prev, &rx, &ry);
        EXPECT_EQ(dx, rx) << "seed " << seed;
        EXPECT_EQ(dy, ry) << "seed " << seed;
        EXPECT_TRUE(dx >= -7 && dx <= 7 && dx == std::floor(dx)) << dx;
        EXPECT_TRUE(dy >= -7 && dy <= 7 && dy == std::floor(dy)) << dy;
    }
}

using MotionAadapt = EstimatorTest;

TEST_F(MotionAadapt, ThresholdFormMatchesThePlainLoopBitForBit) {
    YUVImage cur(ormel::YUV420, 123, 77), prev(ormel::YUV420, 123, 77);
    double truth[6] = {1.2, 1.01, 0.003, -0.6, -0.002, 0.995};
    TexturedPair(cur, prev, truth);
    // Noise makes the threshold and the neighbourhood count matter.
    std::mt19937 rng(17);
    for (int i = 0; i < 1500; ++i)
        cur.Y(static_cast<int>(rng() % 123), static_cast<int>(rng() % 77)) =
            static_cast<unsigned char>(rng() % 256);
    double starts[][6] = {{0, 1, 0, 0, 0, 1}, {1.0, 1.0, 0.0, -0.5, 0.0, 1.0},
                          {2.5, 0.97, 0.02, 1.5, -0.01, 1.03}};
    for (auto& a : starts)
        for (int thr : {0, 3, 12, 40, 255}) {
            double da[6], ref[6];
            est.MotionAadapt(cur, prev, thr, a, da);
            ThresholdRef(est, cur, prev, thr, a, ref);
            SCOPED_TRACE("threshold " + std::to_string(thr) + ", a[0] " + std::to_string(a[0]));
            ExpectBitwiseEqual(da, ref);
        }
}

TEST_F(MotionAadapt, MaskFormMatchesThePlainLoopBitForBit) {
    YUVImage cur(ormel::YUV420, 131, 70), prev(ormel::YUV420, 131, 70), mask(ormel::YUV420, 131, 70);
    double truth[6] = {-0.8, 0.99, -0.004, 0.9, 0.003, 1.006};
    TexturedPair(cur, prev, truth);
    // A sparse mask with grey traces, as a low-passed mask has at coarse levels.
    std::mt19937 rng(23);
    for (int i = 0; i < 300; ++i)
        mask.Y(static_cast<int>(rng() % 131), static_cast<int>(rng() % 70)) =
            static_cast<unsigned char>(1 + rng() % 255);
    double starts[][6] = {{0, 1, 0, 0, 0, 1}, {-1.5, 1.01, 0.01, 2.0, -0.02, 0.98}};
    for (auto& a : starts) {
        double da[6], ref[6];
        est.MotionAadapt(cur, prev, mask, a, da);
        MaskRef(est, cur, prev, mask, a, ref);
        SCOPED_TRACE("a[0] " + std::to_string(a[0]));
        ExpectBitwiseEqual(da, ref);
    }
}

TEST_F(MotionAadapt, NoAcceptedPixelGivesZeroIncrement) {
    YUVImage cur(ormel::YUV420, 40, 30), prev(ormel::YUV420, 40, 30), mask(ormel::YUV420, 40, 30);
    double truth[6] = {1, 1, 0, 1, 0, 1};
    TexturedPair(cur, prev, truth);
    double a[6] = {0, 1, 0, 0, 0, 1};
    double da[6] = {1, 1, 1, 1, 1, 1};
    est.MotionAadapt(cur, prev, -1, a, da);   // every pixel an outlier
    for (double d : da)
        EXPECT_EQ(d, 0.0);

    FillConstant(mask, 255);                  // every pixel an object
    std::fill(da, da + 6, 1.0);
    est.MotionAadapt(cur, prev, mask, a, da);
    for (double d : da)
        EXPECT_EQ(d, 0.0);

    double away[6] = {500, 1, 0, 0, 0, 1};    // every position outside
    std::fill(da, da + 6, 1.0);
    est.MotionAadapt(cur, prev, 255, away, da);
    for (double d : da)
        EXPECT_EQ(d, 0.0);
    YUVImage none(ormel::YUV420, 40, 30);
    std::fill(da, da + 6, 1.0);
    est.MotionAadapt(cur, prev, none, away, da);
    for (double d : da)
        EXPECT_EQ(d, 0.0);
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
    EXPECT_NEAR(a[0], truth[0], 0.05);
    EXPECT_NEAR(a[3], truth[3], 0.05);
    for (int i : {1, 2, 4, 5})
        EXPECT_NEAR(a[i], truth[i], 0.001) << "a[" << i << "]";
}

TEST_F(MotionAadapt, MaskFormIgnoresPixelsWhoseNeighboursTouchTheMask) {
    // An object of noise in the previous frame, covered exactly by the mask: no accepted
    // pixel reads it, so the increment is the one of the clean frame, bit for bit.
    YUVImage cur(ormel::YUV420, 160, 120), prev(ormel::YUV420, 160, 120);
    YUVImage dirty(ormel::YUV420, 160, 120), mask(ormel::YUV420, 160, 120);
    double truth[6] = {0.6, 1.0, 0.0, -1.2, 0.0, 1.0};
    TexturedPair(cur, prev, truth);
    dirty.CopyFrom(prev, ormel::Y_COMP);
    std::mt19937 rng(5);
    for (int y = 50; y < 80; ++y)
        for (int x = 60; x < 100; ++x) {
            dirty.Y(x, y) = static_cast<unsigned char>(rng() % 256);
            mask.Y(x, y) = 255;
        }
    double a[6] = {0.3, 1.0, 0.0, -0.4, 0.0, 1.0};
    double clean[6], masked[6], unmasked[6];
    est.MotionAadapt(cur, prev, mask, a, clean);
    est.MotionAadapt(cur, dirty, mask, a, masked);
    ExpectBitwiseEqual(masked, clean);
    YUVImage empty(ormel::YUV420, 160, 120);
    est.MotionAadapt(cur, dirty, empty, a, unmasked);
    EXPECT_NE(unmasked[0], clean[0]);   // without the mask the object does disturb it
}

TEST_F(MotionAadapt, PixelAboveTheThresholdIsNeverUsed) {
    // One pixel far off the prediction: whatever its value, the increment is the same,
    // since it is dropped (its neighbours still count 8 of 9 and stay).
    YUVImage cur(ormel::YUV420, 50, 40), prev(ormel::YUV420, 50, 40);
    double truth[6] = {0.4, 1, 0, 0.3, 0, 1};
    TexturedPair(cur, prev, truth);
    ASSERT_TRUE(cur.Y(20, 20) > 40 && cur.Y(20, 20) < 215);
    double a[6] = {0.4, 1, 0, 0.3, 0, 1};
    double low[6], high[6], used[6];
    cur.Y(20, 20) = 0;
    est.MotionAadapt(cur, prev, 20, a, low);
    cur.Y(20, 20) = 255;
    est.MotionAadapt(cur, prev, 20, a, high);
    ExpectBitwiseEqual(high, low);
    est.MotionAadapt(cur, prev, 255, a, used);
    EXPECT_NE(used[0], high[0]);
}

using GaussNewtonSolve = EstimatorTest;

TEST_F(GaussNewtonSolve, SolvesTheNormalEquationsWithANegatedRightHandSide) {
    std::mt19937 rng(2);
    std::uniform_real_distribution<double> u(-1, 1);
    double J[10][6];
    for (auto& row : J)
        for (double& v : row)
            v = u(rng);
    double M[36] = {}, b[6] = {1, -2, 0.5, 3, -1, 0.25};
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j)
            for (int k = 0; k < 10; ++k)
                M[i * 6 + j] += J[k][i] * J[k][j];
    double da[6];
    est.OptimizationMethodGradientDescent(M, b, da);
    for (int i = 0; i < 6; ++i) {
        double r = b[i];
        for (int j = 0; j < 6; ++j)
            r += M[i * 6 + j] * da[j];
        EXPECT_NEAR(r, 0.0, 1e-10) << "row " << i;
    }
}
