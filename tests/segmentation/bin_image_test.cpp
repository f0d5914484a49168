// BinImage: geometry, the refusals of the checked pixel, level and raw-data operations with
// their messages, the accepted ones, copies, and construction from a sequence file.
#include "segmentation/BinImage.h"

#include <unistd.h>

#include <functional>
#include <numeric>
#include <tuple>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tests/segmentation/test_support.h"

using ormel::U_COMP;
using ormel::V_COMP;
using ormel::Y_COMP;

namespace {

// The messages as printed, each followed by an end of line.
const char kBadRead[] = "\nInvalid image co-ordinates!!\nDefault value of NULL is returned!!\n\n";
const char kBadWrite[] = "\nInvalid image co-ordinates!!\nNothing is changed!!\n\n";
const char kBadValue[] = "\nInvalid pixel value!!\nNothing is changed!!\n\n";
const char kBadWhite[] = "\nInvalid new white level!\nNothing To do!\n\n";

// A sequence file shaped like its image, whose frame k has sample i = (k * 10 + i) & 255.
struct FakeFile : ormel::VidsFile {
    using ormel::VidsFile::VidsFile;
    int Read(ormel::BaseImage& img, int k) override {
        unsigned char* p = img.GetArray(Y_COMP);
        std::iota(p, p + img.Width(Y_COMP) * img.Height(Y_COMP), static_cast<unsigned char>(k * 10));
        return 18;
    }
};

// A pattern distinct per position: x * 7 + y * 13.
void Paint(BinImage& img) {
    for (int i = 0; i < img.GetSize(); ++i)
        img.GetArray(Y_COMP)[i] = static_cast<unsigned char>(i % img.Width() * 7 + i / img.Width() * 13);
}

}  // namespace

TEST(BinImage, EveryComponentAnswersForLuminance) {
    BinImage img(5, 3, 0, 255, ormel::quiet);
    EXPECT_EQ(std::make_pair(img.CFormat(), img.GetSize()), std::make_pair(ormel::YUV400, 15));
    for (ormel::CompType c : {Y_COMP, U_COMP, V_COMP})
        EXPECT_EQ(std::make_tuple(img.Width(c), img.Height(c), img.GetArray(c)),
                  std::make_tuple(5, 3, img.GetArray(Y_COMP))) << "component " << c;
    Paint(img);
    EXPECT_EQ(img.GetPixel(U_COMP, 4, 2), 4u * 7 + 2 * 13);
    EXPECT_EQ(img.GetPixelAddr(V_COMP, 4, 2), img.GetArray(Y_COMP) + 2 * 5 + 4);
    EXPECT_EQ(img.Initialize(), 0);   // fresh zero-filled buffers; the leak checker sees the old go
    EXPECT_EQ(Luma(img), Plane(15, 0));

    BinImage negative(static_cast<unsigned int>(-3), 4, 0, 255, ormel::quiet);   // the base keeps -3
    EXPECT_EQ(std::make_tuple(negative.Width(), negative.GetSize(), negative.Width(Y_COMP)),
              std::make_tuple(0, 0, -3));
    EXPECT_EQ(kBadRead, Printed([&] { EXPECT_EQ(negative.GetPixel(0, 0), 0); }));
}

TEST(BinImage, CheckedOperationsRefuseOutsideTheirBoundsAndAcceptAtThem) {
    BinImage img(3, 2, 10, 200, ormel::quiet);
    img.ClearRawData(50);
    unsigned char buf[8] = {};
    const struct { const char* message; std::function<bool()> refused; } cases[] = {
        {kBadRead, [&] { return img.GetPixel(3, 0) == 0; }},
        {kBadRead, [&] { return img.GetPixel(Y_COMP, -1, 0) == 0; }},
        {kBadRead, [&] { return img.GetPixelAddr(0, 2) == nullptr; }},
        {kBadRead, [&] { return img.GetPixelAddr(U_COMP, 0, -1) == nullptr; }},
        {kBadWrite, [&] { return !img.SetPixel(3, 1, 50); }},
        {kBadWrite, [&] { return !img.SetPixel(0, 2, 5); }},   // the position goes first
        {kBadValue, [&] { return !img.SetPixel(1, 1, 9); }},
        {kBadValue, [&] { return !img.SetPixel(1, 1, 201); }},
        {kBadWhite, [&] { return !img.SetWhiteLevel(256); }},
        {kBadWhite, [&] { return !img.SetWhiteLevel(9); }},
        {"\nInvalid new black level!\nNothing To do!\n\n", [&] { return !img.SetBlackLevel(201); }},
        {"\nInvalid pointer!\nNothing Copied To!\n\n", [&] { return !img.CopyRawDataTo(nullptr, 0); }},
        {"\nInvalid size!\nNothing Copied To!\n\n", [&] { return !img.CopyRawDataTo(buf, 7); }},
        {"\nInvalid size!\nNothing Copied To!\n\n", [&] { return !img.CopyRawDataTo(buf, 0); }},
        {"\nInvalid pointer!\nNothing Copied in!\n\n", [&] { return !img.CopyRawDataFrom(nullptr, 3); }},
        {"\nInvalid size!\nNothing Copied in!\n\n", [&] { return !img.CopyRawDataFrom(buf, -1); }},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.message, Printed([&] { EXPECT_TRUE(c.refused()); })) << "case " << &c - cases;
    EXPECT_EQ(Luma(img), Plane(6, 50));
    EXPECT_EQ(std::make_pair(img.GetBlackLevel(), img.GetWhiteLevel()), std::make_pair(10u, 200u));
    EXPECT_EQ(Plane(buf, buf + 8), Plane(8, 0));

    EXPECT_TRUE(img.SetPixel(1, 1, 10) && img.SetPixel(2, 1, 200));
    EXPECT_TRUE(img.CopyRawDataTo(buf, 6));
    EXPECT_EQ(Plane(buf, buf + 8), (Plane{50, 50, 50, 50, 10, 200, 0, 0}));
    EXPECT_TRUE(img.CopyRawDataFrom(buf + 5, 2));
    EXPECT_EQ(Luma(img), (Plane{200, 0, 50, 50, 10, 200}));
    const unsigned int fills[][2] = {{200, 200}, {300, 10}, {57, 57}, {9, 10}};   // outside: black
    for (const auto& f : fills) {
        EXPECT_TRUE(img.ClearRawData(f[0]));
        EXPECT_EQ(Luma(img), Plane(6, static_cast<unsigned char>(f[1]))) << "fill " << f[0];
    }
    EXPECT_TRUE(img.SetBlackLevel(200) && img.SetWhiteLevel(200) && img.SetWhiteLevel(255));
    BinImage column(1, 7, 0, 255, ormel::quiet);   // width 1, full range: every value goes in
    for (int v = 0; v < 256; ++v)
        ASSERT_TRUE(column.SetPixel(0, 6, static_cast<unsigned char>(v)) && column.GetPixel(0, 6) == v) << v;
}

TEST(BinImage, CopyAndAssignmentTakeGeometryLevelsFlagsAndSamples) {
    BinImage src(7, 5, 4, 250, ormel::verbose), assigned(2, 2, 0, 255, ormel::quiet);
    Paint(src);
    EXPECT_TRUE(src.SetisBinarized(src.SetisDifferenced(true)));   // each setter returns its flag
    BinImage copy(src), sameSize(7, 5, 0, 255, ormel::quiet);
    assigned = src;
    sameSize = src;   // into the buffer it has
    for (BinImage* img : {&copy, &assigned, &sameSize}) {
        EXPECT_EQ(std::make_tuple(img->Width(Y_COMP), img->GetSize(), img->GetBlackLevel(),
                                  img->GetWhiteLevel(), img->GetVerbose()),
                  std::make_tuple(7, 35, 4u, 250u, ormel::verbose));
        EXPECT_TRUE(img->GetisBinarized() && img->GetisDifferenced());
        EXPECT_EQ(Luma(*img), Luma(src));
        EXPECT_NE(img->GetArray(Y_COMP), src.GetArray(Y_COMP));
    }
    // The inherited whole-plane operations follow the new size, larger or smaller.
    EXPECT_EQ(assigned.Fill(9, ormel::ALL_COMP), 10);
    EXPECT_EQ(Luma(assigned), Plane(35, 9));
    assigned = BinImage(1, 1, 0, 255, ormel::quiet);
    EXPECT_EQ(assigned.Clear(Y_COMP), 10);
    BinImage& same = src;
    src = same;
    EXPECT_EQ(Luma(src), Luma(copy));
}

TEST(BinImage, FileConstructorReadsTheGivenFrameIntoLuminance) {
    ormel::YUVImage shape(ormel::YUV420, 6, 4);
    FakeFile file(shape);
    BinImage img(file, 3, 0, 255, ormel::quiet);
    EXPECT_EQ(std::make_pair(img.GetSize(), img.CFormat()), std::make_pair(24, ormel::YUV400));
    EXPECT_EQ(img.GetPixel(0, 0), 30);   // frame 3
    EXPECT_EQ(img.GetPixel(5, 3), 30 + 23);
}

TEST(BinImageDeath, UnallocatableSizeEndsTheProcess) {
    // The message goes to standard output; route it where the death test looks.
    EXPECT_EXIT({ dup2(STDERR_FILENO, STDOUT_FILENO); BinImage(100000, 100000, 0, 255, ormel::quiet); },
                testing::ExitedWithCode(1),
                "\nError BinImage Initialization, failed to allocate memory for comyY array data!\n");
}
