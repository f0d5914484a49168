// Binarization: the global threshold on odd sizes and at the extreme thresholds, the
// refusal of a small source, the buffer life cycle and copies.
#include "segmentation/Binarization.h"

#include "tests/segmentation/test_support.h"

namespace {

// Sample by sample: at or below the threshold black, else white.
Plane Expected(ormel::YUVImage& src, unsigned char black, unsigned char white, int threshold) {
    Plane out = Luma(src);
    for (unsigned char& v : out)
        v = v <= threshold ? black : white;
    return out;
}

}  // namespace

TEST(Binarization, OddSizesAndExtremeThresholdsWithTheMethodsLevels) {
    const struct { int w, h; } sizes[] = {{7, 5}, {1, 9}, {9, 1}, {33, 17}};
    unsigned seed = 1;
    for (const auto& s : sizes) {
        ormel::YUVImage src(ormel::YUV420, s.w, s.h);
        Randomize(src, seed++);
        src.Y(0, 0) = 0;   // both extremes present, at the first and the last position
        src.Y(s.w - 1, s.h - 1) = 255;
        BinImage shape(s.w, s.h, 20, 230, ormel::quiet), target(s.w, s.h, 0, 255, ormel::quiet);
        Binarization bin(shape, ormel::quiet);   // the target's own levels play no part
        for (int t : {0, 1, 127, 254, 255}) {
            EXPECT_EQ(bin.Binarizer(src, target, static_cast<unsigned char>(t)), 0);
            EXPECT_EQ(Luma(target), Expected(src, 20, 230, t)) << s.w << "x" << s.h << " threshold " << t;
        }
        EXPECT_TRUE(target.GetisBinarized());
    }
}

TEST(Binarization, SmallSourceRefusedBuffersFreedOnceCopiesOwnTheirs) {
    ormel::YUVImage src(ormel::YUV420, 6, 5), small(ormel::YUV400, 5, 5);
    Randomize(src, 11);
    BinImage target(6, 5, 0, 200, ormel::quiet), other(1, 1, 0, 255, ormel::quiet);
    target.ClearRawData(7);
    auto* original = new Binarization(target, ormel::quiet);
    EXPECT_EQ(original->GetMethodName(), "Binarization");
    EXPECT_EQ(original->GetNumVariables(), 2u);
    EXPECT_NE("", Printed([&] { EXPECT_EQ(original->Binarizer(small, target, 0), 1); }));
    EXPECT_EQ(Luma(target), Plane(30, 7));
    EXPECT_FALSE(target.GetisBinarized());

    EXPECT_TRUE(original->BuffFree());
    EXPECT_EQ("\nNothing to free!\n\n", Printed([&] { EXPECT_FALSE(original->BuffFree()); }));
    EXPECT_TRUE(original->BuffAlloc(30));
    Binarization copy(*original), assigned(other, ormel::verbose);
    assigned = *original;
    delete original;
    copy.Binarizer(src, target, 90);
    EXPECT_EQ(Luma(target), Expected(src, 0, 200, 90));
    assigned.Binarizer(src, target, 150);
    EXPECT_EQ(Luma(target), Expected(src, 0, 200, 150));
}
