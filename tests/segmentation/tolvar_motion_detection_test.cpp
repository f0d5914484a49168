// TolvarMotionDetection: the windowed average and the clipped windowed maximum against
// plain direct-definition loops, the untouched border, the reference frame, and buffers.
#include "segmentation/TolvarMotionDetection.h"

#include <algorithm>
#include <cstdlib>

#include "tests/segmentation/test_support.h"

using ormel::Y_COMP;

namespace {

// Direct definitions, column by column over the interior with the whole window each
// time: with ref, the mean of |work - ref| summed in double; without, the clipped maximum
// times gain. The border holds `border`, the black_level the detector was built with.
Plane Direct(ormel::YUVImage& work, ormel::YUVImage* ref, long ws, int border, unsigned clip = 0,
             unsigned gain = 0) {
    const int w = work.Width(Y_COMP), h = work.Height(Y_COMP);
    const Plane in = Luma(work), base = ref ? Luma(*ref) : in;
    Plane out(in.size(), static_cast<unsigned char>(border));
    const long hb = ws / 2, ha = ws - ws / 2;
    for (long x = hb; x < w - hb; ++x)
        for (long y = hb; y < h - hb; ++y) {
            double sum = 0;
            unsigned m = 0;
            for (long dy = -hb; dy < ha; ++dy)
                for (long dx = -hb; dx < ha; ++dx) {
                    const long i = (y + dy) * w + x + dx;
                    sum += std::abs(in[i] - base[i]);
                    m = std::max<unsigned>(m, in[i]);
                }
            out[y * w + x] = static_cast<unsigned char>(
                ref ? static_cast<int>(sum / static_cast<int>(ws * ws)) : m <= clip ? gain * m : gain * clip);
        }
    return out;
}

// The first sample of got's luminance that differs from want, or "" when none does.
std::string FirstMismatch(ormel::YUVImage& got, const Plane& want) {
    const Plane g = Luma(got);
    const size_t w = got.Width(Y_COMP);
    for (size_t i = 0; i < want.size(); ++i)
        if (g[i] != want[i])
            return "luma at x " + std::to_string(i % w) + ", y " + std::to_string(i / w) +
                   ": got " + std::to_string(g[i]) + ", want " + std::to_string(want[i]);
    return "";
}

}  // namespace

// Every size against every window: results in the interior, the border left at the
// black_level of construction (through both averages and the maximum), and the reference
// frame: the image given at construction until the three-image form brings a new one.
TEST(TolvarMotionDetection, MatchesTheDirectDefinitionsBorderAndReference) {
    const struct { int w, h; } sizes[] = {{37, 23}, {8, 8}, {5, 5}, {4, 7}, {1, 9}, {9, 1}, {2, 2}, {1, 1}};
    const struct { unsigned clip, gain; } settings[] = {{42, 6}, {200, 2}, {0, 9}, {255, 300}};
    unsigned seed = 100;
    for (const auto& s : sizes)
        for (long ws : {1, 2, 3, 4, 5, 7})
            for (const auto& g : settings) {
                SCOPED_TRACE(testing::Message() << s.w << "x" << s.h << " window " << ws << " clip "
                                                << g.clip << " gain " << g.gain);
                ormel::YUVImage first(ormel::YUV420, s.w, s.h), a(first), b(first), out(first);
                Randomize(first, seed++);
                Randomize(a, seed++);
                Randomize(b, seed++);
                out.Fill(99, Y_COMP);
                black_level = 7;
                TolvarMotionDetection det(first, ws, g.clip, g.gain, ormel::quiet);
                black_level = 0;
                ASSERT_TRUE(det.AbsoluteDifferenceAverager(a, out));
                EXPECT_EQ(FirstMismatch(out, Direct(a, &first, ws, 7)), "") << "two images";
                ASSERT_TRUE(det.AbsoluteDifferenceAverager(b, out));
                EXPECT_EQ(FirstMismatch(out, Direct(b, &first, ws, 7)), "") << "reference kept";
                ASSERT_TRUE(det.AbsoluteDifferenceAverager(a, b, out));
                EXPECT_EQ(FirstMismatch(out, Direct(a, &b, ws, 7)), "") << "three images";
                ASSERT_TRUE(det.AbsoluteDifferenceAverager(first, out));
                EXPECT_EQ(FirstMismatch(out, Direct(first, &b, ws, 7)), "") << "new reference";
                ASSERT_TRUE(det.MaxFilter(a, out));
                EXPECT_EQ(FirstMismatch(out, Direct(a, nullptr, ws, 7, g.clip, g.gain)), "") << "max";
            }
}

TEST(TolvarMaxFilter, GainProductWrapsToEightBits) {
    const struct { unsigned char peak, want; } cases[] = {{150, 44}, {220, 144}, {100, 200}};
    for (const auto& c : cases) {
        ormel::YUVImage in(ormel::YUV400, 3, 3), out(in);
        in.Y(0, 2) = c.peak;   // anywhere in the window of the one interior sample
        TolvarMotionDetection det(in, 3, 200, 2, ormel::quiet);
        ASSERT_TRUE(det.MaxFilter(in, out));
        EXPECT_EQ(out.Y(1, 1), c.want) << "peak " << int(c.peak);
    }
}

TEST(TolvarMotionDetection, RefusalsLeaveImagesAndReferenceAlone) {
    ormel::YUVImage img(ormel::YUV400, 6, 6), out(img), small(ormel::YUV400, 5, 6);
    img.Fill(50, Y_COMP);
    out.Fill(9, Y_COMP);
    TolvarMotionDetection empty(img, 0, 42, 6, ormel::quiet), negative(img, -3, 42, 6, ormel::quiet);
    TolvarMotionDetection det(img, 3, 42, 6, ormel::quiet);
    EXPECT_NE("", Printed([&] {
        EXPECT_FALSE(empty.AbsoluteDifferenceAverager(img, out));
        EXPECT_FALSE(negative.MaxFilter(img, out));
        EXPECT_FALSE(det.AbsoluteDifferenceAverager(img, small, out));
        EXPECT_FALSE(det.MaxFilter(img, small));
    }));
    EXPECT_EQ(Luma(out), Plane(36, 9));
    det.AbsoluteDifferenceAverager(img, out);
    EXPECT_EQ(out.Y(2, 2), 0);
}

TEST(TolvarMotionDetection, BuffersFreeOnceAndCopiesKeepTheReference) {
    ormel::YUVImage first(ormel::YUV400, 7, 6), cur(first), out(first), other(ormel::YUV400, 2, 2);
    Randomize(first, 3);
    Randomize(cur, 4);
    auto* original = new TolvarMotionDetection(first, 3, 42, 6, ormel::quiet);
    EXPECT_EQ(original->GetMethodName(), "TolvarMotionDetection");
    EXPECT_EQ(original->GetNumVariables(), 3u);
    TolvarMotionDetection copy(*original), assigned(other, 5, 1, 1, ormel::verbose);
    assigned = *original;
    EXPECT_TRUE(original->BuffFree());
    EXPECT_EQ("\nNothing to free!\n\n", Printed([&] { EXPECT_FALSE(original->BuffFree()); }));
    EXPECT_TRUE(original->BuffAlloc(42) && original->MaxFilter(cur, out));
    delete original;
    for (TolvarMotionDetection* det : {&copy, &assigned}) {
        ASSERT_TRUE(det->AbsoluteDifferenceAverager(cur, out));
        EXPECT_EQ(FirstMismatch(out, Direct(cur, &first, 3, 0)), "") << (det == &copy ? "copy" : "assigned");
        ASSERT_TRUE(det->MaxFilter(cur, out));
        EXPECT_EQ(FirstMismatch(out, Direct(cur, nullptr, 3, 0, 42, 6)), "") << (det == &copy ? "copy" : "assigned");
    }
}
