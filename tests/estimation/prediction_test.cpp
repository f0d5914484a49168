// The start vector from the parameter history.
#include <algorithm>
#include <cstdio>
#include <string>

#include "numeric/numeric.h"
#include "tests/estimation/EstimatorTestUtil.h"

namespace {

using ormel::YUVImage;

// cur(x, y) = prev at the rounded position of the affine map c, where that lies inside:
// the pair that the linear-term stage scores 0 for c's linear terms.
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

struct Predict : EstimatorTest {
    YUVImage cur{ormel::YUV420, 64, 48}, prev{ormel::YUV420, 64, 48}, mask{ormel::YUV420, 64, 48};
    double hist[5][6];
    double a[6] = {9, 9, 9, 9, 9, 9};

    // Runs the prediction; returns what it printed.
    std::string Run() {
        double* p[5] = {hist[0], hist[1], hist[2], hist[3], hist[4]};
        testing::internal::CaptureStdout();
        est.Predict(cur, prev, mask, p, a);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    void ExpectA(const double* want) {
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(a[i], want[i]) << "a[" << i << "]";
    }
};

}  // namespace

TEST_F(Predict, IdenticalHistoryPicksThePastCandidate) {
    // Past, acceleration and average coincide; the past one comes first of them. The
    // pair moves by the history's motion at a quarter of the size.
    const double v[6] = {8, 1.02, 0, -4, 0, 1.02}, coarse[6] = {2, 1.02, 0, -1, 0, 1.02};
    for (auto& h : hist)
        std::copy(v, v + 6, h);
    RoundedAffinePair(cur, prev, coarse);
    EXPECT_EQ(Run(), "Initial Conditions: a[0] = 2.000000, a[3] = -1.000000 \n");
    ExpectA(coarse);
}

TEST_F(Predict, AllSetMaskGivesTheIdentity) {
    for (int i = 0; i < 5; ++i) {
        const double v[6] = {4.0 * i, 1.01, 0.02, -3.0 * i, -0.01, 0.99};
        std::copy(v, v + 6, hist[i]);
    }
    FillRandom(cur, 1);
    FillRandom(prev, 2);
    FillConstant(mask, 255);
    EXPECT_EQ(Run(), "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n");
    const double id[6] = {0, 1, 0, 0, 0, 1};
    ExpectA(id);
}

TEST_F(Predict, StagesMayPickDifferentCandidates) {
    // History i: translation (2i, -i), linear terms growing by 0.01. At a quarter of the
    // size the translations are zero (0, 0), past (2, -1), acceleration (3, -1) and
    // average (1, -1). The pair moves by the acceleration's translation with the
    // average's linear terms.
    for (int i = 0; i < 5; ++i) {
        const double v[6] = {2.0 * i, 1 + 0.01 * i, 0, -1.0 * i, 0, 1 + 0.01 * i};
        std::copy(v, v + 6, hist[i]);
    }
    double motion[6] = {3, 0, 0, -1, 0, 0};
    for (int j : {1, 2, 4, 5})
        motion[j] = (hist[0][j] + hist[1][j] + hist[2][j] + hist[3][j] + hist[4][j]) / 5.0;
    RoundedAffinePair(cur, prev, motion);
    EXPECT_EQ(Run(), "Initial Conditions: a[0] = 3.000000, a[3] = -1.000000 \n");
    ExpectA(motion);
}
