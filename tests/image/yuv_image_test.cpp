// YUVImage: geometry per chroma format, the bounds rule, status codes, copies.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <sstream>
#include <string>

#include "image/VidsFile.h"
#include "image/YUVImage.h"

using namespace ormel;

namespace {

std::string Captured(const std::function<void()>& f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

void FillRamp(YUVImage& img) {
    for (int c = 0; c < 3; ++c) {
        const CompType comp = static_cast<CompType>(c);
        unsigned char* p = img.GetArray(comp);
        const long n = static_cast<long>(img.Width(comp)) * img.Height(comp);
        for (long k = 0; k < n; ++k)
            p[k] = static_cast<unsigned char>(k * 7 + c);
    }
}

}  // namespace

TEST(YUVImageGeometry, ChromaSizesAndFactorsPerFormat) {
    struct Case { ChromaFormat f; int w, h, cw, ch; } cases[] = {
        {YUV420, 352, 288, 176, 144}, {YUV422, 352, 288, 176, 288},
        {YUV444, 351, 287, 351, 287}, {YUV411, 350, 10, 87, 10},
        {YUV400, 352, 288, 0, 0},     {UNKNOWN_FORMAT, 33, 17, 33, 17},
        {YUV420, 5, 3, 2, 1},
    };
    for (const Case& c : cases) {
        YUVImage img(c.f, c.w, c.h);
        EXPECT_EQ(img.Width(Y_COMP), c.w);
        EXPECT_EQ(img.Height(Y_COMP), c.h);
        for (CompType k : {U_COMP, V_COMP}) {
            EXPECT_EQ(img.Width(k), c.cw) << "format " << c.f;
            EXPECT_EQ(img.Height(k), c.ch) << "format " << c.f;
        }
        EXPECT_EQ(img.CFormat(), c.f);
    }
    YUVImage def;
    EXPECT_EQ(def.CFormat(), YUV420);
    EXPECT_EQ(def.Width(U_COMP), 176);
    EXPECT_EQ(def.Height(V_COMP), 144);
    EXPECT_EQ(def.Width(static_cast<CompType>(7)), 352);   // as GetArray: the luminance
}

TEST(YUVImageGeometry, PlanesStartZeroFilled) {
    YUVImage img(YUV420, 17, 9);
    for (int c = 0; c < 3; ++c) {
        const CompType comp = static_cast<CompType>(c);
        const unsigned char* p = img.GetArray(comp);
        for (long k = 0; k < static_cast<long>(img.Width(comp)) * img.Height(comp); ++k)
            ASSERT_EQ(p[k], 0) << "plane " << c << " index " << k;
    }
}

TEST(YUVImageAllocation, LuminanceOnlyAndEmptySizes) {
    YUVImage mono(YUV400, 8, 4);
    EXPECT_NE(mono.GetArray(U_COMP), nullptr);
    EXPECT_NE(mono.GetArray(V_COMP), nullptr);
    EXPECT_EQ(mono.AllocateMemory(), 0);
    // Painting a luminance-only image never touches chroma.
    mono(3, 2, RED) = 77;
    EXPECT_EQ(mono.Y(3, 2), 77);
    EXPECT_EQ(mono.GetArray(U_COMP)[0], 0);

    YUVImage empty(YUV400, 0, 5);
    EXPECT_EQ(empty.GetArray(Y_COMP), nullptr);
    EXPECT_EQ(empty.AllocateMemory(), 7);
    EXPECT_EQ(empty.FreeMemory(), 0);
}

TEST(YUVImageAllocation, LuminanceOnlyFileGeometryGetsWholeChromaPlanes) {
    // A luminance-only file reports the luminance size for every component.
    VidsFile f;
    f.SetWidth(16);
    f.SetHeight(8);
    f.SetSamplingMatrices(YUV400, false);
    YUVImage img(f);
    EXPECT_EQ(img.CFormat(), YUV400);
    EXPECT_EQ(img.Width(U_COMP), 16);
    EXPECT_EQ(img.Height(V_COMP), 8);
    EXPECT_EQ(img.Clear(ALL_COMP), 10);   // never past the end of a chroma plane
    EXPECT_EQ(img.U(15, 7), 128);
    unsigned char buf[16 * 8];
    EXPECT_EQ(img.CopyTo(buf, V_COMP), 15);
    EXPECT_EQ(buf[127], 128);
}

TEST(YUVImagePixels, ColourPaintsTheCoveringChromaSample) {
    YUVImage img(YUV420, 8, 8);
    img(5, 3, YUVColor{11, 22}) = 200;
    EXPECT_EQ(img.Y(5, 3), 200);
    EXPECT_EQ(img.U(2, 1), 11);
    EXPECT_EQ(img.V(2, 1), 22);

    YUVImage img411(YUV411, 16, 2);
    img411(9, 1, YUVColor{1, 2}) = 3;
    EXPECT_EQ(img411.U(2, 1), 1);
    EXPECT_EQ(img411.V(2, 1), 2);
}

TEST(YUVImageBounds, GetPixelReportsTwoLinesAndClamps) {
    YUVImage img(YUV420, 16, 8);
    FillRamp(img);
    unsigned int v = 0;
    const std::string out = Captured([&] { v = img.GetPixel(Y_COMP, -1, 3); });
    EXPECT_EQ(out, "YUVImage: boundary overflow or underflow\ni = -1 j = 3\n");
    EXPECT_EQ(v, img.GetArray(Y_COMP)[16 * 3 + 0]);
}

TEST(YUVImageBounds, AccessorsAddTheObjectAddress) {
    YUVImage img(YUV420, 16, 8);
    FillRamp(img);
    unsigned char v = 0;
    const std::string out = Captured([&] { v = img.Y(-1, 3); });
    std::ostringstream expected;
    expected << "YUVImage: boundary overflow or underflow\ni = -1 j = 3\n"
             << static_cast<const void*>(&img) << "\n";
    EXPECT_EQ(out, expected.str());
    EXPECT_EQ(v, img.Y(0, 3));

    const std::string high = Captured([&] { img.Y(16, 8) = 9; });
    EXPECT_NE(high.find("i = 16 j = 8"), std::string::npos);
    EXPECT_EQ(img.Y(15, 7), 9);
    EXPECT_EQ(Captured([&] { img.Y(15, 7); }), "");
}

TEST(YUVImageBounds, ChromaIsClampedAgainstTheLuminanceSize) {
    YUVImage img(YUV420, 352, 288);
    FillRamp(img);
    unsigned char v = 0;
    const std::string out = Captured([&] { v = img.U(200, 10); });
    EXPECT_NE(out.find("i = 200 j = 10"), std::string::npos);
    // 200 lies inside the luminance width, so it is kept as it stands.
    EXPECT_EQ(v, img.GetArray(U_COMP)[176 * 10 + 200]);
    unsigned int g = 0;
    Captured([&] { g = img.GetPixel(V_COMP, 400, -2); });
    EXPECT_EQ(g, img.GetArray(V_COMP)[176 * 0 + 351]);
}

TEST(YUVImagePlanes, ClearFillAndStatusCodes) {
    YUVImage img(YUV420, 6, 4);
    EXPECT_EQ(img.Fill(9, ALL_COMP), 10);
    EXPECT_EQ(img.Clear(ALL_COMP), 10);
    EXPECT_EQ(img.Y(5, 3), 0);
    EXPECT_EQ(img.U(2, 1), 128);
    EXPECT_EQ(img.V(0, 0), 128);
    EXPECT_EQ(img.Fill(42, V_COMP), 10);
    EXPECT_EQ(img.V(1, 1), 42);
    EXPECT_EQ(img.U(1, 1), 128);
    EXPECT_EQ(img.Clear(static_cast<CompType>(4)), 6);
    EXPECT_EQ(img.Fill(1, static_cast<CompType>(-1)), 6);
    EXPECT_EQ(img.V(1, 1), 42);
}

TEST(YUVImagePlanes, BufferCopiesAndTheirCodes) {
    YUVImage img(YUV422, 6, 4);
    FillRamp(img);
    unsigned char buf[24] = {};
    EXPECT_EQ(img.CopyTo(static_cast<unsigned char*>(nullptr), Y_COMP), 8);
    EXPECT_EQ(img.CopyTo(buf, ALL_COMP), 22);
    EXPECT_EQ(img.CopyTo(buf, U_COMP), 15);
    EXPECT_EQ(0, std::memcmp(buf, img.GetArray(U_COMP), 12));
    for (unsigned char& b : buf) b = 5;
    EXPECT_EQ(img.CopyFrom(static_cast<unsigned char*>(nullptr), V_COMP), 8);
    EXPECT_EQ(img.CopyFrom(buf, static_cast<CompType>(7)), 22);
    EXPECT_EQ(img.CopyFrom(buf, Y_COMP), 16);
    EXPECT_EQ(img.Y(5, 3), 5);
}

TEST(YUVImagePlanes, ImageCopiesAndTheAllComponentAsymmetry) {
    YUVImage src(YUV420, 8, 6), dst(YUV420, 8, 6);
    FillRamp(src);
    EXPECT_EQ(src.CopyTo(dst, ALL_COMP), 25);
    EXPECT_EQ(dst.Y(3, 3), 0);   // ALL_COMP copies nothing
    EXPECT_EQ(src.CopyTo(dst, U_COMP), 25);
    EXPECT_EQ(dst.U(3, 2), src.U(3, 2));
    EXPECT_EQ(src.CopyTo(dst, static_cast<CompType>(5)), 22);
    YUVImage all(YUV420, 8, 6);
    EXPECT_EQ(all.CopyFrom(src, ALL_COMP), 26);
    for (int c = 0; c < 3; ++c) {
        const CompType k = static_cast<CompType>(c);
        EXPECT_EQ(0, std::memcmp(all.GetArray(k), src.GetArray(k),
                                 static_cast<size_t>(src.Width(k) * src.Height(k))));
    }
    EXPECT_EQ(all.CopyFrom(src, static_cast<CompType>(4)), 22);
}

TEST(YUVImageAssignment, CopiesGeometryNeverPixels) {
    YUVImage src(YUV422, 10, 6);
    FillRamp(src);
    YUVImage copy(src);
    EXPECT_EQ(copy.CFormat(), YUV422);
    EXPECT_EQ(copy.Width(U_COMP), 5);
    EXPECT_EQ(copy.Y(3, 1), 0);

    // A target with planes keeps its own geometry and gets fresh planes.
    YUVImage target(YUV420, 4, 4);
    target.Fill(99, ALL_COMP);
    target = src;
    EXPECT_EQ(target.Width(Y_COMP), 4);
    EXPECT_EQ(target.CFormat(), YUV420);
    EXPECT_EQ(target.Y(1, 1), 0);

    // A plane-less image (its allocation failed) takes the source's geometry.
    YUVImage hollow(YUV400, 0, 0);
    hollow = src;
    EXPECT_EQ(hollow.Width(Y_COMP), 10);
    EXPECT_EQ(hollow.CFormat(), YUV422);
    EXPECT_EQ(hollow.U(4, 5), 0);
}
