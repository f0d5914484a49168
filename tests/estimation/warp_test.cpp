// The estimator's affine warp, the difference image, the criteria and the outlier threshold.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "numeric/numeric.h"
#include "tests/estimation/EstimatorTestUtil.h"

namespace {

using ormel::YUVImage;

// The plain warp of one pixel, with the accessors and in the order of the formula.
int WarpRef(YUVImage& prev, const double* a, int x, int y) {
    const int W = prev.Width(ormel::Y_COMP);
    const int H = prev.Height(ormel::Y_COMP);
    const double dispX = a[0] + x * a[1] + y * a[2];
    const double dispY = a[3] + x * a[4] + y * a[5];
    // The inside test on the floored doubles keeps far positions out of int conversion.
    const double fl = std::floor(dispX), ft = std::floor(dispY);
    if (!(fl >= 0 && fl < W - 1 && ft >= 0 && ft < H - 1))
        return 0;
    const int x1 = static_cast<int>(fl);
    const int y1 = static_cast<int>(ft);
    const double fx = dispX - x1, gx = (x1 + 1) - dispX;
    const double fy = dispY - y1, gy = (y1 + 1) - dispY;
    const double s = fy * (prev.Y(x1 + 1, y1 + 1) * fx + prev.Y(x1, y1 + 1) * gx) +
                     gy * (prev.Y(x1 + 1, y1) * fx + prev.Y(x1, y1) * gx);
    const int v = static_cast<int>(s);
    return v > 255 ? 255 : v;
}

void SetModel(BinGlobalMotionEstimator& est, const double* a) {
    std::vector<double> v(a, a + 6);
    est.model.setParameterVector(v);
}

}  // namespace

using Warp = EstimatorTest;

TEST_F(Warp, IdentityKeepsPixelsAndBlackensLastRowAndColumn) {
    YUVImage prev(ormel::YUV420, 21, 13);
    YUVImage comp(ormel::YUV420, 21, 13);
    FillRandom(prev, 2, 1, 255);
    double id[6] = {0, 1, 0, 0, 0, 1};
    est.Compensate(prev, id, comp);
    for (int y = 0; y < 13; ++y)
        for (int x = 0; x < 21; ++x)
            ASSERT_EQ(comp.Y(x, y), (x == 20 || y == 12) ? 0 : prev.Y(x, y)) << x << ", " << y;
}

TEST_F(Warp, HalfPixelShiftAveragesNeighboursTruncating) {
    YUVImage prev(ormel::YUV420, 16, 8);
    YUVImage comp(ormel::YUV420, 16, 8);
    FillRandom(prev, 4);
    prev.Y(0, 0) = 10;   // an odd sum: 21 / 2 truncates to 10
    prev.Y(1, 0) = 11;
    double half[6] = {0.5, 1, 0, 0, 0, 1};
    est.Compensate(prev, half, comp);
    EXPECT_EQ(comp.Y(0, 0), 10);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            const int want = (x < 15 && y < 7) ? (prev.Y(x, y) + prev.Y(x + 1, y)) / 2 : 0;
            ASSERT_EQ(comp.Y(x, y), want) << x << ", " << y;
        }
}

TEST_F(Warp, AffineWarpMatchesThePlainFormulaBitForBit) {
    YUVImage prev(ormel::YUV420, 720, 576);
    YUVImage comp(ormel::YUV420, 720, 576);
    FillRandom(prev, 8);
    double cases[][6] = {
        {3.7, 0.98, 0.031, -2.2, -0.027, 1.013},   // rotation, zoom and shift
        {-1.5, 1.0, 0.0, 0.25, 0.0, 1.0},
        {-400, 2.0, 0.0, 700.0, 0.0, -1.0},       // mostly outside, a mirrored part inside
        {1e12, 1, 0, -1e12, 0, 1},                // far outside: all black
        {NAN, 1, 0, 0, 0, 1},                     // no position at all: all black
    };
    for (auto& a : cases) {
        est.Compensate(prev, a, comp);
        for (int y = 0; y < 576; ++y)
            for (int x = 0; x < 720; ++x)
                ASSERT_EQ(comp.Y(x, y), WarpRef(prev, a, x, y))
                    << "x " << x << ", y " << y << ", a[0] " << a[0];
    }
}

TEST_F(Warp, ModelFormsUseTheModelAndMeasureTheInsidePixels) {
    YUVImage prev(ormel::YUV420, 40, 30);
    YUVImage cur(ormel::YUV420, 40, 30);
    YUVImage comp1(ormel::YUV420, 40, 30);
    YUVImage comp2(ormel::YUV420, 40, 30);
    FillRandom(prev, 12);
    FillRandom(cur, 13);
    double a[6] = {1.25, 0.99, 0.01, -0.5, 0.02, 1.01};
    SetModel(est, a);
    est.Compensate(prev, comp1);
    const double mae = est.Compensate(prev, cur, comp2);
    est.Compensate(prev, a, comp1);
    EXPECT_TRUE(SameLuma(comp2, comp1, 40, 30));
    double sum = 0;
    int count = 0;
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
            const double dx = a[0] + x * a[1] + y * a[2], dy = a[3] + x * a[4] + y * a[5];
            if (std::floor(dx) >= 0 && std::floor(dx) < 39 && std::floor(dy) >= 0 &&
                std::floor(dy) < 29) {
                sum += std::abs(comp2.Y(x, y) - cur.Y(x, y));
                ++count;
            }
        }
    ASSERT_GT(count, 0);
    EXPECT_EQ(mae, sum / count);

    double away[6] = {1000, 1, 0, 0, 0, 1};
    SetModel(est, away);
    EXPECT_TRUE(std::isnan(est.Compensate(prev, cur, comp2)));
    YUVImage black(ormel::YUV420, 40, 30);
    EXPECT_TRUE(SameLuma(comp2, black, 40, 30));
}

TEST_F(Warp, ModelWithoutSixParametersIsRefused) {
    YUVImage prev(ormel::YUV420, 8, 8);
    YUVImage comp(ormel::YUV420, 8, 8);
    FillConstant(comp, 5);
    testing::internal::CaptureStdout();
    est.Compensate(prev, comp);   // a fresh estimator's model is empty
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("not 6"), std::string::npos) << out;
    EXPECT_EQ(comp.Y(3, 3), 5);
}

TEST_F(Warp, WarpIntoASmallerImageIsRefused) {
    YUVImage prev(ormel::YUV420, 8, 8);
    YUVImage comp(ormel::YUV420, 8, 7);
    FillConstant(comp, 5);
    double id[6] = {0, 1, 0, 0, 0, 1};
    testing::internal::CaptureStdout();
    est.Compensate(prev, id, comp);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "BinGlobalMotionEstimator::Compensate: compImage is smaller than 8 x 8\n");
    EXPECT_EQ(comp.Y(0, 0), 5);
}

using Criteria = EstimatorTest;

TEST_F(Criteria, DifferenceImageAndSums) {
    YUVImage cur(ormel::YUV420, 30, 20);
    YUVImage comp(ormel::YUV420, 30, 20);
    YUVImage diff(ormel::YUV420, 30, 20);
    FillRandom(cur, 21);
    FillRandom(comp, 22);
    est.Accuracy(cur, comp, diff);
    long sum = 0;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x) {
            const int d = std::abs(cur.Y(x, y) - comp.Y(x, y));
            ASSERT_EQ(diff.Y(x, y), d) << x << ", " << y;
            sum += d;
        }
    EXPECT_EQ(est.CriterionFunctionSAD(cur, comp), sum);
    EXPECT_EQ(est.CriterionFunctionMAE(cur, comp), static_cast<double>(sum) / 600);
}

TEST_F(Criteria, CentralMaeCountsAnInclusiveWindowAndPrintsIt) {
    YUVImage cur(ormel::YUV420, 10, 10);
    YUVImage comp(ormel::YUV420, 10, 10);
    FillConstant(cur, 10);
    FillConstant(comp, 10);
    for (int y = 1; y <= 9; ++y)
        for (int x = 1; x <= 9; ++x)
            comp.Y(x, y) = static_cast<unsigned char>(10 + x);   // the window: x, y in [1, 9]
    comp.Y(0, 5) = 200;                                          // outside it
    testing::internal::CaptureStdout();
    const double cmae = est.CriterionFunctionCMAE(cur, comp, 10);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "threshy: 1 \nthreshx: 1 \ncount: 81 \n");
    EXPECT_EQ(cmae, 5.0);   // the mean of 1 .. 9

    // th = 0: the whole image, the upper bounds lying beyond it.
    testing::internal::CaptureStdout();
    const double all = est.CriterionFunctionCMAE(cur, comp, 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "threshy: 0 \nthreshx: 0 \ncount: 100 \n");
    EXPECT_EQ(all, (405.0 + 190.0) / 100);
}

using CalOutlier = EstimatorTest;

TEST_F(CalOutlier, PicksTheValueAtNinetyPercent) {
    // previous is black, so the compensated frame is black and the differences are the
    // current samples: a permutation of 0 .. 99. Index trunc(100 * 0.9) holds 90.
    YUVImage prev(ormel::YUV420, 10, 10);
    YUVImage cur(ormel::YUV420, 10, 10);
    std::vector<int> values(100);
    for (int i = 0; i < 100; ++i)
        values[i] = i;
    std::shuffle(values.begin(), values.end(), std::mt19937(3));
    for (int i = 0; i < 100; ++i)
        cur.Y(i % 10, i / 10) = static_cast<unsigned char>(values[i]);
    double id[6] = {0, 1, 0, 0, 0, 1};
    int thresh = -1;
    est.CalOutlier(cur, prev, id, &thresh);
    EXPECT_EQ(thresh, 90);
}

TEST_F(CalOutlier, MatchesASortOfTheCompensatedDifferences) {
    YUVImage prev(ormel::YUV420, 97, 61);
    YUVImage cur(ormel::YUV420, 97, 61);
    YUVImage comp(ormel::YUV420, 97, 61);
    FillRandom(prev, 31);
    FillRandom(cur, 32, 60, 120);
    double a[6] = {0.7, 1.01, -0.02, 1.3, 0.015, 0.99};
    for (double p : {0.1, 0.5, 0.013, 1.0}) {
        est.percent = p;
        est.Compensate(prev, a, comp);
        std::vector<int> err;
        for (int y = 0; y < 61; ++y)
            for (int x = 0; x < 97; ++x)
                err.push_back(std::abs(cur.Y(x, y) - comp.Y(x, y)));
        std::qsort(err.data(), err.size(), sizeof(int), compare);
        const int pel = static_cast<int>(err.size() * (1.0 - p));
        int thresh = -1;
        est.CalOutlier(cur, prev, a, &thresh);
        EXPECT_EQ(thresh, err[pel]) << "percent " << p;
    }
}

TEST_F(CalOutlier, ZeroPercentTakesTheLargestDifference) {
    YUVImage prev(ormel::YUV420, 8, 8);
    YUVImage cur(ormel::YUV420, 8, 8);
    FillRandom(cur, 5, 0, 200);
    cur.Y(4, 4) = 201;
    est.percent = 0.0;
    double id[6] = {0, 1, 0, 0, 0, 1};
    int thresh = -1;
    testing::internal::CaptureStdout();
    est.CalOutlier(cur, prev, id, &thresh);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("CalOutlier"), std::string::npos);
    EXPECT_EQ(thresh, 201);
}
