// YUVImage: geometry per chroma format, the bounds rule, status codes, copies.
#include <cstring>
#include <sstream>
#include <string>

#include "image/YUVImage.h"
#include "tests/image/image_test_support.h"

namespace {

const std::string kBounds = "YUVImage: boundary overflow or underflow\n";

// "format Y-size U-size V-size", e.g. "3 6x4 3x2 3x2".
std::string Geometry(const YUVImage& img) { return std::to_string(img.CFormat()) + " " + Sizes(img); }

}  // namespace

TEST(YUVImageGeometry, ChromaSizesColourPaintingAndLuminanceOnlyPlanes) {
    // Each picture gets pixel (i, j) painted in colour; its chroma pair lands at chroma
    // index cn (-1: a luminance-only picture stores none) and every other sample stays 0.
    struct Case { ChromaFormat f; int w, h; const char* geometry; int i, j, cn; } cases[] = {
        {YUV420, 352, 288, "3 352x288 176x144 176x144", 5, 3, 178},
        {YUV420, 5, 3, "3 5x3 2x1 2x1", 3, 1, 1},
        {YUV422, 352, 288, "1 352x288 176x288 176x288", 5, 3, 530},
        {YUV411, 350, 10, "4 350x10 87x10 87x10", 9, 1, 89},
        {YUV444, 351, 287, "2 351x287 351x287 351x287", 5, 3, 1058},
        {YUV400, 352, 288, "0 352x288 0x0 0x0", 5, 3, -1},
        {UNKNOWN_FORMAT, 33, 17, "5 33x17 33x17 33x17", 5, 3, 104},
    };
    for (const Case& c : cases) {
        YUVImage img(c.f, c.w, c.h);
        EXPECT_EQ(Geometry(img), c.geometry);
        img(c.i, c.j, YUVColor{11, 22}) = 200;
        const int painted[3] = {c.w * c.j + c.i, c.cn, c.cn}, value[3] = {200, 11, 22};
        for (int k = 0; k < 3; ++k)
            for (int n = 0; n < img.Width(Comp(k)) * img.Height(Comp(k)); ++n)
                ASSERT_EQ(img.GetArray(Comp(k))[n], n == painted[k] ? value[k] : 0)
                    << c.geometry << " plane " << k << " sample " << n;
    }
    EXPECT_EQ(Geometry(YUVImage()), "3 352x288 176x144 176x144");

    YUVImage mono(YUV400, 8, 4), empty(YUV400, 0, 5);
    mono(3, 2, RED) = 77;   // one-byte chroma planes, left alone
    EXPECT_EQ(mono.GetArray(U_COMP)[0] + mono.GetArray(V_COMP)[0], 0);
    EXPECT_EQ(mono.AllocateMemory(), 0);
    EXPECT_EQ(empty.GetArray(Y_COMP), nullptr);
    EXPECT_EQ(empty.AllocateMemory(), 7);
}

TEST(YUVImageBounds, MessagesAndTheClampAgainstTheLuminanceSize) {
    YUVImage img(YUV420, 352, 288);
    Texture(img);
    std::ostringstream address;
    address << static_cast<const void*>(&img) << "\n";
    const unsigned char* y = img.GetArray(Y_COMP);
    unsigned int g = 0;
    unsigned char v = 0;
    EXPECT_EQ(Captured([&] { g = img.GetPixel(Y_COMP, -1, 3); }), kBounds + "i = -1 j = 3\n");
    EXPECT_EQ(g, y[352 * 3]);
    EXPECT_EQ(Captured([&] { v = img.Y(-1, 3); }), kBounds + "i = -1 j = 3\n" + address.str());
    EXPECT_EQ(v, y[352 * 3]);
    EXPECT_EQ(Captured([&] { img.Y(352, 288) = 9; }),
              kBounds + "i = 352 j = 288\n" + address.str());
    EXPECT_EQ(Captured([&] { v = img.Y(351, 287); }), "");
    EXPECT_EQ(v, 9);
    // U width is 176, but 200 lies inside the luminance width and is kept as it stands.
    EXPECT_EQ(Captured([&] { v = img.U(200, 10); }), kBounds + "i = 200 j = 10\n" + address.str());
    EXPECT_EQ(v, img.GetArray(U_COMP)[176 * 10 + 200]);
}

TEST(YUVImagePlanes, ClearFillBufferCopiesAndTheirCodes) {
    YUVImage img(YUV422, 6, 4);
    for (int c = 0; c < 4; ++c) {   // Y to 0, U and V to 128, ALL_COMP all three
        EXPECT_EQ(img.Fill(9, ALL_COMP), 10);
        EXPECT_EQ(img.Clear(Comp(c)), 10);
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(img.GetPixel(Comp(k), 2, 3), c == k || c == 3 ? (k ? 128 : 0) : 9) << c << k;
    }
    EXPECT_EQ(img.Fill(42, V_COMP), 10);
    EXPECT_EQ(img.U(2, 3), 128);
    EXPECT_EQ(img.Clear(Comp(4)), 6);
    EXPECT_EQ(img.Fill(1, Comp(-1)), 6);
    EXPECT_EQ(img.V(2, 3), 42);

    Texture(img);
    unsigned char buf[24] = {};
    EXPECT_EQ(img.CopyTo(static_cast<unsigned char*>(nullptr), Y_COMP), 8);
    EXPECT_EQ(img.CopyTo(buf, ALL_COMP), 22);
    EXPECT_EQ(img.CopyTo(buf, U_COMP), 15);
    EXPECT_EQ(0, std::memcmp(buf, img.GetArray(U_COMP), 12));
    std::memset(buf, 5, sizeof buf);
    EXPECT_EQ(img.CopyFrom(static_cast<unsigned char*>(nullptr), V_COMP), 8);
    EXPECT_EQ(img.CopyFrom(buf, Comp(7)), 22);
    EXPECT_EQ(img.CopyFrom(buf, Y_COMP), 16);
    EXPECT_EQ(img.Y(5, 3), 5);
}

TEST(YUVImagePlanes, ImageCopiesAndTheAllComponentAsymmetry) {
    YUVImage src(YUV420, 8, 6), dst(YUV420, 8, 6), all(YUV420, 8, 6);
    Texture(src);
    EXPECT_EQ(src.CopyTo(dst, ALL_COMP), 25);
    EXPECT_EQ(dst.Y(3, 3), 0);   // ALL_COMP copies nothing
    EXPECT_EQ(src.CopyTo(dst, U_COMP), 25);
    EXPECT_EQ(0, std::memcmp(dst.GetArray(U_COMP), src.GetArray(U_COMP), 12));
    EXPECT_EQ(src.CopyTo(dst, Comp(5)), 22);
    EXPECT_EQ(all.CopyFrom(src, ALL_COMP), 26);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(0, std::memcmp(all.GetArray(Comp(c)), src.GetArray(Comp(c)), c ? 12 : 48)) << c;
    EXPECT_EQ(all.CopyFrom(src, Comp(4)), 22);
}

TEST(YUVImageAssignment, CopiesGeometryNeverPixels) {
    YUVImage src(YUV422, 10, 6), target(YUV420, 4, 4), hollow(YUV400, 0, 0);
    Texture(src);
    YUVImage copy(src);
    EXPECT_EQ(Geometry(copy), "1 10x6 5x6 5x6");
    EXPECT_EQ(copy.Y(3, 1), 0);
    // A target with planes keeps its own geometry and gets fresh planes.
    target.Fill(99, ALL_COMP);
    target = src;
    EXPECT_EQ(Geometry(target), "3 4x4 2x2 2x2");
    EXPECT_EQ(target.Y(1, 1), 0);
    // A plane-less image (its allocation failed) takes the source's geometry.
    hollow = src;
    EXPECT_EQ(Geometry(hollow), "1 10x6 5x6 5x6");
    EXPECT_EQ(hollow.U(4, 5), 0);
}
