// The estimation drivers: coarse-to-fine estimates, history, prediction and rejection.
#include <cstdio>
#include <string>
#include <vector>

#include "segmentation/BinImage.h"
#include "tests/estimation/EstimatorTestUtil.h"

namespace {

using ormel::YUVImage;

// Frame n of a texture panned by (tx, ty) pixels a frame: the pair (n - 1, n) then
// has the motion (tx, 1, 0, ty, 0, 1).
void PannedFrame(YUVImage& img, int n, double tx, double ty) {
    const double a[6] = {tx * n, 1, 0, ty * n, 0, 1};
    FillTexture(img, a);
}

std::vector<unsigned char> Pixels(BinImage& img) {
    return std::vector<unsigned char>(img.GetArray(ormel::Y_COMP),
                                      img.GetArray(ormel::Y_COMP) + img.GetSize());
}

}  // namespace

struct Estimate : EstimatorTest {
    static const int W = 176, H = 144;
    Estimate() : prev(ormel::YUV420, W, H), cur(ormel::YUV420, W, H), mask(W, H, 0, 255, ormel::quiet) {
        file.SetWidth(W);
        file.SetHeight(H);
    }
    // Runs the pair (n - 1, n) of a pan by (1.5, -0.75); the first pair goes through
    // EstimateFirst. Returns what the estimator printed.
    std::string Pair(BinGlobalMotionEstimator& e, int n, int* err) {
        PannedFrame(prev, n - 1, 1.5, -0.75);
        PannedFrame(cur, n, 1.5, -0.75);
        testing::internal::CaptureStdout();
        if (n == 1)
            e.EstimateFirst(cur, prev, mask, err);
        else
            e.Estimate(cur, prev, mask, err);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    YUVImage prev, cur;
    BinImage mask;
};

TEST_F(Estimate, FirstPairRecoversAKnownAffineMotion) {
    const double identity[6] = {0, 1, 0, 0, 0, 1};
    const double truth[6] = {2.3, 1.01, 0.006, -1.7, -0.006, 1.01};
    FillTexture(prev, identity);
    FillTexture(cur, truth);
    int err = -1;
    testing::internal::CaptureStdout();
    est.EstimateFirst(cur, prev, mask, &err);
    std::fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();

    const std::vector<double> a = est.GetModel().getParameterVector();
    ASSERT_EQ(a.size(), 6u);
    for (int i : {0, 3})
        EXPECT_NEAR(a[i], truth[i], 0.05) << "a[" << i << "]";
    for (int i : {1, 2, 4, 5})
        EXPECT_NEAR(a[i], truth[i], 0.001) << "a[" << i << "]";
    char line[256];
    std::snprintf(line, sizeof line,
                  "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): %f %f %f %f %f %f \n", a[0],
                  a[1], a[2], a[3], a[4], a[5]);
    EXPECT_EQ(out, line);
    ASSERT_EQ(est.previousParameters.size(), 1u);
    EXPECT_EQ(est.previousParameters.back(), a);
    EXPECT_GE(err, 0);
}

TEST_F(Estimate, PredictionStartsOnceTheHistoryHoldsFiveVectors) {
    int err = 0;
    EXPECT_EQ(Pair(est, 1, &err).find("Initial Conditions"), std::string::npos);
    for (int n = 2; n <= 5; ++n) {
        EXPECT_EQ(Pair(est, n, &err).find("Initial Conditions"), std::string::npos) << n;
        EXPECT_EQ(est.previousParameters.size(), static_cast<size_t>(n));
    }
    const std::vector<double> secondOldest = est.previousParameters[1];
    const std::string out = Pair(est, 6, &err);
    EXPECT_EQ(out.rfind("Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n", 0), 0u) << out;
    // A sliding window of the five newest accepted vectors.
    ASSERT_EQ(est.previousParameters.size(), 5u);
    EXPECT_EQ(est.previousParameters.front(), secondOldest);
    EXPECT_EQ(est.previousParameters.back(), est.GetModel().getParameterVector());
    const std::vector<double> a = est.GetModel().getParameterVector();
    EXPECT_NEAR(a[0], 1.5, 0.05);
    EXPECT_NEAR(a[3], -0.75, 0.05);
}

TEST_F(Estimate, LargeChangeOfTheBlockCountKeepsTheLastAcceptedPair) {
    // Two estimators in the same state; the increments do not depend on the error figure,
    // so the one told the true count accepts and shows what the other one computed.
    BinGlobalMotionEstimator twin(3, 0.1, 0.005, 0.1, file);
    int err = 0, twinErr = 0;
    Pair(est, 1, &err);
    const std::vector<unsigned char> firstMask = Pixels(mask);
    Pair(twin, 1, &twinErr);
    Pair(twin, 2, &twinErr);
    ASSERT_GT(twinErr, 0);

    mask.CopyRawDataFrom(const_cast<unsigned char*>(firstMask.data()), mask.GetSize());
    const std::vector<double> model = est.GetModel().getParameterVector();
    err = 0;   // from 0 blocks to any: an infinite relative change
    const std::string out = Pair(est, 2, &err);
    EXPECT_NE(out.find("Estimation failed for this frame!\n"), std::string::npos);
    EXPECT_EQ(err, static_cast<int>(0.7 * 0 + 0.3 * twinErr));
    EXPECT_EQ(est.GetModel().getParameterVector(), model);
    EXPECT_EQ(est.previousParameters.size(), 1u);
    EXPECT_EQ(Pixels(mask), firstMask);
    EXPECT_NE(twin.GetModel().getParameterVector(), model);
}

TEST_F(Estimate, NoBlocksBeforeAndAfterIsAccepted) {
    // A frame smaller than one block has no blocks: 0 / 0 is not a number, which is not
    // above the bound.
    file.SetWidth(7);
    file.SetHeight(6);
    YUVImage p(ormel::YUV420, 7, 6), c(ormel::YUV420, 7, 6);
    BinImage m(7, 6, 0, 255, ormel::quiet);
    FillRandom(p, 5);
    FillRandom(c, 6);
    int err = 0;
    testing::internal::CaptureStdout();
    est.EstimateFirst(c, p, m, &err);
    est.Estimate(c, p, m, &err);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("Estimation failed"), std::string::npos);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(est.previousParameters.size(), 2u);
}

TEST_F(Estimate, OtherPyramidDepthsWork) {
    for (int levels : {1, 2, 4}) {
        BinGlobalMotionEstimator e(levels, 0.1, 0.005, 0.1, file);
        int err = 0;
        Pair(e, 1, &err);
        Pair(e, 2, &err);
        const std::vector<double> a = e.GetModel().getParameterVector();
        EXPECT_NEAR(a[0], 1.5, 0.1) << levels << " levels";
        EXPECT_NEAR(a[3], -0.75, 0.1) << levels << " levels";
    }
}
