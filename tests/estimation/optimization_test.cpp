// Translation search and Gauss-Newton increments.
#include "tests/estimation/EstimatorTestUtil.h"

// The increment as the plain loops compute it, in the order of the formulas. mask ==
// nullptr: the threshold form (rows outer, border skipped, 3 x 3 count afresh);
// otherwise the mask form (columns outer, every pixel).
static std::vector<double> IncrementRef(BinGlobalMotionEstimator& est, YUVImage& cur,
                                        YUVImage& prev, int thr, YUVImage* mask, double* a) {
    const int W = prev.Width(ormel::Y_COMP), H = prev.Height(ormel::Y_COMP), bd = mask ? 0 : 1;
    double M[36] = {}, b[6] = {}, da[6];
    YUVImage comp(prev), diff(prev);
    est.Compensate(prev, a, comp);
    est.Accuracy(cur, comp, diff);
    for (int outer = bd; outer < (mask ? W : H) - bd; ++outer)
        for (int inner = bd; inner < (mask ? H : W) - bd; ++inner) {
            const int x = mask ? outer : inner, y = mask ? inner : outer;
            const double dispX = a[0] + x * a[1] + y * a[2], dispY = a[3] + x * a[4] + y * a[5];
            const int x1 = static_cast<int>(std::floor(dispX));
            const int y1 = static_cast<int>(std::floor(dispY));
            if (!(x1 >= 0 && x1 + 1 < W && y1 >= 0 && y1 + 1 < H))
                continue;
            auto P = [&](YUVImage& img, int i, int j) { return img.Y(x1 + i, y1 + j); };
            int count = 0;
            for (int k = 0; k < 9 && !mask; ++k)
                count += diff.Y(x + k % 3 - 1, y + k / 3 - 1) <= thr;
            if (mask ? P(*mask, 0, 0) || P(*mask, 1, 0) || P(*mask, 0, 1) || P(*mask, 1, 1)
                     : diff.Y(x, y) > thr || count <= 6)
                continue;
            const double dk = dispX - x1, dl = dispY - y1;
            const double bilin = P(prev, 0, 0) * (1 - dk) * (1 - dl) +
                                 P(prev, 1, 0) * dk * (1 - dl) + P(prev, 0, 1) * (1 - dk) * dl +
                                 P(prev, 1, 1) * dk * dl;
            const double e = bilin - cur.Y(x, y);
            const double dIdx = (P(prev, 1, 0) - P(prev, 0, 0)) * (1 - dl) +
                                (P(prev, 1, 1) - P(prev, 0, 1)) * dl;
            const double dIdy = (P(prev, 0, 1) - P(prev, 0, 0)) * (1 - dk) +
                                (P(prev, 1, 1) - P(prev, 1, 0)) * dk;
            const double dedp[6] = {dIdx, x * dIdx, y * dIdx, dIdy, x * dIdy, y * dIdy};
            for (int i = 0; i < 6; ++i) {
                b[i] += dedp[i] * e;
                for (int j = 0; j < 6; ++j)
                    M[i * 6 + j] += dedp[i] * dedp[j];
            }
        }
    est.OptimizationMethodGradientDescent(M, b, da);
    return Six(da);
}

// An odd-sized frame pair, an object mask, and the library's increment from a on them:
// the threshold form with thr, or the mask form with *m.
struct Increments : EstimatorTest {
    static constexpr int W = 161, H = 121;
    YUVImage cur{ormel::YUV420, W, H}, prev{ormel::YUV420, W, H}, mask{ormel::YUV420, W, H};
    std::vector<double> Da(YUVImage& p, double* a, int thr, YUVImage* m = nullptr) {
        double da[6];
        m ? est.MotionAadapt(cur, p, *m, a, da) : est.MotionAadapt(cur, p, thr, a, da);
        return Six(da);
    }
};

using InitialEstimate = Increments;

TEST_F(InitialEstimate, FindsKnownShiftsWithinSevenPixelsAndKeepsTheFirstTie) {
    // cur(x, y) = prev(x + sx, y + sy). Steps 4, 2 and 1 reach 7 pixels at most: a shift
    // of 9 is found as 7.
    const int shifts[][2] = {{0, 0}, {3, -5}, {-6, 2}, {7, 7}, {9, -9}};
    double dx = 99, dy = 99;
    for (auto& s : shifts) {
        const double truth[6] = {double(s[0]), 1, 0, double(s[1]), 0, 1};
        TexturedPair(cur, prev, truth);
        est.InitialEstimate(cur, prev, &dx, &dy);
        EXPECT_EQ(dx, std::clamp(s[0], -7, 7)) << s[0] << ", " << s[1];
        EXPECT_EQ(dy, std::clamp(s[1], -7, 7)) << s[0] << ", " << s[1];
    }
    FillConstant(cur, 90);
    FillConstant(prev, 90);
    est.InitialEstimate(cur, prev, &dx, &dy);   // every sum is 0: (-4, -4) comes first
    EXPECT_EQ(std::make_pair(dx, dy), std::make_pair(-4.0, -4.0));
}

using MotionAadapt = Increments;

TEST_F(MotionAadapt, BothFormsMatchThePlainLoopsBitForBit) {
    const double truth[6] = {1.2, 1.01, 0.003, -0.6, -0.002, 0.995};
    TexturedPair(cur, prev, truth);
    // Noise in cur makes the threshold and the count matter; grey traces in the mask
    // stand for a low-passed object.
    std::mt19937 rng(17);
    for (int i = 0; i < 1500; ++i)
        cur.Y(rng() % W, rng() % H) = static_cast<unsigned char>(rng() % 256);
    for (int i = 0; i < 300; ++i)
        mask.Y(rng() % W, rng() % H) = static_cast<unsigned char>(1 + rng() % 255);
    double starts[][6] = {{0, 1, 0, 0, 0, 1}, {2.5, 0.97, 0.02, 1.5, -0.01, 1.03}};
    for (auto& a : starts) {
        for (int thr : {0, 12, 255})
            EXPECT_EQ(Da(prev, a, thr), IncrementRef(est, cur, prev, thr, nullptr, a))
                << "threshold " << thr << ", a[0] " << a[0];
        EXPECT_EQ(Da(prev, a, 0, &mask), IncrementRef(est, cur, prev, 0, &mask, a)) << a[0];
    }
}

TEST_F(MotionAadapt, ExcludedPixelsDoNotCount) {
    // Noise in the previous frame, covered exactly by the mask: no accepted pixel reads
    // it, so the increment is bit for bit the one of the clean frame. With no accepted
    // pixel at all (every one an outlier or an object) the increment is 0.
    double truth[6] = {0.6, 1.0, 0.0, -1.2, 0.0, 1.0}, a[6] = {0.3, 1.0, 0.0, -0.4, 0.0, 1.0};
    TexturedPair(cur, prev, truth);
    YUVImage dirty(prev), none(prev);
    std::mt19937 rng(5);
    auto inBox = [](int x, int y) { return x >= 60 && x < 100 && y >= 50 && y < 80; };
    Fill(mask, [&](int x, int y) { return inBox(x, y) ? 255 : 0; });
    Fill(dirty, [&](int x, int y) { return inBox(x, y) ? int(rng() % 256) : int(prev.Y(x, y)); });
    const std::vector<double> clean = Da(prev, a, 0, &mask), zero(6, 0.0);
    EXPECT_EQ(Da(dirty, a, 0, &mask), clean);
    EXPECT_NE(Da(dirty, a, 0, &none), clean);   // without the mask the noise does disturb it
    FillConstant(mask, 255);
    EXPECT_EQ(Da(prev, a, 0, &mask), zero);
    EXPECT_EQ(Da(prev, a, -1), zero);
}

TEST_F(MotionAadapt, ThresholdIncrementsConvergeToAKnownAffineMotion) {
    const double truth[6] = {1.3, 1.01, 0.005, -0.7, -0.004, 0.99};
    TexturedPair(cur, prev, truth);
    double a[6] = {0, 1, 0, 0, 0, 1};
    for (int it = 0; it < 20; ++it) {
        const std::vector<double> da = Da(prev, a, 255);
        for (int i = 0; i < 6; ++i)
            a[i] += da[i];
    }
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(a[i], truth[i], i % 3 == 0 ? 0.05 : 0.001) << "a[" << i << "]";
}

// The pixels of the threshold form on every vector unit against the rule, on odd planes
// around the sixteen-pixel steps and with thresholds below, at and above the byte range.
TEST(ThresholdUse, EveryUnitMatchesTheRule) {
    std::mt19937 rng(12);
    const int sizes[][2] = {{2, 9}, {3, 3}, {17, 5}, {18, 4}, {33, 9}, {131, 7}};
    for (auto& s : sizes)
        for (int threshErr : {-1, 0, 4, 255, 300}) {
            const int W = s[0], H = s[1];
            std::vector<std::uint8_t> cur(W * H), comp(W * H);
            for (int i = 0; i < W * H; ++i) {
                cur[i] = static_cast<std::uint8_t>(rng());
                comp[i] = static_cast<std::uint8_t>(cur[i] + rng() % 11 - 5 + (rng() % 9 == 0) * 120);
            }
            auto ok = [&](int x, int y) { return std::abs(cur[y * W + x] - comp[y * W + x]) <= threshErr; };
            for (numeric::VectorUnit unit : numeric::AvailableVectorUnits()) {
                std::vector<std::uint8_t> plane = comp, scratch;
                estimation::MarkThresholdUse(ormel::ConstPlaneView{cur.data(), W, H, W}, plane.data(),
                                             threshErr, scratch, unit);
                for (int y = 0; y < H; ++y)
                    for (int x = 0; x < W; ++x) {
                        int count = 0;
                        for (int j = -1; j <= 1; ++j)
                            for (int i = -1; i <= 1; ++i)
                                count += x > 0 && x < W - 1 && y > 0 && y < H - 1 && ok(x + i, y + j);
                        const bool inner = x > 0 && x < W - 1 && y > 0 && y < H - 1;
                        ASSERT_EQ(plane[y * W + x], inner && ok(x, y) && count > 6)
                            << numeric::VectorUnitName(unit) << " " << W << "x" << H << " threshold "
                            << threshErr << " at " << x << "," << y;
                    }
            }
        }
}
