// ImageBlock: frame and window rules, origin-relative access and window traversals.
#include "image/ImageBlock.h"

#include <string>

#include "image/YUVImage.h"
#include "tests/image/image_test_support.h"

namespace {

// The window as "origin column,row widthxheight", in plane coordinates.
std::string Win(const ImageBlock& b) {
    return std::to_string(b.get_horizontal_min_extent()) + "," +
           std::to_string(b.get_vertical_min_extent()) + " " + std::to_string(b.Width()) + "x" +
           std::to_string(b.Height());
}

}  // namespace

TEST(ImageBlockGeometry, OriginWindowAndFrameMovesOnACifPlane) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock b(img, Y_COMP);
    EXPECT_EQ(Win(b), "0,0 352x288");
    EXPECT_EQ(Win(ImageBlock(img, U_COMP)), "0,0 176x144");
    EXPECT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(Win(b), "10,20 342x268");
    EXPECT_EQ(b.SetOrigin(-1, 0), 0);
    // Offsets are relative to the origin; a vertical refusal keeps the horizontal move.
    EXPECT_EQ(b.SetOrigin(5, 500), 0);
    EXPECT_EQ(Win(b), "15,20 337x268");
    ASSERT_EQ(b.SetOrigin(325, 0), 1);   // plane column 340
    b.SetWindow(16);
    EXPECT_EQ(Win(b), "340,20 12x16");
    b.ClearWindow();
    EXPECT_EQ(Win(b), "340,20 12x268");
    b.ClearOrigin();
    EXPECT_EQ(Win(b), "0,0 352x288");

    // The frame is given relative to the origin too, and the window cannot leave it.
    ASSERT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.SetFrame(0, 15, 0, 7), 1);
    b.SetWindow(100, 100);
    EXPECT_EQ(Win(b), "10,20 16x8");
    b.ClearFrame();
    ASSERT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.SetFrame(0, 400, 0, 10), 0);
    EXPECT_EQ(Win(b), "10,20 342x268");   // window untouched
    b.ClearOrigin();                      // the frame's left edge moved, its top edge did not
    EXPECT_EQ(Win(b), "10,0 342x288");
}

TEST(ImageBlockAccess, OriginRelativeAndAssignmentKeepsItsOwnImage) {
    YUVImage a_img(YUV444, 20, 20), b_img(YUV444, 20, 20), small(YUV444, 4, 4);
    Texture(b_img);
    small.Fill(3, ALL_COMP);
    ImageBlock a(a_img, Y_COMP), b(b_img, U_COMP), s(small, Y_COMP);
    ASSERT_EQ(b.SetOrigin(4, 5), 1);
    const ImageBlock& cb = b;
    EXPECT_EQ(cb(1, 2), b_img.U(5, 7));
    a = b;
    a(0, 0) = 1;
    EXPECT_EQ(a_img.U(4, 5), 1);
    EXPECT_NE(b_img.U(4, 5), 1);
    ImageBlock c(b);   // a copy views the same image
    c(0, 0) = 2;
    EXPECT_EQ(b_img.U(4, 5), 2);
    // Assignment can lay a window out past a small image's plane: traversals refuse it.
    s = b;
    unsigned char buf[256] = {};
    testing::internal::CaptureStdout();
    EXPECT_EQ(s.Clear(), 17);
    EXPECT_EQ(s.CopyFrom(buf), 17);
    EXPECT_EQ(s.Copy(b), 17);
    const std::string refused = "ImageBlock: window outside the plane\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), refused + refused + refused);
    EXPECT_EQ(small.U(3, 3), 3);
}

TEST(ImageBlockTraversal, ClearPackedBuffersAndCopiesOfOddWindows) {
    YUVImage src(YUV422, 23, 9), dst(YUV422, 23, 9);
    Texture(src);
    dst.Fill(50, ALL_COMP);
    ImageBlock s(src, U_COMP), d(dst, U_COMP), y(dst, Y_COMP), v(dst, V_COMP);
    ASSERT_EQ(y.SetOrigin(3, 2), 1);
    y.SetWindow(5, 4);
    ASSERT_EQ(v.SetOrigin(10, 7), 1);
    EXPECT_EQ(y.Clear(), 11);
    EXPECT_EQ(v.Clear(), 11);
    ASSERT_EQ(s.SetOrigin(2, 1), 1);
    s.SetWindow(7, 5);
    d = s;
    unsigned char buf[35];
    EXPECT_EQ(s.CopyTo(buf), 23);
    EXPECT_EQ(buf[1 * 7 + 3], src.U(5, 2));   // row 1, column 3 of the window
    EXPECT_EQ(d.CopyFrom(buf), 24);
    EXPECT_EQ(s.CopyTo(nullptr), 8);
    EXPECT_EQ(d.CopyFrom(nullptr), 8);
    for (int j = 0; j < 9; ++j)
        for (int i = 0; i < 23; ++i) {
            ASSERT_EQ(dst.Y(i, j), Inside(i, j, 3, 2, 5, 4) ? 0 : 50) << i << "," << j;
            if (i < 11) {
                ASSERT_EQ(dst.U(i, j), Inside(i, j, 2, 1, 7, 5) ? src.U(i, j) : 50)
                    << i << "," << j;
                ASSERT_EQ(dst.V(i, j), Inside(i, j, 10, 7, 1, 2) ? 128 : 50) << i << "," << j;
            }
        }

    // Copy reads src's image through this block's component, into this window's place.
    ImageBlock ys(src, Y_COMP);
    ASSERT_EQ(v.SetFrame(-9, -8, -5, -4), 1);   // plane columns 1..2, rows 2..3
    EXPECT_EQ(v.Copy(ys), 12);
    EXPECT_EQ(dst.V(1, 2), src.V(0, 0));
    EXPECT_EQ(dst.V(2, 3), src.GetArray(V_COMP)[23 * 1 + 1]);   // rows at ys's stride
    EXPECT_EQ(dst.V(3, 2), 50);
}
