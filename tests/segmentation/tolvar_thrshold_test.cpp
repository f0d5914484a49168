// TolvarThrshold: the regional threshold against a literal region-by-region reference,
// its band modes and printing, and the adaptive threshold's arithmetic and ratchet.
#include "segmentation/TolvarThrshold.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

using ormel::Y_COMP;

namespace {

// The direct definition: column by column, each sample to the first region whose test
// holds, written exactly as the region table reads.
unsigned char ReferenceTs(ormel::YUVImage& img) {
    const int w = img.Width(Y_COMP), h = img.Height(Y_COMP);
    const unsigned char* p = img.GetArray(Y_COMP);
    const int H3 = h / 3, H6 = 2 * (h / 3), W3 = w / 3, W6 = 2 * (w / 3);
    long hist[9][256] = {}, sum[9] = {}, count[9] = {};
    for (int x = 0; x < w; ++x)
        for (int y = 0; y < h; ++y) {
            const bool top = y < H3, mid = H3 <= y && y < H6, bottom = y >= H6;
            int r;
            if (top && x < W3) r = 0;
            else if (mid && x <= W3) r = 1;
            else if (bottom && x < W3) r = 2;
            else if (top && W3 <= x && x <= W6) r = 3;
            else if (mid && W3 < x && x <= W6) r = 4;
            else if (bottom && W3 <= x && x <= W6) r = 5;
            else if (top && x >= W6) r = 6;
            else if (mid && x > W6) r = 7;
            else if (bottom && x >= W6) r = 8;
            else { ADD_FAILURE() << "no region for " << x << ", " << y; continue; }
            const int v = p[y * w + x];
            ++hist[r][v];
            sum[r] += v;
            ++count[r];
        }
    long total = 0;
    for (int r = 0; r < 9; ++r) {
        const long mean = count[r] ? sum[r] / count[r] : 0;
        long modes = 0;
        for (int lo : {0, 52, 103, 154, 205}) {
            const int hi = lo == 0 ? 51 : lo + 50;
            int best = 0;
            long bestCount = 0;
            for (int b = lo; b <= hi; ++b)
                if (hist[r][b] > bestCount) { bestCount = hist[r][b]; best = b; }
            modes += best;
        }
        total += mean + modes;
    }
    return static_cast<unsigned char>(total / 54);
}

unsigned char ConstantTs(int w, int h, unsigned char v) {
    ormel::YUVImage img(ormel::YUV400, w, h);
    img.Fill(v, Y_COMP);
    TolvarThrshold th(img, ormel::quiet);
    return th.TolvarThresholder(img);
}

// Feeds th a constant image of 100, so that its last Ts is 33.
void MakeTs33(TolvarThrshold& th) {
    ormel::YUVImage img(ormel::YUV400, 9, 9);
    img.Fill(100, Y_COMP);
    ASSERT_EQ(th.TolvarThresholder(img), 33);
}

// The adaptive threshold of a fresh thresholder whose last Ts is 33.
unsigned char FreshAdaptive(float motion, unsigned low, unsigned middle, unsigned high) {
    ormel::YUVImage img(ormel::YUV400, 9, 9);
    TolvarThrshold th(img, ormel::quiet);
    MakeTs33(th);
    return th.TolvarAdaptiveThresholder(motion, low, middle, high);
}

}  // namespace

TEST(TolvarThresholder, ConstantImages) {
    EXPECT_EQ(ConstantTs(30, 21, 100), 33);   // 18 * 100 / 54
    EXPECT_EQ(ConstantTs(720, 576, 255), 85);
    EXPECT_EQ(ConstantTs(1, 1, 255), 9);      // one region: (255 + 255) / 54
}

TEST(TolvarThresholder, MiddleRowsTakeTheThirdColumnLeft) {
    // 3 x 3: W3 = H3 = 1. In the middle row the column x = 1 belongs to the left region,
    // so both bright samples share one region: mean 255 + mode 255 = 510, Ts = 9. With
    // x = 1 in the middle region the two regions would add 510 + 382, Ts = 16.
    ormel::YUVImage img(ormel::YUV400, 3, 3);
    img.Y(0, 1) = 255;
    img.Y(1, 1) = 255;
    TolvarThrshold th(img, ormel::quiet);
    EXPECT_EQ(th.TolvarThresholder(img), 9);
}

TEST(TolvarThresholder, MatchesLiteralRegionTableOnSmallSparseImages) {
    // Small images with a few bright samples: moving one border sample between regions
    // changes Ts, so a border test written the wrong way round shows up.
    std::mt19937 rng(2024);
    for (int w = 1; w <= 13; ++w)
        for (int h = 1; h <= 13; ++h)
            for (int trial = 0; trial < 12; ++trial) {
                ormel::YUVImage img(ormel::YUV400, w, h);
                unsigned char* p = img.GetArray(Y_COMP);
                for (int i = 0; i < w * h; ++i)
                    p[i] = (rng() % 4 == 0) ? static_cast<unsigned char>(150 + rng() % 106)
                                            : static_cast<unsigned char>(rng() % 40);
                TolvarThrshold th(img, ormel::quiet);
                ASSERT_EQ(th.TolvarThresholder(img), ReferenceTs(img))
                    << w << "x" << h << " trial " << trial;
            }
}

TEST(TolvarThresholder, BandTiesKeepTheLowerBin) {
    // One row of ten: columns 3 to 6 form one region holding 51, 0, 255, 205, the rest
    // are 0. Its bands 0-51 and 205-255 tie: lower bins give 127 + 0 + 205 = 332, Ts 6;
    // upper bins would give 127 + 51 + 255 = 433, Ts 8.
    ormel::YUVImage img(ormel::YUV400, 10, 1);
    img.Y(3, 0) = 51;
    img.Y(4, 0) = 0;
    img.Y(5, 0) = 255;
    img.Y(6, 0) = 205;
    TolvarThrshold th(img, ormel::quiet);
    EXPECT_EQ(th.TolvarThresholder(img), 6);
}

TEST(TolvarThresholder, VerbosePrintsTheRawByte) {
    ormel::YUVImage img(ormel::YUV400, 6, 6);
    img.Fill(100, Y_COMP);
    TolvarThrshold loud(img, ormel::verbose);
    testing::internal::CaptureStdout();
    EXPECT_EQ(loud.TolvarThresholder(img), 33);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Ts: !\n");   // '!' is byte 33

    TolvarThrshold quiet(img, ormel::quiet);
    testing::internal::CaptureStdout();
    quiet.TolvarThresholder(img);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(TolvarThresholder, SmallImageIsRefused) {
    ormel::YUVImage img(ormel::YUV400, 6, 6), small(ormel::YUV400, 6, 5);
    img.Fill(100, Y_COMP);
    TolvarThrshold th(img, ormel::quiet);
    th.TolvarThresholder(img);
    testing::internal::CaptureStdout();
    EXPECT_EQ(th.TolvarThresholder(small), 0);
    EXPECT_FALSE(testing::internal::GetCapturedStdout().empty());
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 80, 120, 200), 100);   // Ts 33 kept
}

TEST(TolvarAdaptive, BaseFromTheBandOfTs) {
    EXPECT_EQ(FreshAdaptive(0.0f, 80, 120, 200), 100);   // low + 20
    EXPECT_EQ(FreshAdaptive(0.0f, 33, 120, 200), 130);   // middle + 10
    EXPECT_EQ(FreshAdaptive(0.0f, 10, 34, 200), 44);
    EXPECT_EQ(FreshAdaptive(0.0f, 10, 33, 77), 77);      // high
    EXPECT_EQ(FreshAdaptive(0.0f, 250, 0, 0), 14);       // 270 in 8 bits
    EXPECT_EQ(FreshAdaptive(0.0f, 0, 0, 300), 44);
}

TEST(TolvarAdaptive, MotionTermRoundingAndWrap) {
    EXPECT_EQ(FreshAdaptive(1.0f, 80, 120, 200), 103);   // 3.4 + 0.5
    EXPECT_EQ(FreshAdaptive(20.0f, 0, 0, 200), 12);      // 268 in 8 bits
    // -34 + 0.5 truncates toward zero to -33 (not down to -34).
    EXPECT_EQ(FreshAdaptive(-10.0f, 80, 120, 200), 67);
}

TEST(TolvarAdaptive, ProductInSinglePrecisionSumInDouble) {
    // 3.4f * m rounds up to 1.5 in float but stays below it in double: lift 2, not 1.
    EXPECT_EQ(FreshAdaptive(0x1.c3c3c2p-2f, 80, 120, 200), 102);
    // 0.5 + 3.4f * m stays below 1 in double but would round to 1 in float: lift 0.
    EXPECT_EQ(FreshAdaptive(0x1.2d2d2cp-3f, 80, 120, 200), 100);
}

TEST(TolvarAdaptive, RatchetNeverLetsTheThresholdFall) {
    ormel::YUVImage img(ormel::YUV400, 9, 9);
    TolvarThrshold th(img, ormel::quiet);
    MakeTs33(th);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 80, 120, 200), 100);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 10, 20, 30), 100);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(2.0f, 80, 120, 200), 107);   // 100 + (int)7.3
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 80, 120, 200), 107);

    TolvarThrshold copy(th);   // the previous result travels with copies
    EXPECT_EQ(copy.TolvarAdaptiveThresholder(0.0f, 10, 20, 30), 107);
    ormel::YUVImage other(ormel::YUV400, 2, 2);
    TolvarThrshold assigned(other, ormel::quiet);
    assigned = th;
    EXPECT_EQ(assigned.TolvarAdaptiveThresholder(0.0f, 10, 20, 30), 107);
}

TEST(TolvarAdaptive, UnrepresentableMotionIsRefused) {
    ormel::YUVImage img(ormel::YUV400, 9, 9);
    TolvarThrshold th(img, ormel::quiet);
    MakeTs33(th);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 80, 120, 200), 100);
    testing::internal::CaptureStdout();
    EXPECT_EQ(th.TolvarAdaptiveThresholder(std::nanf(""), 80, 120, 250), 100);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(1e30f, 80, 120, 250), 100);
    EXPECT_FALSE(testing::internal::GetCapturedStdout().empty());
}

TEST(TolvarThrshold, SecondFreeReportsNothingToFree) {
    ormel::YUVImage img(ormel::YUV400, 4, 4);
    img.Fill(100, Y_COMP);
    TolvarThrshold th(img, ormel::quiet);
    EXPECT_EQ(th.GetMethodName(), "TolvarThrshold");
    EXPECT_EQ(th.GetNumVariables(), 8u);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(th.BuffFree());
    EXPECT_FALSE(th.BuffFree());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nNothing to free!\n\n");
    EXPECT_TRUE(th.BuffAlloc(16));
    EXPECT_EQ(th.TolvarThresholder(img), 33);
}
