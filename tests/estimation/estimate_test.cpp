// The estimation drivers: coarse-to-fine estimates, history, prediction and rejection.
#include "tests/estimation/EstimatorTestUtil.h"

using Params = std::vector<double>;

struct Estimate : EstimatorTest {
    static const int W = 176, H = 144;
    Estimate() {
        file.SetWidth(W);
        file.SetHeight(H);
    }
    // Runs the pair (n - 1, n) of a texture panned by (1.5, -0.75) a frame, the first pair
    // through EstimateFirst; returns what the estimator printed.
    std::string Pair(BinGlobalMotionEstimator& e, int n, int* err) {
        const double from[6] = {1.5 * (n - 1), 1, 0, -0.75 * (n - 1), 0, 1};
        const double to[6] = {1.5 * n, 1, 0, -0.75 * n, 0, 1};
        FillTexture(prev, from);
        FillTexture(cur, to);
        return Printed([&] {
            n == 1 ? e.EstimateFirst(cur, prev, mask, err) : e.Estimate(cur, prev, mask, err);
        });
    }
    std::vector<unsigned char> MaskPixels() {
        unsigned char* p = mask.GetArray(ormel::Y_COMP);
        return {p, p + mask.GetSize()};
    }
    YUVImage prev{ormel::YUV420, W, H}, cur{ormel::YUV420, W, H};
    BinImage mask{W, H, 0, 255, ormel::quiet};
};

TEST_F(Estimate, FirstPairRecoversAKnownAffineMotion) {
    const double truth[6] = {2.3, 1.01, 0.006, -1.7, -0.006, 1.01};
    TexturedPair(cur, prev, truth);
    int err = -1;
    const std::string out = Printed([&] { est.EstimateFirst(cur, prev, mask, &err); });
    const Params a = est.GetModel().getParameterVector();
    ASSERT_EQ(a.size(), 6u);
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(a[i], truth[i], i % 3 == 0 ? 0.05 : 0.001) << "a[" << i << "]";
    char line[256];
    std::snprintf(line, sizeof line,
                  "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): %f %f %f %f %f %f \n", a[0],
                  a[1], a[2], a[3], a[4], a[5]);
    EXPECT_EQ(out, line);
    EXPECT_EQ(est.previousParameters, std::deque<Params>{a});
    EXPECT_GE(err, 0);
}

TEST_F(Estimate, PredictionStartsOnceTheHistoryHoldsFiveVectorsAtAnyDepth) {
    for (int levels : {3, 1, 2, 4}) {
        SCOPED_TRACE(std::to_string(levels) + " levels");
        BinGlobalMotionEstimator e(levels, 0.1, 0.005, 0.1, file);
        int err = 0;
        for (int n = 1; n <= 5; ++n) {
            EXPECT_EQ(Pair(e, n, &err).find("Initial Conditions"), std::string::npos) << n;
            EXPECT_EQ(e.previousParameters.size(), static_cast<size_t>(n));
        }
        const Params secondOldest = e.previousParameters[1];
        const std::string out = Pair(e, 6, &err);
        EXPECT_EQ(out.rfind("Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n", 0), 0u) << out;
        // A sliding window of the five newest accepted vectors.
        const Params a = e.GetModel().getParameterVector();
        ASSERT_EQ(e.previousParameters.size(), 5u);
        EXPECT_EQ(e.previousParameters.front(), secondOldest);
        EXPECT_EQ(e.previousParameters.back(), a);
        EXPECT_NEAR(a[0], 1.5, 0.05);
        EXPECT_NEAR(a[3], -0.75, 0.05);
    }
}

TEST_F(Estimate, ReusedPyramidsGiveTheSameEstimates) {
    // The promise kept on every later pair, through the start from the history; a twin
    // builds every pyramid afresh. Mask and block count go from one pair to the next.
    BinGlobalMotionEstimator twin(3, 0.1, 0.005, 0.1, file);
    BinImage twinMask{W, H, 0, 255, ormel::quiet};
    int err = 0, twinErr = 0;
    for (int n = 1; n <= 7; ++n) {
        if (n > 1)
            est.PreviousIsLastCurrent();
        const std::string out = Pair(est, n, &err);
        const std::vector<unsigned char> kept = MaskPixels();
        mask.CopyRawDataFrom(twinMask.GetArray(ormel::Y_COMP), mask.GetSize());
        EXPECT_EQ(Pair(twin, n, &twinErr), out) << n;
        twinMask.CopyRawDataFrom(mask.GetArray(ormel::Y_COMP), mask.GetSize());
        mask.CopyRawDataFrom(const_cast<unsigned char*>(kept.data()), mask.GetSize());
        EXPECT_EQ(twin.GetModel().getParameterVector(), est.GetModel().getParameterVector()) << n;
        EXPECT_EQ(twinErr, err) << n;
        EXPECT_EQ(std::vector<unsigned char>(twinMask.GetArray(ormel::Y_COMP),
                                             twinMask.GetArray(ormel::Y_COMP) + mask.GetSize()),
                  kept) << n;
    }
}

TEST_F(Estimate, LargeChangeOfTheBlockCountKeepsTheLastAcceptedPair) {
    // Two estimators in the same state; the increments do not depend on the error figure,
    // so the one told the true count accepts and shows what the other one computed.
    BinGlobalMotionEstimator twin(3, 0.1, 0.005, 0.1, file);
    int err = 0, twinErr = 0;
    Pair(est, 1, &err);
    std::vector<unsigned char> firstMask = MaskPixels();
    Pair(twin, 1, &twinErr);
    Pair(twin, 2, &twinErr);
    ASSERT_GT(twinErr, 0);
    mask.CopyRawDataFrom(firstMask.data(), mask.GetSize());
    const Params model = est.GetModel().getParameterVector();
    err = 0;   // from 0 blocks to any: an infinite relative change
    EXPECT_NE(Pair(est, 2, &err).find("Estimation failed for this frame!\n"), std::string::npos);
    EXPECT_EQ(err, static_cast<int>(0.7 * 0 + 0.3 * twinErr));
    EXPECT_EQ(est.GetModel().getParameterVector(), model);
    EXPECT_EQ(est.previousParameters.size(), 1u);
    EXPECT_EQ(MaskPixels(), firstMask);
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
    const std::string out = Printed([&] {
        est.EstimateFirst(c, p, m, &err);
        est.Estimate(c, p, m, &err);
    });
    EXPECT_EQ(out.find("Estimation failed"), std::string::npos);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(est.previousParameters.size(), 2u);
}
