// VidsFile: settings through the vids record, opening, and frame, block and sequence
// transfers checked against files on disk.
#include "image/VidsFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "image/ImageBlock.h"
#include "image/YUVImage.h"
#include "vids/vids.h"

using namespace ormel;

namespace {

// A fresh directory per test, removed afterwards.
class VidsFileOnDisk : public testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/vids_file_test.XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir = tmpl;
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::string Path(const std::string& base) const { return dir + "/" + base; }
    bool Exists(const std::string& file) const { return std::filesystem::exists(Path(file)); }

    std::string dir;
};

}  // namespace

TEST(VidsFileSettings, DefaultIsOneProgressive420FrameOfCif) {
    VidsFile f;
    EXPECT_EQ(f.Width(), 352);
    EXPECT_EQ(f.Height(), 288);
    EXPECT_EQ(f.NumberOfImages(), 1);
    EXPECT_FLOAT_EQ(f.FrameRate(), 30.0f);
    EXPECT_EQ(f.CFormat(), YUV420);
    EXPECT_FALSE(f.Interlaced());
    EXPECT_FALSE(f.OnlyYComponent());
    EXPECT_EQ(f.Width(U_COMP), 176);
    EXPECT_EQ(f.Height(V_COMP), 144);
    EXPECT_FALSE(f.Sign(Y_COMP));
    EXPECT_FALSE(f.Sign(U_COMP));
}

TEST(VidsFileSettings, InterlacedFileReportsHalfItsStoredRate) {
    VidsFile f;
    f.SetSamplingMatrices(YUV420, true);
    f.SetFrameRate(25.0f);
    EXPECT_TRUE(f.Interlaced());
    EXPECT_FLOAT_EQ(f.FrameRate(), 12.5f);
    // Vertical sizes are per field.
    EXPECT_EQ(f.Height(Y_COMP), 144);
    EXPECT_EQ(f.Height(U_COMP), 72);
    f.SetSamplingMatrices(YUV420, false);
    EXPECT_FLOAT_EQ(f.FrameRate(), 25.0f);
}

TEST(VidsFileSettings, ChromaFormatsRoundTripExceptFourOneOne) {
    VidsFile f;
    const ChromaFormat kept[] = {YUV400, YUV422, YUV444, YUV420};
    for (ChromaFormat fmt : kept) {
        f.SetSamplingMatrices(fmt, false);
        EXPECT_EQ(f.CFormat(), fmt) << "format " << fmt;
        f.SetSamplingMatrices(fmt, true);
        EXPECT_EQ(f.CFormat(), fmt) << "interlaced format " << fmt;
    }
    f.SetSamplingMatrices(UNKNOWN_FORMAT, false);
    EXPECT_EQ(f.CFormat(), YUV444);
    EXPECT_EQ(f.Width(U_COMP), 352);
}

TEST(VidsFileSettings, FourOneOneFileReportsWhatItsLatticesDerive) {
    VidsFile f;
    f.SetWidth(360);
    for (int il = 0; il < 2; ++il) {
        f.SetSamplingMatrices(YUV411, il == 1);
        // The same lattices and names set directly on a record.
        IMG_INF* inf = nullptr;
        ASSERT_EQ(Img_INF_alloc(&inf), 1);
        Img_set_smpl_mtrx(inf, 0, 1, 0, 1 + il, 0, il, 1);
        Img_set_smpl_mtrx(inf, 1, 4, 0, 1 + il, 0, il, 1);
        Img_set_smpl_mtrx(inf, 2, 4, 0, 1 + il, 0, il, 1);
        Img_set_comp_nam(inf, 0, "Y");
        Img_set_comp_nam(inf, 1, "C1");
        Img_set_comp_nam(inf, 2, "C2");
        ASSERT_EQ(Img_get_format(inf), IMG_FMT_YC_422);
        Img_INF_free(inf);
        // Chroma every fourth pixel reads as 4:2:2 by name and lattice: never YUV411.
        EXPECT_EQ(f.CFormat(), YUV422);
        EXPECT_EQ(f.Interlaced(), il == 1);
        EXPECT_EQ(f.Width(U_COMP), 90);
        EXPECT_EQ(f.Width(V_COMP), 90);
        EXPECT_EQ(f.Height(U_COMP), f.Height(Y_COMP));
    }
}

TEST(VidsFileSettings, ComponentSizesOfLuminanceOnlyAndOtherFiles) {
    VidsFile f;
    f.SetWidth(40);
    f.SetHeight(30);
    EXPECT_EQ(f.Width(ALL_COMP), 22);
    EXPECT_EQ(f.Height(static_cast<CompType>(-1)), 22);
    f.SetSamplingMatrices(YUV400, false);
    EXPECT_EQ(f.CFormat(), YUV400);
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(f.Width(static_cast<CompType>(c)), 40) << "component " << c;
        EXPECT_EQ(f.Height(static_cast<CompType>(c)), 30) << "component " << c;
    }
}

TEST(VidsFileSettings, ChromaSignsShareFileComponentOne) {
    VidsFile f;
    f.SetSign(U_COMP, true);   // file component 2
    EXPECT_FALSE(f.Sign(U_COMP));
    EXPECT_FALSE(f.Sign(V_COMP));
    f.SetSign(V_COMP, true);   // file component 1
    EXPECT_TRUE(f.Sign(U_COMP));
    EXPECT_TRUE(f.Sign(V_COMP));
    EXPECT_FALSE(f.Sign(Y_COMP));
    f.SetSign(ALL_COMP, true);   // any other value is luminance
    EXPECT_TRUE(f.Sign(Y_COMP));
}

TEST(VidsFileSettings, ConstructorsTakeTheirSourcesSettings) {
    YUVImage img(YUV422, 64, 32);
    VidsFile from_image(img);
    EXPECT_EQ(from_image.CFormat(), YUV422);
    EXPECT_EQ(from_image.Width(U_COMP), 32);
    EXPECT_EQ(from_image.Height(U_COMP), 32);
    EXPECT_FALSE(from_image.OnlyYComponent());

    ImageBlock b(img, Y_COMP);
    ASSERT_EQ(b.SetOrigin(4, 2), 1);
    b.SetWindow(20, 10);
    VidsFile from_block(b, YUV420, true);
    EXPECT_TRUE(from_block.OnlyYComponent());
    EXPECT_EQ(from_block.Width(), 20);
    EXPECT_EQ(from_block.Height(), 10);
    EXPECT_TRUE(from_block.Interlaced());
    EXPECT_FALSE(from_block.Sign(V_COMP));   // the record's default chroma sign is cleared

    VidsFile src;
    src.SetWidth(100);
    src.SetHeight(50);
    src.SetNumberOfImages(7);
    src.SetFrameRate(50.0f);
    src.SetSamplingMatrices(YUV422, true);
    src.SetOnlyYComponent(true);
    src.SetSign(V_COMP, true);
    VidsFile copy(src);
    EXPECT_EQ(copy.Width(), 100);
    EXPECT_EQ(copy.Height(), 50);
    EXPECT_EQ(copy.NumberOfImages(), 1);
    EXPECT_EQ(copy.CFormat(), YUV422);
    EXPECT_TRUE(copy.Interlaced());
    EXPECT_TRUE(copy.OnlyYComponent());
    EXPECT_TRUE(copy.Sign(U_COMP));
    // The copy stores the source's reported (halved) rate as its own field rate.
    EXPECT_FLOAT_EQ(copy.FrameRate(), 12.5f);

    const BaseVFile& base = src;
    VidsFile from_base(base);
    EXPECT_EQ(from_base.Width(), 100);

    VidsFile assigned;
    assigned = src;
    EXPECT_EQ(assigned.Width(), 100);
    EXPECT_EQ(assigned.CFormat(), YUV422);
    EXPECT_EQ(assigned.NumberOfImages(), 1);
    assigned = assigned;
    EXPECT_EQ(assigned.Height(), 50);
}

TEST_F(VidsFileOnDisk, OpenRefusesAnUnknownModeWithoutTouchingTheDisk) {
    VidsFile f;
    EXPECT_EQ(f.Open(Path("seq"), static_cast<OpenType>(3)), 3);
    EXPECT_EQ(f.Open(Path("seq"), static_cast<OpenType>(-1)), 3);
    EXPECT_FALSE(Exists("seq.des"));
    EXPECT_FALSE(Exists("seq.pic"));
}
