// ImageBlock: frame and window rules, origin-relative access and window traversals.
#include "image/ImageBlock.h"

#include <gtest/gtest.h>

#include <vector>

#include "image/YUVImage.h"

using namespace ormel;

namespace {

// Each sample's value follows from its position and plane, so misplaced copies show.
void Texture(YUVImage& img) {
    for (int c = 0; c < 3; ++c) {
        const CompType comp = static_cast<CompType>(c);
        for (int j = 0; j < img.Height(comp); ++j)
            for (int i = 0; i < img.Width(comp); ++i)
                img.GetArray(comp)[img.Width(comp) * j + i] =
                    static_cast<unsigned char>(i * 7 + j * 13 + c * 50);
    }
}

}  // namespace

TEST(ImageBlockGeometry, OriginAndWindowMovesOnACifPlane) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock b(img, Y_COMP);
    EXPECT_EQ(b.Width(), 352);
    EXPECT_EQ(b.Height(), 288);
    EXPECT_EQ(ImageBlock(img, U_COMP).Width(), 176);
    EXPECT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.Width(), 342);
    EXPECT_EQ(b.Height(), 268);
    EXPECT_EQ(b.SetOrigin(-1, 0), 0);
    EXPECT_EQ(b.get_horizontal_min_extent(), 10);
    // Offsets are relative to the origin; a vertical refusal keeps the horizontal move.
    EXPECT_EQ(b.SetOrigin(5, 500), 0);
    EXPECT_EQ(b.get_horizontal_min_extent(), 15);
    EXPECT_EQ(b.get_vertical_min_extent(), 20);
    ASSERT_EQ(b.SetOrigin(325, 0), 1);   // plane column 340
    b.SetWindow(16, 16);
    EXPECT_EQ(b.Width(), 12);
    EXPECT_EQ(b.Height(), 16);
    b.ClearWindow();
    EXPECT_EQ(b.Height(), 268);
    b.ClearOrigin();
    EXPECT_EQ(b.get_horizontal_min_extent(), 0);
    EXPECT_EQ(b.Width(), 352);
}

TEST(ImageBlockGeometry, SetFrameIsRelativeToTheOriginAndKeepsEdgesOnRefusal) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock b(img, Y_COMP);
    ASSERT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.SetFrame(0, 15, 0, 7), 1);
    b.SetWindow(100, 100);   // cannot leave the frame
    EXPECT_EQ(b.Width(), 16);
    EXPECT_EQ(b.Height(), 8);
    EXPECT_EQ(b.get_vertical_min_extent(), 20);
    b.ClearFrame();
    EXPECT_EQ(b.Width(), 352);

    ASSERT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.SetFrame(0, 400, 0, 10), 0);
    EXPECT_EQ(b.Width(), 342);   // window untouched
    b.ClearOrigin();             // the frame's left edge moved, its top edge did not
    EXPECT_EQ(b.get_horizontal_min_extent(), 10);
    EXPECT_EQ(b.get_vertical_min_extent(), 0);
}

TEST(ImageBlockAccess, OriginRelativeAndAssignmentKeepsItsOwnImage) {
    YUVImage a_img(YUV444, 20, 20), b_img(YUV444, 20, 20);
    Texture(a_img);
    Texture(b_img);
    ImageBlock a(a_img, Y_COMP), b(b_img, U_COMP);
    ASSERT_EQ(b.SetOrigin(4, 5), 1);
    const ImageBlock& cb = b;
    EXPECT_EQ(cb(1, 2), b_img.U(5, 7));
    a = b;
    EXPECT_EQ(a.ComponentType(), U_COMP);
    a(0, 0) = 1;
    EXPECT_EQ(a_img.U(4, 5), 1);
    EXPECT_NE(b_img.U(4, 5), 1);
    ImageBlock c(b);   // a copy views the same image
    c(0, 0) = 2;
    EXPECT_EQ(b_img.U(4, 5), 2);
}

TEST(ImageBlockTraversal, ClearTouchesOnlyTheWindow) {
    YUVImage img(YUV420, 16, 16);
    img.Fill(50, ALL_COMP);
    ImageBlock y(img, Y_COMP), u(img, U_COMP);
    ASSERT_EQ(y.SetOrigin(2, 3), 1);
    y.SetWindow(5, 4);
    ASSERT_EQ(u.SetOrigin(7, 7), 1);
    EXPECT_EQ(y.Clear(), 11);
    EXPECT_EQ(u.Clear(), 11);
    for (int j = 0; j < 16; ++j)
        for (int i = 0; i < 16; ++i)
            ASSERT_EQ(img.Y(i, j), i >= 2 && i < 7 && j >= 3 && j < 7 ? 0 : 50) << i << "," << j;
    for (int j = 0; j < 8; ++j)
        for (int i = 0; i < 8; ++i)
            ASSERT_EQ(img.U(i, j) + img.V(i, j), i == 7 && j == 7 ? 178 : 100) << i << "," << j;
}

TEST(ImageBlockTraversal, PackedBuffersAndCopiesOfOddWindows) {
    YUVImage src(YUV422, 23, 9), dst(YUV422, 23, 9);
    Texture(src);
    dst.Clear(ALL_COMP);
    ImageBlock s(src, U_COMP), d(dst, U_COMP);
    ASSERT_EQ(s.SetOrigin(2, 1), 1);
    s.SetWindow(7, 5);
    d = s;
    std::vector<unsigned char> buf(35);
    EXPECT_EQ(s.CopyTo(buf.data()), 23);
    EXPECT_EQ(buf[1 * 7 + 3], src.U(5, 2));   // row 1, column 3 of the window
    EXPECT_EQ(d.CopyFrom(buf.data()), 24);
    for (int j = 0; j < 9; ++j)
        for (int i = 0; i < 11; ++i)
            ASSERT_EQ(dst.U(i, j), i >= 2 && i < 9 && j >= 1 && j < 6 ? src.U(i, j) : 128);
    EXPECT_EQ(s.CopyTo(nullptr), 8);
    EXPECT_EQ(d.CopyFrom(nullptr), 8);

    // Copy reads src's image through this block's component, into this window's place.
    ImageBlock y(src, Y_COMP), v(dst, V_COMP);
    ASSERT_EQ(v.SetOrigin(1, 2), 1);
    v.SetWindow(3, 2);
    EXPECT_EQ(v.Copy(y), 12);
    EXPECT_EQ(dst.V(1, 2), src.V(0, 0));
    EXPECT_EQ(dst.V(3, 3), src.GetArray(V_COMP)[23 * 1 + 2]);   // rows at y's stride
    EXPECT_EQ(dst.V(4, 2), 128);
}

TEST(ImageBlockTraversal, WindowOutsideItsPlaneIsRefused) {
    // Assignment gives a small image's block a window laid out for a larger image.
    YUVImage small(YUV444, 4, 4), large(YUV444, 16, 16);
    small.Fill(3, ALL_COMP);
    ImageBlock a(small, Y_COMP), b(large, Y_COMP);
    ASSERT_EQ(b.SetOrigin(10, 10), 1);
    a = b;
    std::vector<unsigned char> buf(36);
    testing::internal::CaptureStdout();
    EXPECT_EQ(a.Clear(), 17);
    EXPECT_EQ(a.CopyFrom(buf.data()), 17);
    EXPECT_EQ(a.Copy(b), 17);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ImageBlock: window outside the plane\n"
              "ImageBlock: window outside the plane\n"
              "ImageBlock: window outside the plane\n");
    EXPECT_EQ(small.Y(3, 3), 3);
}
