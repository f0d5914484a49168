// BinImage: geometry, the checked pixel, level and raw-data operations with their
// messages, copies, and construction from a sequence file.
#include "segmentation/BinImage.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

using ormel::CompType;
using ormel::U_COMP;
using ormel::V_COMP;
using ormel::Y_COMP;

namespace {

const std::string kBadRead =
    "\nInvalid image co-ordinates!!\nDefault value of NULL is returned!!\n\n";
const std::string kBadWrite = "\nInvalid image co-ordinates!!\nNothing is changed!!\n\n";
const std::string kBadValue = "\nInvalid pixel value!!\nNothing is changed!!\n\n";

// A 4:2:0 sequence file whose frame k has sample i equal to (k * 10 + i) & 255.
class FakeFile : public ormel::BaseVFile {
public:
    FakeFile(int w, int h) : w_(w), h_(h) {}
    void SetNumberOfImages(int) override {}
    int NumberOfImages() const override { return 5; }
    void SetFrameRate(float) override {}
    float FrameRate() const override { return 25.0f; }
    void SetWidth(int) override {}
    void SetHeight(int) override {}
    int Width() const override { return w_; }
    int Height() const override { return h_; }
    int Width(CompType c) const override { return c == Y_COMP ? w_ : w_ / 2; }
    int Height(CompType c) const override { return c == Y_COMP ? h_ : h_ / 2; }
    void SetSamplingMatrices(ormel::ChromaFormat, bool) override {}
    ormel::ChromaFormat CFormat() const override { return ormel::YUV420; }
    bool Interlaced() const override { return false; }
    int Open(std::string, ormel::OpenType) override { return 0; }
    bool Close() override { return false; }
    int Read(ormel::BaseImage& img, int k) override {
        readFrame = k;
        unsigned char* p = img.GetArray(Y_COMP);
        for (int i = 0; i < img.Width(Y_COMP) * img.Height(Y_COMP); ++i)
            p[i] = static_cast<unsigned char>(k * 10 + i);
        return 18;
    }
    int Write(ormel::BaseImage&, int) override { return 18; }
    bool Sign(CompType) const override { return false; }
    void SetSign(CompType, bool) override {}

    int readFrame = -1;

private:
    int w_, h_;
};

std::vector<unsigned char> Samples(BinImage& img) {
    const unsigned char* p = img.GetArray(Y_COMP);
    return std::vector<unsigned char>(p, p + img.GetSize());
}

// A pattern distinct per position.
void Paint(BinImage& img) {
    for (int y = 0; y < img.Height(); ++y)
        for (int x = 0; x < img.Width(); ++x)
            img.SetPixel(x, y, static_cast<unsigned char>(x * 7 + y * 13));
}

}  // namespace

TEST(BinImageGeometry, EveryComponentAnswersForLuminance) {
    BinImage img(5, 3, 0, 255, ormel::quiet);
    EXPECT_EQ(img.GetSize(), 15);
    for (CompType c : {Y_COMP, U_COMP, V_COMP}) {
        EXPECT_EQ(img.Width(c), 5);
        EXPECT_EQ(img.Height(c), 3);
        EXPECT_EQ(img.GetArray(c), img.GetArray(Y_COMP));
    }
    EXPECT_EQ(img.CFormat(), ormel::YUV400);
    EXPECT_EQ(Samples(img), std::vector<unsigned char>(15, 0));
    img.SetPixel(4, 2, 77);
    EXPECT_EQ(img.GetPixel(U_COMP, 4, 2), 77u);
    EXPECT_EQ(img.GetPixelAddr(V_COMP, 4, 2), img.GetArray(Y_COMP) + 2 * 5 + 4);
}

TEST(BinImageGeometry, NonPositiveBaseWidthGivesSizeZero) {
    BinImage img(static_cast<unsigned int>(-3), 4, 0, 255, ormel::quiet);
    EXPECT_EQ(img.Width(), 0);
    EXPECT_EQ(img.GetSize(), 0);
    EXPECT_EQ(img.Width(Y_COMP), -3);   // the base keeps what it was given
    testing::internal::CaptureStdout();
    EXPECT_EQ(img.GetPixel(0, 0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadRead);
}

TEST(BinImageGeometry, InitializeAgainStartsFromZero) {
    BinImage img(3, 2, 0, 255, ormel::quiet);
    Paint(img);
    EXPECT_EQ(img.Initialize(), 0);   // the leak checker sees the first buffers go
    EXPECT_EQ(Samples(img), std::vector<unsigned char>(6, 0));
}

TEST(BinImagePixels, OutsideReadsReportAndGiveZeroOrNull) {
    BinImage img(4, 3, 0, 255, ormel::quiet);
    Paint(img);
    const struct { int x, y; } outside[] = {{4, 0}, {-1, 0}, {0, 3}, {0, -1}};
    for (const auto& p : outside) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(img.GetPixel(p.x, p.y), 0);
        EXPECT_EQ(img.GetPixel(Y_COMP, p.x, p.y), 0u);
        EXPECT_EQ(img.GetPixelAddr(p.x, p.y), nullptr);
        EXPECT_EQ(img.GetPixelAddr(U_COMP, p.x, p.y), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadRead + kBadRead + kBadRead + kBadRead)
            << "at " << p.x << ", " << p.y;
    }
    EXPECT_EQ(img.GetPixel(3, 2), 3 * 7 + 2 * 13);
}

TEST(BinImagePixels, WritesCheckPositionThenLevels) {
    BinImage img(3, 2, 10, 200, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.SetPixel(3, 0, 50));
    EXPECT_FALSE(img.SetPixel(0, 2, 5));
    EXPECT_FALSE(img.SetPixel(1, 1, 5));
    EXPECT_FALSE(img.SetPixel(1, 1, 201));
    EXPECT_TRUE(img.SetPixel(1, 1, 10));
    EXPECT_TRUE(img.SetPixel(2, 1, 200));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadWrite + kBadWrite + kBadValue + kBadValue);
    EXPECT_EQ(Samples(img), (std::vector<unsigned char>{0, 0, 0, 0, 10, 200}));

    BinImage column(1, 7, 0, 255, ormel::quiet);   // width 1: every value, last row
    for (int v = 0; v < 256; ++v)
        ASSERT_TRUE(column.SetPixel(0, 6, static_cast<unsigned char>(v)));
    EXPECT_EQ(column.GetArray(Y_COMP)[6], 255);
}

TEST(BinImageLevels, SettersKeepBlackAtMostWhiteAtMost255) {
    BinImage img(2, 2, 10, 200, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.SetWhiteLevel(256));
    EXPECT_FALSE(img.SetWhiteLevel(9));
    EXPECT_FALSE(img.SetBlackLevel(201));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nInvalid new white level!\nNothing To do!\n\n"
              "\nInvalid new white level!\nNothing To do!\n\n"
              "\nInvalid new black level!\nNothing To do!\n\n");
    EXPECT_EQ(img.GetWhiteLevel(), 200u);
    EXPECT_EQ(img.GetBlackLevel(), 10u);
    EXPECT_TRUE(img.SetBlackLevel(200));
    EXPECT_TRUE(img.SetWhiteLevel(200));
    EXPECT_TRUE(img.SetWhiteLevel(255));
}

TEST(BinImageRawData, ClearFallsBackToTheBlackLevel) {
    BinImage full(3, 3, 0, 255, ormel::quiet);
    EXPECT_TRUE(full.ClearRawData(300));
    EXPECT_EQ(Samples(full), std::vector<unsigned char>(9, 0));
    BinImage mid(3, 1, 10, 200, ormel::quiet);
    EXPECT_TRUE(mid.ClearRawData(200));
    EXPECT_EQ(Samples(mid), std::vector<unsigned char>(3, 200));
    EXPECT_TRUE(mid.ClearRawData(9));
    EXPECT_EQ(Samples(mid), std::vector<unsigned char>(3, 10));
}

TEST(BinImageRawData, CopiesCheckPointerThenSize) {
    BinImage img(3, 2, 0, 255, ormel::quiet);
    Paint(img);
    std::vector<unsigned char> buf(8, 99);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.CopyRawDataTo(nullptr, 0));
    EXPECT_FALSE(img.CopyRawDataTo(buf.data(), 7));
    EXPECT_FALSE(img.CopyRawDataTo(buf.data(), 0));
    EXPECT_FALSE(img.CopyRawDataFrom(nullptr, 3));
    EXPECT_FALSE(img.CopyRawDataFrom(buf.data(), -1));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nInvalid pointer!\nNothing Copied To!\n\n"
              "\nInvalid size!\nNothing Copied To!\n\n"
              "\nInvalid size!\nNothing Copied To!\n\n"
              "\nInvalid pointer!\nNothing Copied in!\n\n"
              "\nInvalid size!\nNothing Copied in!\n\n");
    EXPECT_EQ(buf, std::vector<unsigned char>(8, 99));

    EXPECT_TRUE(img.CopyRawDataTo(buf.data(), 6));
    EXPECT_EQ(buf, (std::vector<unsigned char>{0, 7, 14, 13, 20, 27, 99, 99}));
    EXPECT_TRUE(img.CopyRawDataFrom(buf.data() + 6, 2));
    EXPECT_EQ(Samples(img), (std::vector<unsigned char>{99, 99, 14, 13, 20, 27}));
}

TEST(BinImageCopies, CopyConstructionTakesLevelsFlagsAndSamples) {
    BinImage src(5, 3, 4, 250, ormel::verbose);
    Paint(src);
    src.SetisBinarized(true);
    BinImage copy(src);
    EXPECT_EQ(copy.GetBlackLevel(), 4u);
    EXPECT_EQ(copy.GetWhiteLevel(), 250u);
    EXPECT_EQ(copy.GetVerbose(), ormel::verbose);
    EXPECT_TRUE(copy.GetisBinarized());
    EXPECT_FALSE(copy.GetisDifferenced());
    EXPECT_EQ(Samples(copy), Samples(src));
    EXPECT_NE(copy.GetArray(Y_COMP), src.GetArray(Y_COMP));
}

TEST(BinImageCopies, AssignmentTakesGeometryAndSamples) {
    BinImage src(7, 5, 3, 240, ormel::quiet);
    Paint(src);
    BinImage dst(2, 2, 0, 255, ormel::verbose);
    dst = src;
    EXPECT_EQ(dst.GetSize(), 35);
    EXPECT_EQ(dst.Width(Y_COMP), 7);
    EXPECT_EQ(dst.GetBlackLevel(), 3u);
    EXPECT_EQ(Samples(dst), Samples(src));
    // The inherited whole-plane operations follow the new size, larger or smaller.
    EXPECT_EQ(dst.Fill(9, ormel::ALL_COMP), 10);
    EXPECT_EQ(Samples(dst), std::vector<unsigned char>(35, 9));
    BinImage small(1, 1, 0, 255, ormel::quiet);
    dst = small;
    EXPECT_EQ(dst.Clear(Y_COMP), 10);
    BinImage& same = src;
    src = same;
    EXPECT_EQ(src.GetPixel(6, 4), 6 * 7 + 4 * 13);
}

TEST(BinImageFile, ReadsTheGivenFrameIntoLuminance) {
    FakeFile file(6, 4);
    BinImage img(file, 3, 0, 255, ormel::quiet);
    EXPECT_EQ(file.readFrame, 3);
    EXPECT_EQ(img.GetSize(), 24);
    EXPECT_EQ(img.CFormat(), ormel::YUV400);
    EXPECT_EQ(img.GetPixel(0, 0), 30);
    EXPECT_EQ(img.GetPixel(5, 3), 30 + 23);
}

TEST(BinImageDeath, UnallocatableSizeEndsTheProcess) {
    // The message goes to standard output; route it where the death test looks.
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            BinImage img(100000, 100000, 0, 255, ormel::quiet);
        },
        testing::ExitedWithCode(1),
        "\nError BinImage Initialization, failed to allocate memory for comyY array data!\n");
}
