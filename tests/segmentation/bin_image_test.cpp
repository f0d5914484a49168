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
const std::string kBadWhite = "\nInvalid new white level!\nNothing To do!\n\n";
const std::string kBadBlack = "\nInvalid new black level!\nNothing To do!\n\n";

// A sequence file of fixed geometry whose frame k has sample i equal to (k * 10 + i) & 255.
class FakeFile : public ormel::BaseVFile {
public:
    FakeFile(int w, int h, ormel::ChromaFormat f) : w_(w), h_(h), f_(f) {}
    void SetNumberOfImages(int) override {}
    int NumberOfImages() const override { return 5; }
    void SetFrameRate(float) override {}
    float FrameRate() const override { return 25.0f; }
    void SetWidth(int w) override { w_ = w; }
    void SetHeight(int h) override { h_ = h; }
    int Width() const override { return w_; }
    int Height() const override { return h_; }
    int Width(CompType c) const override { return c == Y_COMP ? w_ : w_ / 2; }
    int Height(CompType c) const override { return c == Y_COMP ? h_ : h_ / 2; }
    void SetSamplingMatrices(ormel::ChromaFormat f, bool) override { f_ = f; }
    ormel::ChromaFormat CFormat() const override { return f_; }
    bool Interlaced() const override { return false; }
    int Open(std::string, ormel::OpenType) override { return 0; }
    bool Close() override { return false; }
    int Read(ormel::BaseImage& img, int k) override {
        readFrame = k;
        readInto = &img;
        const int n = img.Width(Y_COMP) * img.Height(Y_COMP);
        unsigned char* p = img.GetArray(Y_COMP);
        for (int i = 0; i < n; ++i)
            p[i] = static_cast<unsigned char>(k * 10 + i);
        return 18;
    }
    int Write(ormel::BaseImage&, int) override { return 18; }
    bool Sign(CompType) const override { return false; }
    void SetSign(CompType, bool) override {}

    int readFrame = -1;
    const ormel::BaseImage* readInto = nullptr;

private:
    int w_, h_;
    ormel::ChromaFormat f_;
};

std::vector<unsigned char> Samples(BinImage& img) {
    std::vector<unsigned char> out(static_cast<size_t>(img.GetSize()));
    if (!out.empty())
        img.CopyRawDataTo(out.data(), img.GetSize());
    return out;
}

// Fills img with a pattern distinct per position.
void Paint(BinImage& img) {
    for (int y = 0; y < img.Height(); ++y)
        for (int x = 0; x < img.Width(); ++x)
            img.SetPixel(x, y, static_cast<unsigned char>(x * 7 + y * 13));
}

}  // namespace

TEST(BinImageGeometry, EveryComponentAnswersForLuminance) {
    BinImage img(5, 3, 0, 255, ormel::quiet);
    EXPECT_EQ(img.Width(), 5);
    EXPECT_EQ(img.Height(), 3);
    EXPECT_EQ(img.GetSize(), 15);
    for (CompType c : {Y_COMP, U_COMP, V_COMP}) {
        EXPECT_EQ(img.Width(c), 5);
        EXPECT_EQ(img.Height(c), 3);
        EXPECT_EQ(img.GetArray(c), img.GetArray(Y_COMP));
    }
    EXPECT_EQ(img.CFormat(), ormel::YUV400);
    EXPECT_EQ(Samples(img), std::vector<unsigned char>(15, 0));
    EXPECT_FALSE(img.GetisBinarized());
    EXPECT_FALSE(img.GetisDifferenced());

    img.SetPixel(4, 2, 77);
    EXPECT_EQ(img.GetPixel(U_COMP, 4, 2), 77u);
    EXPECT_EQ(img.GetPixelAddr(V_COMP, 4, 2), img.GetPixelAddr(4, 2));
    EXPECT_EQ(img.GetArray(Y_COMP)[2 * 5 + 4], 77);   // row-major, row y at y * width
}

TEST(BinImageGeometry, NonPositiveBaseSizeGivesEmptyImage) {
    BinImage img(static_cast<unsigned int>(-3), 4, 0, 255, ormel::quiet);
    EXPECT_EQ(img.Width(), 0);
    EXPECT_EQ(img.Height(), 4);
    EXPECT_EQ(img.GetSize(), 0);
    EXPECT_EQ(img.Width(Y_COMP), -3);   // the base keeps what it was given
    testing::internal::CaptureStdout();
    EXPECT_EQ(img.GetPixel(0, 0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadRead);
    EXPECT_TRUE(img.ClearRawData(9));

    BinImage none(0, 0, 0, 255, ormel::quiet);
    EXPECT_EQ(none.GetSize(), 0);
}

TEST(BinImageGeometry, InitializeStartsFreshFromTheBaseSize) {
    BinImage img(3, 2, 0, 255, ormel::quiet);
    Paint(img);
    EXPECT_EQ(img.Initialize(), 0);   // no leak of the first buffers under the leak checker
    EXPECT_EQ(img.GetSize(), 6);
    EXPECT_EQ(Samples(img), std::vector<unsigned char>(6, 0));
}

TEST(BinImagePixels, ReadsOutsideReportAndGiveZeroOrNull) {
    BinImage img(4, 3, 0, 255, ormel::quiet);
    Paint(img);
    const struct { int x, y; } outside[] = {{4, 0}, {-1, 0}, {0, 3}, {0, -1}, {-5, 9}};
    for (const auto& p : outside) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(img.GetPixel(p.x, p.y), 0);
        EXPECT_EQ(img.GetPixel(Y_COMP, p.x, p.y), 0u);
        EXPECT_EQ(img.GetPixelAddr(p.x, p.y), nullptr);
        EXPECT_EQ(img.GetPixelAddr(U_COMP, p.x, p.y), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadRead + kBadRead + kBadRead + kBadRead)
            << "at " << p.x << ", " << p.y;
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(img.GetPixel(3, 2), static_cast<unsigned char>(3 * 7 + 2 * 13));
    EXPECT_EQ(img.GetPixel(0, 0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(BinImagePixels, WritesCheckPositionThenLevels) {
    BinImage img(3, 2, 10, 200, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.SetPixel(3, 0, 50));
    EXPECT_FALSE(img.SetPixel(0, 2, 5));   // position is checked before the value
    EXPECT_FALSE(img.SetPixel(1, 1, 5));
    EXPECT_FALSE(img.SetPixel(1, 1, 201));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadWrite + kBadWrite + kBadValue + kBadValue);
    EXPECT_EQ(img.GetPixel(1, 1), 0);

    testing::internal::CaptureStdout();
    EXPECT_TRUE(img.SetPixel(1, 1, 10));
    EXPECT_TRUE(img.SetPixel(2, 1, 200));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(img.GetPixel(1, 1), 10);
    EXPECT_EQ(img.GetPixel(2, 1), 200);

    BinImage full(2, 2, 0, 255, ormel::quiet);
    for (int v = 0; v < 256; ++v)
        ASSERT_TRUE(full.SetPixel(1, 0, static_cast<unsigned char>(v)));
}

TEST(BinImagePixels, WidthOneColumn) {
    BinImage img(1, 7, 0, 255, ormel::quiet);
    EXPECT_TRUE(img.SetPixel(0, 6, 42));
    EXPECT_EQ(img.GetArray(Y_COMP)[6], 42);
    testing::internal::CaptureStdout();
    EXPECT_EQ(img.GetPixel(1, 0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadRead);
}

TEST(BinImageLevels, WhiteLevelBounds) {
    BinImage img(2, 2, 10, 200, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.SetWhiteLevel(256));
    EXPECT_FALSE(img.SetWhiteLevel(9));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadWhite + kBadWhite);
    EXPECT_EQ(img.GetWhiteLevel(), 200u);
    EXPECT_TRUE(img.SetWhiteLevel(255));
    EXPECT_TRUE(img.SetWhiteLevel(10));   // equal to the black level
    EXPECT_EQ(img.GetWhiteLevel(), 10u);
}

TEST(BinImageLevels, BlackLevelBounds) {
    BinImage img(2, 2, 10, 200, ormel::quiet);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.SetBlackLevel(201));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kBadBlack);
    EXPECT_EQ(img.GetBlackLevel(), 10u);
    EXPECT_TRUE(img.SetBlackLevel(200));
    EXPECT_TRUE(img.SetBlackLevel(0));
    EXPECT_EQ(img.GetBlackLevel(), 0u);
}

TEST(BinImageLevels, ConstructorTakesLevelsUnchecked) {
    BinImage img(2, 2, 300, 20, ormel::verbose);
    EXPECT_EQ(img.GetBlackLevel(), 300u);
    EXPECT_EQ(img.GetWhiteLevel(), 20u);
    EXPECT_EQ(img.GetVerbose(), ormel::verbose);
}

TEST(BinImageRawData, ClearUsesBlackLevelOutsideTheLevels) {
    BinImage img(3, 3, 0, 255, ormel::quiet);
    EXPECT_TRUE(img.ClearRawData(300));
    EXPECT_EQ(Samples(img), std::vector<unsigned char>(9, 0));
    EXPECT_TRUE(img.ClearRawData(7));
    EXPECT_EQ(Samples(img), std::vector<unsigned char>(9, 7));

    BinImage mid(3, 1, 10, 200, ormel::quiet);
    EXPECT_TRUE(mid.ClearRawData(201));
    EXPECT_EQ(Samples(mid), std::vector<unsigned char>(3, 10));
    EXPECT_TRUE(mid.ClearRawData(200));
    EXPECT_EQ(Samples(mid), std::vector<unsigned char>(3, 200));
    EXPECT_TRUE(mid.ClearRawData(9));
    EXPECT_EQ(Samples(mid), std::vector<unsigned char>(3, 10));
}

TEST(BinImageRawData, CopyOutRefusals) {
    BinImage img(3, 2, 0, 255, ormel::quiet);
    Paint(img);
    std::vector<unsigned char> buf(8, 99);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.CopyRawDataTo(nullptr, 3));
    EXPECT_FALSE(img.CopyRawDataTo(nullptr, 0));   // the pointer is checked first
    EXPECT_FALSE(img.CopyRawDataTo(buf.data(), 7));
    EXPECT_FALSE(img.CopyRawDataTo(buf.data(), 0));
    EXPECT_FALSE(img.CopyRawDataTo(buf.data(), -1));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nInvalid pointer!\nNothing Copied To!\n\n"
              "\nInvalid pointer!\nNothing Copied To!\n\n"
              "\nInvalid size!\nNothing Copied To!\n\n"
              "\nInvalid size!\nNothing Copied To!\n\n"
              "\nInvalid size!\nNothing Copied To!\n\n");
    EXPECT_EQ(buf, std::vector<unsigned char>(8, 99));

    EXPECT_TRUE(img.CopyRawDataTo(buf.data(), 2));
    EXPECT_EQ(buf[0], 0);
    EXPECT_EQ(buf[1], 7);
    EXPECT_EQ(buf[2], 99);
    EXPECT_TRUE(img.CopyRawDataTo(buf.data(), 6));
    EXPECT_EQ(buf[5], 2 * 7 + 13);
}

TEST(BinImageRawData, CopyInRefusals) {
    BinImage img(3, 2, 0, 255, ormel::quiet);
    std::vector<unsigned char> buf = {1, 2, 3, 4, 5, 6, 7};
    testing::internal::CaptureStdout();
    EXPECT_FALSE(img.CopyRawDataFrom(nullptr, 3));
    EXPECT_FALSE(img.CopyRawDataFrom(buf.data(), 7));
    EXPECT_FALSE(img.CopyRawDataFrom(buf.data(), 0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nInvalid pointer!\nNothing Copied in!\n\n"
              "\nInvalid size!\nNothing Copied in!\n\n"
              "\nInvalid size!\nNothing Copied in!\n\n");
    EXPECT_EQ(Samples(img), std::vector<unsigned char>(6, 0));

    EXPECT_TRUE(img.CopyRawDataFrom(buf.data(), 2));
    EXPECT_EQ(Samples(img), (std::vector<unsigned char>{1, 2, 0, 0, 0, 0}));
    EXPECT_TRUE(img.CopyRawDataFrom(buf.data(), 6));
    EXPECT_EQ(img.GetPixel(2, 1), 6);
}

TEST(BinImageCopies, CopyConstructorTakesEverything) {
    BinImage src(5, 3, 0, 250, ormel::verbose);
    Paint(src);
    src.SetBlackLevel(4);
    src.SetisBinarized(true);
    src.SetisDifferenced(true);
    BinImage copy(src);
    EXPECT_EQ(copy.Width(), 5);
    EXPECT_EQ(copy.Height(), 3);
    EXPECT_EQ(copy.GetBlackLevel(), 4u);
    EXPECT_EQ(copy.GetWhiteLevel(), 250u);
    EXPECT_EQ(copy.GetVerbose(), ormel::verbose);
    EXPECT_TRUE(copy.GetisBinarized());
    EXPECT_TRUE(copy.GetisDifferenced());
    EXPECT_EQ(Samples(copy), Samples(src));
    EXPECT_NE(copy.GetArray(Y_COMP), src.GetArray(Y_COMP));
    copy.SetPixel(0, 0, 200);
    EXPECT_EQ(src.GetPixel(0, 0), 0);
}

TEST(BinImageCopies, AssignmentTakesGeometryAndSamples) {
    BinImage src(7, 5, 3, 240, ormel::quiet);
    Paint(src);
    src.SetisBinarized(true);
    BinImage dst(2, 2, 0, 255, ormel::verbose);
    dst = src;
    EXPECT_EQ(dst.Width(), 7);
    EXPECT_EQ(dst.Height(), 5);
    EXPECT_EQ(dst.GetSize(), 35);
    EXPECT_EQ(dst.Width(Y_COMP), 7);
    EXPECT_EQ(dst.Height(Y_COMP), 5);
    EXPECT_EQ(dst.GetBlackLevel(), 3u);
    EXPECT_EQ(dst.GetVerbose(), ormel::quiet);
    EXPECT_TRUE(dst.GetisBinarized());
    EXPECT_EQ(Samples(dst), Samples(src));
    // The inherited whole-plane operations follow the new size.
    EXPECT_EQ(dst.Fill(9, ormel::ALL_COMP), 10);
    EXPECT_EQ(Samples(dst), std::vector<unsigned char>(35, 9));

    BinImage small(1, 1, 0, 255, ormel::quiet);
    dst = small;
    EXPECT_EQ(dst.GetSize(), 1);
    EXPECT_EQ(dst.Clear(Y_COMP), 10);

    BinImage& same = src;
    src = same;
    EXPECT_EQ(src.GetPixel(6, 4), static_cast<unsigned char>(6 * 7 + 4 * 13));
}

TEST(BinImageFile, ReadsTheGivenFrameIntoLuminance) {
    FakeFile file(6, 4, ormel::YUV420);
    BinImage img(file, 3, 0, 255, ormel::quiet);
    EXPECT_EQ(file.readFrame, 3);
    EXPECT_EQ(file.readInto, &img);
    EXPECT_EQ(img.Width(), 6);
    EXPECT_EQ(img.Height(), 4);
    EXPECT_EQ(img.GetSize(), 24);
    EXPECT_EQ(img.CFormat(), ormel::YUV400);
    EXPECT_EQ(img.Width(U_COMP), 6);
    EXPECT_EQ(img.GetPixel(0, 0), 30);
    EXPECT_EQ(img.GetPixel(5, 3), 30 + 23);
    EXPECT_FALSE(img.GetisBinarized());
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
