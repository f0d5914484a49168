// Binarization: the global threshold against a plain column-by-column loop, the buffer
// life cycle and copies.
#include "segmentation/Binarization.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using ormel::Y_COMP;

namespace {

// Random luminance, filled in place (image copies take geometry only).
void Randomize(ormel::YUVImage& img, unsigned seed) {
    std::mt19937 rng(seed);
    unsigned char* p = img.GetArray(Y_COMP);
    for (int i = 0; i < img.Width(Y_COMP) * img.Height(Y_COMP); ++i)
        p[i] = static_cast<unsigned char>(rng() & 255);
}

std::vector<unsigned char> Samples(BinImage& img) {
    const unsigned char* p = img.GetArray(Y_COMP);
    return std::vector<unsigned char>(p, p + img.GetSize());
}

// The direct definition: column by column, a sample equal to the threshold is black.
std::vector<unsigned char> Reference(ormel::YUVImage& src, unsigned char black,
                                     unsigned char white, unsigned char threshold) {
    const int w = src.Width(Y_COMP), h = src.Height(Y_COMP);
    std::vector<unsigned char> out(static_cast<size_t>(w * h));
    for (int x = 0; x < w; ++x)
        for (int y = 0; y < h; ++y)
            out[w * y + x] = src.GetArray(Y_COMP)[w * y + x] <= threshold ? black : white;
    return out;
}

}  // namespace

TEST(Binarization, MatchesReferenceOnOddSizesWithTheImageLevels) {
    const struct { int w, h; } sizes[] = {{7, 5}, {1, 9}, {9, 1}, {1, 1}, {33, 17}};
    unsigned seed = 1;
    for (const auto& s : sizes) {
        ormel::YUVImage src(ormel::YUV420, s.w, s.h);
        Randomize(src, seed++);
        BinImage shape(s.w, s.h, 20, 230, ormel::quiet);
        Binarization bin(shape, ormel::quiet);
        EXPECT_EQ(bin.GetMethodName(), "Binarization");
        EXPECT_EQ(bin.GetNumVariables(), 2u);
        BinImage target(s.w, s.h, 0, 255, ormel::quiet);   // its own levels play no part
        for (int t : {0, 1, 127, 254, 255}) {
            EXPECT_EQ(bin.Binarizer(src, target, static_cast<unsigned char>(t)), 0);
            EXPECT_EQ(Samples(target), Reference(src, 20, 230, static_cast<unsigned char>(t)))
                << s.w << "x" << s.h << " threshold " << t;
        }
        EXPECT_TRUE(target.GetisBinarized());
    }
}

TEST(Binarization, ExtremeThresholdsAndEquality) {
    ormel::YUVImage src(ormel::YUV400, 4, 1);
    const unsigned char values[] = {0, 1, 128, 255};
    for (int x = 0; x < 4; ++x)
        src.Y(x, 0) = values[x];
    BinImage target(4, 1, 0, 255, ormel::quiet);
    Binarization bin(target, ormel::quiet);
    bin.Binarizer(src, target, 255);
    EXPECT_EQ(Samples(target), std::vector<unsigned char>(4, 0));
    bin.Binarizer(src, target, 0);
    EXPECT_EQ(Samples(target), (std::vector<unsigned char>{0, 255, 255, 255}));
    bin.Binarizer(src, target, 128);
    EXPECT_EQ(Samples(target), (std::vector<unsigned char>{0, 0, 0, 255}));
}

TEST(Binarization, SmallSourceIsRefused) {
    BinImage target(4, 4, 0, 255, ormel::quiet);
    target.ClearRawData(255);
    Binarization bin(target, ormel::quiet);
    ormel::YUVImage small(ormel::YUV400, 3, 4);
    testing::internal::CaptureStdout();
    EXPECT_EQ(bin.Binarizer(small, target, 0), 1);
    EXPECT_FALSE(testing::internal::GetCapturedStdout().empty());
    EXPECT_EQ(Samples(target), std::vector<unsigned char>(16, 255));
    EXPECT_FALSE(target.GetisBinarized());
}

TEST(Binarization, SecondFreeReportsNothingToFree) {
    BinImage target(3, 3, 0, 255, ormel::quiet);
    Binarization bin(target, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(bin.BuffFree());
    EXPECT_FALSE(bin.BuffFree());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nNothing to free!\n\n");
    EXPECT_TRUE(bin.BuffAlloc(9));
    ormel::YUVImage src(ormel::YUV420, 3, 3);
    Randomize(src, 7);
    bin.Binarizer(src, target, 128);
    EXPECT_EQ(Samples(target), Reference(src, 0, 255, 128));
}

TEST(Binarization, CopiesWorkOnTheirOwnBuffers) {
    ormel::YUVImage src(ormel::YUV420, 6, 5);
    Randomize(src, 11);
    BinImage target(6, 5, 0, 200, ormel::quiet);
    auto* original = new Binarization(target, ormel::quiet);
    Binarization copy(*original);
    BinImage other(1, 1, 0, 255, ormel::quiet);
    Binarization assigned(other, ormel::verbose);
    assigned = *original;
    delete original;
    copy.Binarizer(src, target, 90);
    EXPECT_EQ(Samples(target), Reference(src, 0, 200, 90));
    assigned.Binarizer(src, target, 150);
    EXPECT_EQ(Samples(target), Reference(src, 0, 200, 150));
}
