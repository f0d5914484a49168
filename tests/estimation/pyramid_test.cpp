// Low-pass filtering with decimation: compared sample by sample with the plain formula.
#include <utility>

#include "tests/estimation/EstimatorTestUtil.h"

namespace {

using ormel::YUVImage;

// The plain filters: [1 2 1] / 4 along rows, then down columns, each division truncating,
// the upper and left neighbours of the first row and column being themselves.
int HorRef(YUVImage& in, int x, int y) {
    const int xx = 2 * x;
    const int xxl = xx > 0 ? xx - 1 : 0;
    return (in.Y(xxl, y) + 2 * in.Y(xx, y) + in.Y(xx + 1, y)) / 4;
}

int GaussRef(YUVImage& in, int x, int y) {
    const int yy = 2 * y;
    const int yyl = yy >= 1 ? yy - 1 : 0;
    return (HorRef(in, x, yyl) + 2 * HorRef(in, x, yy) + HorRef(in, x, yy + 1)) / 4;
}

}  // namespace

using GaussFilter = EstimatorTest;

TEST_F(GaussFilter, ConstantImageStaysConstant) {
    for (unsigned char v : {0, 3, 200, 255}) {
        YUVImage in(ormel::YUV420, 64, 48);
        YUVImage out(ormel::YUV420, 32, 24);
        FillConstant(in, v);
        EXPECT_EQ(est.GaussFilter(in, out), 0);
        YUVImage want(ormel::YUV420, 32, 24);
        FillConstant(want, v);
        EXPECT_TRUE(SameLuma(out, want, 32, 24)) << "value " << int(v);
    }
}

TEST_F(GaussFilter, MatchesThePlainKernelWithTwoTruncations) {
    YUVImage in(ormel::YUV420, 720, 576);
    YUVImage out(ormel::YUV420, 360, 288);
    FillRandom(in, 7);
    est.GaussFilter(in, out);
    for (int y = 0; y < 288; ++y)
        for (int x = 0; x < 360; ++x)
            ASSERT_EQ(out.Y(x, y), GaussRef(in, x, y)) << "x " << x << ", y " << y;
}

TEST_F(GaussFilter, OddSizesDropTheLastRowAndColumn) {
    // 9 x 7 gives 4 x 3; the rest of a larger output keeps its samples, and the dropped
    // last column and row of the input play no part.
    YUVImage in(ormel::YUV420, 9, 7);
    YUVImage out(ormel::YUV420, 6, 5);
    FillRandom(in, 11);
    FillConstant(out, 77);
    est.GaussFilter(in, out);
    YUVImage changed(ormel::YUV420, 9, 7);
    changed.CopyFrom(in, ormel::Y_COMP);
    for (int y = 0; y < 7; ++y)
        changed.Y(8, y) = 255 - in.Y(8, y);
    for (int x = 0; x < 9; ++x)
        changed.Y(x, 6) = 255 - in.Y(x, 6);
    YUVImage out2(ormel::YUV420, 6, 5);
    est.GaussFilter(changed, out2);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 6; ++x) {
            if (x < 4 && y < 3) {
                ASSERT_EQ(out.Y(x, y), GaussRef(in, x, y)) << "x " << x << ", y " << y;
                ASSERT_EQ(out2.Y(x, y), out.Y(x, y)) << "x " << x << ", y " << y;
            } else {
                ASSERT_EQ(out.Y(x, y), 77) << "x " << x << ", y " << y;
            }
        }
}

TEST_F(GaussFilter, TinyImagesWriteNothing) {
    // A single column or row leaves no output sample, and nothing is touched.
    for (auto [w, h] : {std::pair{1, 6}, std::pair{6, 1}, std::pair{1, 1}}) {
        YUVImage in(ormel::YUV420, w, h);
        YUVImage out(ormel::YUV420, 4, 4);
        FillRandom(in, 3);
        FillConstant(out, 9);
        testing::internal::CaptureStdout();
        est.GaussFilter(in, out);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        YUVImage want(ormel::YUV420, 4, 4);
        FillConstant(want, 9);
        EXPECT_TRUE(SameLuma(out, want, 4, 4)) << w << " x " << h;
    }
}

TEST_F(GaussFilter, HalfPassesFilterOneDirectionEach) {
    YUVImage in(ormel::YUV420, 11, 6);
    FillRandom(in, 5);
    YUVImage hor(ormel::YUV420, 5, 6);
    est.HorFilter(in, hor);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 5; ++x)
            ASSERT_EQ(hor.Y(x, y), HorRef(in, x, y)) << "x " << x << ", y " << y;

    YUVImage ver(ormel::YUV420, 11, 3);
    est.VerFilter(in, ver);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 11; ++x) {
            const int yy = 2 * y;
            const int want = (in.Y(x, yy > 0 ? yy - 1 : 0) + 2 * in.Y(x, yy) + in.Y(x, yy + 1)) / 4;
            ASSERT_EQ(ver.Y(x, y), want) << "x " << x << ", y " << y;
        }
}

TEST_F(GaussFilter, TooSmallOutputIsRefused) {
    YUVImage in(ormel::YUV420, 16, 16);
    YUVImage out(ormel::YUV420, 7, 8);
    FillRandom(in, 1);
    FillConstant(out, 42);
    testing::internal::CaptureStdout();
    EXPECT_EQ(est.GaussFilter(in, out), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "BinGlobalMotionEstimator::VerFilter: outputImage is smaller than 8 x 8\n");
    YUVImage want(ormel::YUV420, 7, 8);
    FillConstant(want, 42);
    EXPECT_TRUE(SameLuma(out, want, 7, 8));
}
