// GlobalMotionCompensator: warp geometry, truncation, black outside, the MAE band rule.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "image/YUVImage.h"
#include "motion/GlobalMotionCompensator.h"

using namespace ormel;

namespace {

MotionModel Model(std::vector<double> a) {
    MotionModel m;
    m.setParameterVector(a);
    return m;
}

void Texture(YUVImage& img, int seed) {
    unsigned state = 12345u + seed;
    unsigned char* p = img.GetArray(Y_COMP);
    for (long k = 0; k < static_cast<long>(img.Width(Y_COMP)) * img.Height(Y_COMP); ++k) {
        state = state * 1103515245u + 12345u;
        p[k] = static_cast<unsigned char>(state >> 24);
    }
}

const std::vector<double> kIdentity = {0, 1, 0, 0, 0, 1};

}  // namespace

TEST(CompensatorWarp, IdentityKeepsAllButLastRowAndColumn) {
    YUVImage prev(YUV420, 9, 7), comp(YUV420, 9, 7);
    Texture(prev, 1);
    comp.Fill(77, ALL_COMP);
    MotionModel m = Model(kIdentity);
    GlobalMotionCompensator gmc(m);
    EXPECT_EQ(gmc.CompensateWithMAE(prev, prev, comp, 100), 0.0);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 9; ++x)
            EXPECT_EQ(comp.Y(x, y), (x == 8 || y == 6) ? 0 : prev.Y(x, y)) << x << "," << y;
    EXPECT_EQ(comp.U(1, 1), 77);   // chroma untouched
}

TEST(CompensatorWarp, HalfPixelShiftTruncatesTheMean) {
    YUVImage prev(YUV444, 4, 3), comp(YUV444, 4, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            prev.Y(x, y) = static_cast<unsigned char>(10 * x + y + 1);   // odd sums
    MotionModel m = Model({0.5, 1, 0, 0, 0, 1});
    GlobalMotionCompensator gmc(m);
    EXPECT_EQ(gmc.Compensate(prev, comp), 0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(comp.Y(x, y), (prev.Y(x, y) + prev.Y(x + 1, y)) / 2);
}

TEST(CompensatorWarp, TranslationAndPerspectiveModels) {
    YUVImage prev(YUV420, 12, 10), comp(YUV420, 12, 10), comp8(YUV420, 12, 10);
    Texture(prev, 2);
    MotionModel t = Model({2, -1});
    GlobalMotionCompensator gmc(t);
    YUVImage cur(YUV420, 12, 10);
    EXPECT_EQ(gmc.CompensateWithMAE(prev, cur, comp, 100), 0.0);   // no MAE for 2 parameters
    EXPECT_EQ(comp.Y(3, 4), prev.Y(5, 3));
    EXPECT_EQ(comp.Y(0, 0), 0);     // row -1 is outside
    EXPECT_EQ(comp.Y(9, 5), 0);     // column 11 has no right neighbour

    // A perspective model with no projective terms equals the affine one.
    MotionModel p = Model({1, 1, 0, 2, 0, 1, 0, 0});
    gmc.SetModel(p);
    gmc.Compensate(prev, comp8);
    EXPECT_EQ(comp8.Y(3, 4), prev.Y(4, 6));
    // (2, 2) and (4, 2) divided by 1 + 0.5 * x: (1, 1) and (4/3, 2/3).
    MotionModel q = Model({0, 1, 0, 0, 0, 1, 0.5, 0});
    gmc.SetModel(q);
    gmc.Compensate(prev, comp8);
    EXPECT_EQ(comp8.Y(2, 2), prev.Y(1, 1));
    const double dx = 4.0 / 3.0, dy = 2.0 / 3.0;
    const double s1 = prev.Y(1, 0) * (2 - dx) + prev.Y(2, 0) * (dx - 1);
    const double s2 = prev.Y(1, 1) * (2 - dx) + prev.Y(2, 1) * (dx - 1);
    EXPECT_EQ(comp8.Y(4, 2), static_cast<int>((1 - dy) * s1 + dy * s2));
}

TEST(CompensatorWarp, OtherLengthsWriteNothing) {
    YUVImage prev(YUV420, 8, 8), comp(YUV420, 8, 8);
    Texture(prev, 3);
    comp.Fill(5, Y_COMP);
    MotionModel m = Model({0, 1, 0, 1});
    GlobalMotionCompensator gmc(m);
    EXPECT_EQ(gmc.CompensateWithMAE(prev, prev, comp, 100), 0.0);
    EXPECT_EQ(gmc.Compensate(prev, comp), 0);
    for (int k = 0; k < 64; ++k)
        ASSERT_EQ(comp.GetArray(Y_COMP)[k], 5);
}

TEST(CompensatorMAE, AllOutsideGivesBlackAndNaN) {
    YUVImage prev(YUV420, 8, 8), comp(YUV420, 8, 8);
    Texture(prev, 4);
    comp.Fill(5, Y_COMP);
    MotionModel m = Model({100, 1, 0, 0, 0, 1});
    GlobalMotionCompensator gmc(m);
    EXPECT_TRUE(std::isnan(gmc.CompensateWithMAE(prev, prev, comp, 100)));
    for (int k = 0; k < 64; ++k)
        ASSERT_EQ(comp.GetArray(Y_COMP)[k], 0);
}

TEST(CompensatorMAE, BandRuleSelectsTheOuterFrame) {
    const int W = 20, H = 10;
    YUVImage prev(YUV420, W, H), cur(YUV420, W, H), comp(YUV420, W, H);
    Texture(prev, 5);
    cur.Fill(0, Y_COMP);
    MotionModel m = Model(kIdentity);
    GlobalMotionCompensator gmc(m);
    // th = 100: every inside pixel counts; the MAE is the mean of prev over them.
    double sum = 0;
    int n = 0;
    for (int y = 0; y < H - 1; ++y)
        for (int x = 0; x < W - 1; ++x) { sum += prev.Y(x, y); ++n; }
    EXPECT_EQ(gmc.CompensateWithMAE(prev, cur, comp, 100), sum / n);
    // th = 0 selects nothing.
    EXPECT_TRUE(std::isnan(gmc.CompensateWithMAE(prev, cur, comp, 0)));
    // th = 20: thx = 4, thy = 2; strict comparisons on both sides.
    sum = 0;
    n = 0;
    for (int y = 0; y < H - 1; ++y)
        for (int x = 0; x < W - 1; ++x)
            if ((x < 4 || x > W - 4) && (y < 2 || y > H - 2)) { sum += prev.Y(x, y); ++n; }
    EXPECT_EQ(gmc.CompensateWithMAE(prev, cur, comp, 20), sum / n);
}
