// The start vector from the parameter history.
#include <algorithm>
#include <cstdio>
#include <string>

#include "numeric/numeric.h"
#include "tests/estimation/EstimatorTestUtil.h"

namespace {

using ormel::YUVImage;

// cur(x, y) = prev at the rounded position of the affine map c (cur's own noise where
// that position lies outside): the pair the linear-term stage scores exactly.
void RoundedAffinePair(YUVImage& cur, YUVImage& prev, const double* c) {
    const int W = prev.Width(ormel::Y_COMP), H = prev.Height(ormel::Y_COMP);
    FillRandom(prev, 41);
    FillRandom(cur, 42);
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            const int xp = CoRound(c[0] + x * c[1] + y * c[2]);
            const int yp = CoRound(c[3] + x * c[4] + y * c[5]);
            if (xp >= 0 && xp < W && yp >= 0 && yp < H)
                cur.Y(x, y) = prev.Y(xp, yp);
        }
}

std::string RunPredict(BinGlobalMotionEstimator& est, YUVImage& cur, YUVImage& prev, YUVImage& mask,
                    double hist[5][6], double* a) {
    double* p[5] = {hist[0], hist[1], hist[2], hist[3], hist[4]};
    testing::internal::CaptureStdout();
    est.Predict(cur, prev, mask, p, a);
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

}  // namespace

using Predict = EstimatorTest;

TEST_F(Predict, IdenticalHistoryPicksThePastCandidate) {
    // Past, acceleration and average coincide; the past one comes first among them.
    double hist[5][6];
    for (auto& h : hist) {
        const double v[6] = {8, 1.02, 0, -4, 0, 1.02};
        std::copy(v, v + 6, h);
    }
    YUVImage cur(ormel::YUV420, 64, 48), prev(ormel::YUV420, 64, 48), mask(ormel::YUV420, 64, 48);
    const double coarse[6] = {2, 1.02, 0, -1, 0, 1.02};   // translation scaled by 1/4
    RoundedAffinePair(cur, prev, coarse);
    double a[6] = {};
    EXPECT_EQ(RunPredict(est, cur, prev, mask, hist, a),
              "Initial Conditions: a[0] = 2.000000, a[3] = -1.000000 \n");
    const double want[6] = {2, 1.02, 0, -1, 0, 1.02};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(a[i], want[i]) << "a[" << i << "]";
}

TEST_F(Predict, AllSetMaskGivesTheIdentity) {
    double hist[5][6];
    for (int i = 0; i < 5; ++i) {
        const double v[6] = {4.0 * i, 1.01, 0.02, -3.0 * i, -0.01, 0.99};
        std::copy(v, v + 6, hist[i]);
    }
    YUVImage cur(ormel::YUV420, 40, 30), prev(ormel::YUV420, 40, 30), mask(ormel::YUV420, 40, 30);
    FillRandom(cur, 1);
    FillRandom(prev, 2);
    FillConstant(mask, 255);
    double a[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(RunPredict(est, cur, prev, mask, hist, a),
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n");
    const double id[6] = {0, 1, 0, 0, 0, 1};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(a[i], id[i]) << "a[" << i << "]";
}

TEST_F(Predict, StagesMayPickDifferentCandidates) {
    // History i: translation (2i, -i), linear terms growing by 0.01 per frame. At a quarter
    // of the size the candidates' translations are zero (0, 0), past (2, -1),
    // acceleration (3, -1) and average (1, -1). The pair moves by the acceleration's
    // translation with the average's linear terms.
    double hist[5][6];
    for (int i = 0; i < 5; ++i) {
        const double v[6] = {2.0 * i, 1 + 0.01 * i, 0, -1.0 * i, 0, 1 + 0.01 * i};
        std::copy(v, v + 6, hist[i]);
    }
    double average[6];
    for (int j = 0; j < 6; ++j)
        average[j] = (hist[0][j] + hist[1][j] + hist[2][j] + hist[3][j] + hist[4][j]) / 5.0;
    const double motion[6] = {3, average[1], average[2], -1, average[4], average[5]};
    YUVImage cur(ormel::YUV420, 64, 48), prev(ormel::YUV420, 64, 48), mask(ormel::YUV420, 64, 48);
    RoundedAffinePair(cur, prev, motion);
    double a[6] = {};
    EXPECT_EQ(RunPredict(est, cur, prev, mask, hist, a),
              "Initial Conditions: a[0] = 3.000000, a[3] = -1.000000 \n");
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(a[i], motion[i]) << "a[" << i << "]";
}

TEST_F(Predict, MaskedPixelsOfThePreviousFrameDoNotCount) {
    // The left quarter of the picture moves by the past candidate's (2, -1), the rest
    // stands still, and the mask covers the still part of the previous frame. Counting
    // only unmasked pixels the past candidate matches exactly and wins; counting all,
    // the zero candidate would match three quarters and win.
    double hist[5][6];
    for (auto& h : hist) {
        const double v[6] = {8, 1, 0, -4, 0, 1};
        std::copy(v, v + 6, h);
    }
    YUVImage cur(ormel::YUV420, 64, 32), prev(ormel::YUV420, 64, 32), mask(ormel::YUV420, 64, 32);
    FillRandom(prev, 7);
    FillRandom(cur, 8);
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 64; ++x) {
            if (x >= 16)
                cur.Y(x, y) = prev.Y(x, y);
            else if (y >= 1)
                cur.Y(x, y) = prev.Y(x + 2, y - 1);
            mask.Y(x, y) = x >= 16 ? 255 : 0;
        }
    double a[6] = {};
    RunPredict(est, cur, prev, mask, hist, a);
    EXPECT_EQ(a[0], 2.0);
    EXPECT_EQ(a[3], -1.0);

    YUVImage none(ormel::YUV420, 64, 32);
    RunPredict(est, cur, prev, none, hist, a);
    EXPECT_EQ(a[0], 0.0);
    EXPECT_EQ(a[3], 0.0);
}
