// PlaneKernels: every kernel on every path this processor runs against a plain loop of its
// definition, sample for sample, on random planes of odd sizes with rows wider than the
// plane; the exact division they rely on; the regional threshold gathered in stripes.
#include "segmentation/PlaneKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "segmentation/RegionalThreshold.h"

using ormel::ConstPlaneView;
using ormel::PlaneView;
using segmentation::PlaneKernels;

namespace {

// A plane whose rows lie `pad` bytes further apart than its width.
struct TestPlane {
    int width, height, stride;
    std::vector<unsigned char> bytes;
    TestPlane(int w, int h, int pad = 3)
        : width(w), height(h), stride(w + pad), bytes(static_cast<size_t>(stride) * h, 77) {}
    PlaneView View() { return PlaneView{bytes.data(), width, height, stride}; }
    ConstPlaneView Const() { return ConstPlaneView{bytes.data(), width, height, stride}; }
    unsigned char& At(int x, int y) { return bytes[static_cast<size_t>(y) * stride + x]; }
    void Randomize(std::mt19937& rng, int lo = 0, int hi = 255) {
        std::uniform_int_distribution<int> v(lo, hi);
        for (unsigned char& b : bytes)
            b = static_cast<unsigned char>(v(rng));
    }
};

// The first differing sample of two planes of one size, padding included, or "".
std::string FirstMismatch(TestPlane& got, TestPlane& want) {
    for (int y = 0; y < got.height; ++y)
        for (int x = 0; x < got.stride; ++x)
            if (got.At(x, y) != want.At(x, y))
                return "at x " + std::to_string(x) + ", y " + std::to_string(y) + ": got " +
                       std::to_string(got.At(x, y)) + ", want " + std::to_string(want.At(x, y));
    return "";
}

// The definitions, column by column over the interior of the rows asked for, the whole
// window each time: the mean in double divided by the int area and truncated; the
// maximum clipped and scaled in unsigned arithmetic, kept to 8 bits.
void ReferenceWindow(TestPlane& a, TestPlane* b, int window, unsigned clip, unsigned gain,
                     TestPlane& out, int rowBegin, int rowEnd) {
    const int before = window / 2, after = window - before;
    for (int x = before; x < a.width - before; ++x)
        for (int y = std::max(rowBegin, before); y < std::min(rowEnd, a.height - before); ++y) {
            double sum = 0;
            unsigned m = 0;
            for (int dy = -before; dy < after; ++dy)
                for (int dx = -before; dx < after; ++dx) {
                    const int p = a.At(x + dx, y + dy);
                    if (b)
                        sum += std::abs(p - b->At(x + dx, y + dy));
                    m = std::max<unsigned>(m, p);
                }
            out.At(x, y) = static_cast<unsigned char>(
                b ? static_cast<int>(sum / static_cast<int>(window * window))
                  : (m <= clip ? gain * m : gain * clip));
        }
}

using numeric::VectorUnit;
const PlaneKernels& Path(VectorUnit unit) { return segmentation::Kernels(unit); }

}  // namespace

TEST(Divide16, EqualsTheIntegerQuotientForEverySample) {
    std::vector<unsigned> divisors;
    for (unsigned d = 1; d <= 300; ++d)
        divisors.push_back(d);
    for (unsigned d : {1023u, 1024u, 1025u, 4097u, 32767u, 32768u, 32769u, 65535u})
        divisors.push_back(d);
    for (unsigned d : divisors) {
        const segmentation::Divide16 divide(d);
        for (unsigned x = 0; x < 65536; ++x)
            if (divide(static_cast<std::uint16_t>(x)) != x / d)
                FAIL() << x << " / " << d << " gives " << divide(static_cast<std::uint16_t>(x));
    }
}

// Both windowed kernels: odd sizes, pieces wider than one pass, the 32-bit sums of large
// windows, a plane produced in stripes of uneven height, and nothing written outside the
// interior of the rows asked for.
TEST(PlaneKernels, WindowedKernelsMatchTheDefinitionsOnEveryPath) {
    const struct { int w, h; } sizes[] = {{1, 1}, {2, 3}, {5, 5}, {37, 23}, {600, 9}, {1100, 7}, {300, 75}};
    const struct { unsigned clip, gain; } settings[] = {{42, 6}, {200, 2}, {0, 9}, {300, 259}};
    std::mt19937 rng(7);
    for (const auto& s : sizes)
        for (int window : {1, 2, 3, 4, 5, 6, 7, 16, 17}) {
            TestPlane a(s.w, s.h), b(s.w, s.h, 5), want(s.w, s.h), got(s.w, s.h);
            a.Randomize(rng);
            b.Randomize(rng);
            // Saturated corners reach the largest window sums.
            a.At(0, 0) = a.At(s.w - 1, s.h - 1) = 255;
            // Maxima that vary: mostly low samples with rare peaks, so that few windows
            // reach the clip level.
            TestPlane m(s.w, s.h);
            m.Randomize(rng, 0, 40);
            for (unsigned char& v : m.bytes)
                if (rng() % 40 == 0)
                    v = static_cast<unsigned char>(rng());
            b.At(0, 0) = b.At(s.w - 1, s.h - 1) = 0;
            const auto& g = settings[rng() % 4];
            for (VectorUnit unit : numeric::AvailableVectorUnits()) {
                const PlaneKernels* k = &Path(unit);
                SCOPED_TRACE(testing::Message() << numeric::VectorUnitName(unit) << " " << s.w << "x" << s.h << " window "
                                                << window << " clip " << g.clip << " gain " << g.gain);
                const int r0 = static_cast<int>(rng() % (s.h + 1));
                const int r1 = r0 + static_cast<int>(rng() % (s.h + 1 - r0));
                want.Randomize(rng);
                got.bytes = want.bytes;
                ReferenceWindow(a, &b, window, 0, 0, want, r0, r1);
                k->AbsDiffMean(a.Const(), b.Const(), window, got.View(), r0, r1);
                EXPECT_EQ(FirstMismatch(got, want), "") << "mean, rows " << r0 << " to " << r1;

                ReferenceWindow(m, nullptr, window, g.clip, g.gain, want, r0, r1);
                k->ClippedMax(m.Const(), window, g.clip, g.gain, got.View(), r0, r1);
                EXPECT_EQ(FirstMismatch(got, want), "") << "max, rows " << r0 << " to " << r1;

                // The whole plane in one call, and again in stripes of 1 to 4 rows.
                const std::vector<unsigned char> start = got.bytes;
                ReferenceWindow(m, nullptr, window, g.clip, g.gain, want, 0, s.h);
                k->ClippedMax(m.Const(), window, g.clip, g.gain, got.View(), 0, s.h);
                EXPECT_EQ(FirstMismatch(got, want), "") << "max, whole plane";
                ReferenceWindow(a, &b, window, 0, 0, want, 0, s.h);
                k->AbsDiffMean(a.Const(), b.Const(), window, got.View(), 0, s.h);
                EXPECT_EQ(FirstMismatch(got, want), "") << "mean, whole plane";
                got.bytes = start;
                for (int y = 0; y < s.h;) {
                    const int end = std::min(s.h, y + 1 + static_cast<int>(rng() % 4));
                    k->AbsDiffMean(a.Const(), b.Const(), window, got.View(), y, end);
                    y = end;
                }
                EXPECT_EQ(FirstMismatch(got, want), "") << "mean in stripes";
            }
        }
}

TEST(PlaneKernels, WindowMaximumOfAWindowBeyondHalfAPass) {
    // A window of 300 takes whole rows instead of passes of 512 columns.
    std::mt19937 rng(8);
    TestPlane in(601, 301), want(601, 301), got(601, 301);
    in.Randomize(rng);
    for (VectorUnit unit : numeric::AvailableVectorUnits()) {
        want.Randomize(rng);
        got.bytes = want.bytes;
        ReferenceWindow(in, nullptr, 300, 255, 1, want, 0, 301);
        Path(unit).ClippedMax(in.Const(), 300, 255, 1, got.View(), 0, 301);
        EXPECT_EQ(FirstMismatch(got, want), "") << numeric::VectorUnitName(unit);
    }
}

// Binarize, in place and not, and both block sums: odd sizes, rows wider than one pass,
// the columns and rows beyond the last whole block left out.
TEST(PlaneKernels, BinarizeAndBlockSumsMatchPlainLoopsOnEveryPath) {
    const struct { int w, h; } sizes[] = {{1, 1}, {7, 9}, {8, 8}, {21, 17}, {1037, 19}};
    std::mt19937 rng(9);
    for (const auto& s : sizes)
        for (VectorUnit unit : numeric::AvailableVectorUnits()) {
            const PlaneKernels* k = &Path(unit);
            SCOPED_TRACE(testing::Message() << numeric::VectorUnitName(unit) << " " << s.w << "x" << s.h);
            TestPlane in(s.w, s.h), want(s.w, s.h), got(s.w, s.h);
            in.Randomize(rng);
            const auto t = static_cast<unsigned char>(rng()), black = static_cast<unsigned char>(rng()),
                       white = static_cast<unsigned char>(rng());
            want.bytes = got.bytes = in.bytes;
            for (int y = 0; y < s.h; ++y)
                for (int x = 0; x < s.w; ++x)
                    want.At(x, y) = in.At(x, y) <= t ? black : white;
            k->Binarize(in.Const(), t, black, white, got.View());
            EXPECT_EQ(FirstMismatch(got, want), "") << "threshold " << int(t);
            k->Binarize(in.Const(), t, black, white, in.View());
            EXPECT_EQ(FirstMismatch(in, want), "") << "in place";

            in.Randomize(rng);
            const int wx = s.w / 8, wy = s.h / 8;
            std::vector<int> plain(static_cast<size_t>(wx) * wy), binary(plain.size());
            for (int y = 0; y < 8 * wy; ++y)
                for (int x = 0; x < 8 * wx; ++x) {
                    plain[(y / 8) * wx + x / 8] += in.At(x, y);
                    binary[(y / 8) * wx + x / 8] += in.At(x, y) <= t ? black : white;
                }
            std::vector<int> sums(plain.size() + 1, -5);
            k->BlockSums(in.Const(), sums.data());
            EXPECT_EQ(std::vector<int>(sums.begin(), sums.end() - 1), plain);
            k->BinaryBlockSums(in.Const(), t, black, white, sums.data());
            EXPECT_EQ(std::vector<int>(sums.begin(), sums.end() - 1), binary);
            EXPECT_EQ(sums.back(), -5);
        }
}

TEST(RegionalThreshold, RowsInStripesInAnyOrderGiveTheWholePlanesTs) {
    std::mt19937 rng(10);
    for (int trial = 0; trial < 20; ++trial) {
        const int w = 1 + static_cast<int>(rng() % 40), h = 1 + static_cast<int>(rng() % 40);
        TestPlane plane(w, h);
        plane.Randomize(rng, 0, 60 + static_cast<int>(rng() % 196));
        segmentation::RegionalThreshold whole(w, h), stripes(w, h);
        whole.AddRows(plane.Const(), 0, h);
        std::vector<int> starts;
        for (int y = 0; y < h; y += 3)
            starts.push_back(y);
        std::shuffle(starts.begin(), starts.end(), rng);
        for (int y : starts)
            stripes.AddRows(plane.Const(), y, std::min(h, y + 3));
        EXPECT_EQ(stripes.Ts(), whole.Ts()) << w << "x" << h;
    }
}
