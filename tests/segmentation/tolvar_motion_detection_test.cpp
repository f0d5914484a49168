// TolvarMotionDetection: the windowed average and the clipped windowed maximum against
// plain direct-definition loops, the untouched border, the reference frame, and buffers.
#include "segmentation/TolvarMotionDetection.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using ormel::Y_COMP;

namespace {

using Plane = std::vector<unsigned char>;

void Randomize(ormel::YUVImage& img, unsigned seed) {
    std::mt19937 rng(seed);
    unsigned char* p = img.GetArray(Y_COMP);
    const int n = img.Width(Y_COMP) * img.Height(Y_COMP);
    for (int i = 0; i < n; ++i)
        p[i] = static_cast<unsigned char>(rng() & 255);
}

Plane Luma(ormel::YUVImage& img) {
    const unsigned char* p = img.GetArray(Y_COMP);
    return Plane(p, p + img.Width(Y_COMP) * img.Height(Y_COMP));
}

// Direct definitions: column by column over the interior, the whole window each time.
// The border keeps black_level, 0 here.
Plane ReferenceAverage(const Plane& work, const Plane& ref, int w, int h, long ws) {
    Plane out(work.size(), 0);
    const long hb = ws / 2, ha = ws - ws / 2;
    for (long x = hb; x < w - hb; ++x)
        for (long y = hb; y < h - hb; ++y) {
            double sum = 0;
            for (long dy = -hb; dy < ha; ++dy)
                for (long dx = -hb; dx < ha; ++dx) {
                    const long i = (y + dy) * w + x + dx;
                    sum += std::abs(work[i] - ref[i]);
                }
            out[y * w + x] = static_cast<unsigned char>(static_cast<int>(sum / static_cast<int>(ws * ws)));
        }
    return out;
}

Plane ReferenceMax(const Plane& work, int w, int h, long ws, unsigned clip, unsigned gain) {
    Plane out(work.size(), 0);
    const long hb = ws / 2, ha = ws - ws / 2;
    for (long x = hb; x < w - hb; ++x)
        for (long y = hb; y < h - hb; ++y) {
            unsigned m = 0;
            for (long dy = -hb; dy < ha; ++dy)
                for (long dx = -hb; dx < ha; ++dx)
                    if (work[(y + dy) * w + x + dx] > m)
                        m = work[(y + dy) * w + x + dx];
            out[y * w + x] = static_cast<unsigned char>(m <= clip ? gain * m : gain * clip);
        }
    return out;
}

// The first differing sample with its position, or "" when the planes are equal.
std::string FirstMismatch(const Plane& got, const Plane& want, int w) {
    for (size_t i = 0; i < want.size(); ++i)
        if (got[i] != want[i])
            return "luma at x " + std::to_string(i % w) + ", y " + std::to_string(i / w) +
                   ": got " + std::to_string(got[i]) + ", want " + std::to_string(want[i]);
    return "";
}

struct Size { int w, h; };
const Size kSizes[] = {{37, 23}, {8, 8}, {5, 5}, {4, 7}, {1, 9}, {9, 1}, {2, 2}, {1, 1}};
const long kWindows[] = {1, 2, 3, 4, 5, 7};

}  // namespace

TEST(TolvarAverage, MatchesDirectDefinition) {
    unsigned seed = 100;
    for (const Size& s : kSizes)
        for (long ws : kWindows) {
            ormel::YUVImage first(ormel::YUV420, s.w, s.h), a(ormel::YUV420, s.w, s.h),
                b(ormel::YUV420, s.w, s.h), out(ormel::YUV420, s.w, s.h);
            Randomize(first, seed++);
            Randomize(a, seed++);
            Randomize(b, seed++);
            TolvarMotionDetection det(first, ws, 42, 6, ormel::quiet);
            ASSERT_EQ(det.GetMethodName(), "TolvarMotionDetection");
            ASSERT_EQ(det.GetNumVariables(), 3u);
            ASSERT_TRUE(det.AbsoluteDifferenceAverager(a, out));
            EXPECT_EQ(FirstMismatch(Luma(out), ReferenceAverage(Luma(a), Luma(first), s.w, s.h, ws), s.w), "")
                << "two images, " << s.w << "x" << s.h << " window " << ws;

            ASSERT_TRUE(det.AbsoluteDifferenceAverager(a, b, out));
            EXPECT_EQ(FirstMismatch(Luma(out), ReferenceAverage(Luma(a), Luma(b), s.w, s.h, ws), s.w), "")
                << "three images, " << s.w << "x" << s.h << " window " << ws;
        }
}

TEST(TolvarAverage, WindowThreeLeavesOnePixelBorderAtBlackLevel) {
    ormel::YUVImage zero(ormel::YUV400, 6, 5), bright(ormel::YUV400, 6, 5), out(ormel::YUV400, 6, 5);
    bright.Fill(200, Y_COMP);
    for (int level : {0, 7}) {
        const int saved = black_level;
        black_level = level;
        TolvarMotionDetection det(zero, 3, 42, 6, ormel::quiet);
        black_level = saved;
        ASSERT_TRUE(det.AbsoluteDifferenceAverager(bright, out));
        ASSERT_TRUE(det.MaxFilter(bright, out));   // the border stays through both
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 6; ++x) {
                const bool border = x == 0 || y == 0 || x == 5 || y == 4;
                EXPECT_EQ(out.Y(x, y), border ? level : (6 * 42) & 255) << x << ", " << y;
            }
    }
}

TEST(TolvarAverage, ReferenceIsTheLastSecondImage) {
    ormel::YUVImage first(ormel::YUV400, 5, 5), second(ormel::YUV400, 5, 5),
        cur(ormel::YUV400, 5, 5), out(ormel::YUV400, 5, 5);
    first.Fill(10, Y_COMP);
    second.Fill(100, Y_COMP);
    cur.Fill(40, Y_COMP);
    TolvarMotionDetection det(first, 3, 42, 6, ormel::quiet);
    det.AbsoluteDifferenceAverager(cur, out);
    EXPECT_EQ(out.Y(2, 2), 30);
    det.AbsoluteDifferenceAverager(cur, out);   // the two-image form keeps the reference
    EXPECT_EQ(out.Y(2, 2), 30);
    det.AbsoluteDifferenceAverager(cur, second, out);
    EXPECT_EQ(out.Y(2, 2), 60);
    det.AbsoluteDifferenceAverager(cur, out);
    EXPECT_EQ(out.Y(2, 2), 60);
}

TEST(TolvarMaxFilter, MatchesDirectDefinition) {
    const struct { unsigned clip, gain; } settings[] = {{42, 6}, {200, 2}, {255, 1}, {0, 9}, {255, 300}};
    unsigned seed = 500;
    for (const Size& s : kSizes)
        for (long ws : kWindows)
            for (const auto& g : settings) {
                ormel::YUVImage in(ormel::YUV420, s.w, s.h), out(ormel::YUV420, s.w, s.h);
                Randomize(in, seed++);
                TolvarMotionDetection det(in, ws, g.clip, g.gain, ormel::quiet);
                ASSERT_TRUE(det.MaxFilter(in, out));
                EXPECT_EQ(FirstMismatch(Luma(out), ReferenceMax(Luma(in), s.w, s.h, ws, g.clip, g.gain), s.w), "")
                    << s.w << "x" << s.h << " window " << ws << " clip " << g.clip << " gain " << g.gain;
            }
}

TEST(TolvarMaxFilter, GainProductWrapsToEightBits) {
    const struct { unsigned char peak, expected; } cases[] = {{150, 44}, {220, 144}, {200, 144}, {127, 254}, {128, 0}};
    for (const auto& c : cases) {
        ormel::YUVImage in(ormel::YUV400, 5, 5), out(ormel::YUV400, 5, 5);
        in.Fill(3, Y_COMP);
        in.Y(2, 2) = c.peak;
        TolvarMotionDetection det(in, 3, 200, 2, ormel::quiet);
        ASSERT_TRUE(det.MaxFilter(in, out));
        for (int y = 1; y <= 3; ++y)
            for (int x = 1; x <= 3; ++x)
                EXPECT_EQ(out.Y(x, y), c.expected) << "peak " << int(c.peak) << " at " << x << ", " << y;
        EXPECT_EQ(out.Y(0, 2), 0);
    }
}

TEST(TolvarMotionDetection, RefusesEmptyWindowsAndSmallImages) {
    ormel::YUVImage img(ormel::YUV400, 6, 6), out(ormel::YUV400, 6, 6), small(ormel::YUV400, 5, 6);
    img.Fill(50, Y_COMP);
    out.Fill(9, Y_COMP);
    TolvarMotionDetection empty(img, 0, 42, 6, ormel::quiet), negative(img, -3, 42, 6, ormel::quiet);
    TolvarMotionDetection det(img, 3, 42, 6, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(empty.AbsoluteDifferenceAverager(img, out));
    EXPECT_FALSE(negative.MaxFilter(img, out));
    EXPECT_FALSE(det.AbsoluteDifferenceAverager(img, small, out));
    EXPECT_FALSE(det.MaxFilter(img, small));
    EXPECT_FALSE(testing::internal::GetCapturedStdout().empty());
    EXPECT_EQ(Luma(out), Plane(36, 9));
    det.AbsoluteDifferenceAverager(img, out);   // the refused call left the reference alone
    EXPECT_EQ(out.Y(2, 2), 0);
}

TEST(TolvarMotionDetection, SecondFreeReportsNothingToFree) {
    ormel::YUVImage img(ormel::YUV400, 4, 4), out(ormel::YUV400, 4, 4);
    TolvarMotionDetection det(img, 3, 42, 6, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(det.BuffFree());
    EXPECT_FALSE(det.BuffFree());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nNothing to free!\n\n");
    EXPECT_TRUE(det.BuffAlloc(16));
    EXPECT_TRUE(det.MaxFilter(img, out));
}

TEST(TolvarMotionDetection, CopiesKeepTheReferenceFrame) {
    ormel::YUVImage first(ormel::YUV400, 7, 6), cur(ormel::YUV400, 7, 6), out(ormel::YUV400, 7, 6);
    Randomize(first, 3);
    Randomize(cur, 4);
    auto* original = new TolvarMotionDetection(first, 3, 42, 6, ormel::quiet);
    TolvarMotionDetection copy(*original);
    ormel::YUVImage other(ormel::YUV400, 2, 2);
    TolvarMotionDetection assigned(other, 5, 1, 1, ormel::verbose);
    assigned = *original;
    delete original;

    const Plane want = ReferenceAverage(Luma(cur), Luma(first), 7, 6, 3);
    copy.AbsoluteDifferenceAverager(cur, out);
    EXPECT_EQ(FirstMismatch(Luma(out), want, 7), "");
    out.Fill(0, Y_COMP);
    assigned.AbsoluteDifferenceAverager(cur, out);
    EXPECT_EQ(FirstMismatch(Luma(out), want, 7), "");
    assigned.MaxFilter(cur, out);
    EXPECT_EQ(FirstMismatch(Luma(out), ReferenceMax(Luma(cur), 7, 6, 3, 42, 6), 7), "");
}
