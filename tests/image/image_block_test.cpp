// ImageBlock: frame and window rules, origin-relative access and window traversals.
#include "image/ImageBlock.h"

#include <gtest/gtest.h>

#include <vector>

#include "image/YUVImage.h"

using namespace ormel;

namespace {

// Every sample of every plane gets a value from its position, so misplaced copies show.
void Texture(YUVImage& img) {
    for (int c = 0; c < 3; ++c) {
        const CompType comp = static_cast<CompType>(c);
        unsigned char* p = img.GetArray(comp);
        const int w = img.Width(comp);
        for (int j = 0; j < img.Height(comp); ++j)
            for (int i = 0; i < w; ++i)
                p[w * j + i] = static_cast<unsigned char>(i * 7 + j * 13 + c * 50);
    }
}

}  // namespace

TEST(ImageBlockGeometry, NewBlockCoversTheWholePlane) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock y(img, Y_COMP);
    EXPECT_EQ(y.Width(), 352);
    EXPECT_EQ(y.Height(), 288);
    EXPECT_EQ(y.get_horizontal_min_extent(), 0);
    EXPECT_EQ(y.get_vertical_min_extent(), 0);
    ImageBlock u(img, U_COMP);
    EXPECT_EQ(u.Width(), 176);
    EXPECT_EQ(u.Height(), 144);
    EXPECT_EQ(u.ComponentType(), U_COMP);
}

TEST(ImageBlockGeometry, SetOriginShrinksTheWindowAndRefusesNegativeOffsets) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock b(img, Y_COMP);
    EXPECT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.Width(), 342);
    EXPECT_EQ(b.Height(), 268);
    EXPECT_EQ(b.SetOrigin(-1, 0), 0);
    EXPECT_EQ(b.get_horizontal_min_extent(), 10);
    EXPECT_EQ(b.get_vertical_min_extent(), 20);
    // Offsets are relative to the current origin.
    EXPECT_EQ(b.SetOrigin(5, 5), 1);
    EXPECT_EQ(b.hightolow_i(0), 15);
    EXPECT_EQ(b.hightolow_j(1), 26);
    // A vertical refusal keeps the horizontal move already made.
    EXPECT_EQ(b.SetOrigin(2, 500), 0);
    EXPECT_EQ(b.get_horizontal_min_extent(), 17);
    EXPECT_EQ(b.get_vertical_min_extent(), 25);
}

TEST(ImageBlockGeometry, SetWindowClipsAtTheFrame) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock b(img, Y_COMP);
    ASSERT_EQ(b.SetOrigin(340, 0), 1);
    b.SetWindow(16, 16);
    EXPECT_EQ(b.Width(), 12);
    EXPECT_EQ(b.Height(), 16);
    b.SetWindow(4);
    EXPECT_EQ(b.Width(), 4);
    EXPECT_EQ(b.Height(), 4);
    b.ClearWindow();
    EXPECT_EQ(b.Width(), 12);
    EXPECT_EQ(b.Height(), 288);
    b.ClearOrigin();
    EXPECT_EQ(b.get_horizontal_min_extent(), 0);
    EXPECT_EQ(b.Width(), 352);
}

TEST(ImageBlockGeometry, SetFrameIsRelativeToTheOriginAndBecomesTheWindow) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock b(img, Y_COMP);
    ASSERT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.SetFrame(0, 15, 0, 7), 1);
    EXPECT_EQ(b.get_horizontal_min_extent(), 10);
    EXPECT_EQ(b.get_vertical_min_extent(), 20);
    EXPECT_EQ(b.Width(), 16);
    EXPECT_EQ(b.Height(), 8);
    // The window cannot leave the new frame.
    b.SetWindow(100, 100);
    EXPECT_EQ(b.Width(), 16);
    EXPECT_EQ(b.Height(), 8);
    b.ClearFrame();
    EXPECT_EQ(b.get_horizontal_min_extent(), 0);
    EXPECT_EQ(b.Width(), 352);
    EXPECT_EQ(b.Height(), 288);
}

TEST(ImageBlockGeometry, RefusedSetFrameKeepsTheEdgesAlreadySet) {
    YUVImage img(YUV420, 352, 288);
    ImageBlock b(img, Y_COMP);
    ASSERT_EQ(b.SetOrigin(10, 20), 1);
    EXPECT_EQ(b.SetFrame(0, 400, 0, 10), 0);
    // The window is untouched, but the frame's left edge moved to the origin's column
    // while its top edge did not: ClearOrigin shows both.
    EXPECT_EQ(b.Width(), 342);
    b.ClearOrigin();
    EXPECT_EQ(b.get_horizontal_min_extent(), 10);
    EXPECT_EQ(b.get_vertical_min_extent(), 0);
    // Refusals at the left and top edges change nothing.
    ImageBlock c(img, Y_COMP);
    EXPECT_EQ(c.SetFrame(-1, 5, 0, 5), 0);
    EXPECT_EQ(c.Width(), 352);
}

TEST(ImageBlockGeometry, EmptyChromaPlaneGivesAnEmptyBlock) {
    YUVImage img(YUV400, 16, 8);
    ImageBlock u(img, U_COMP);
    EXPECT_EQ(u.Width(), 0);
    EXPECT_EQ(u.Height(), 0);
    EXPECT_EQ(u.Clear(), 11);
    std::vector<unsigned char> buf(1, 9);
    EXPECT_EQ(u.CopyTo(buf.data()), 23);
    EXPECT_EQ(buf[0], 9);
}

TEST(ImageBlockAccess, SamplesAreAddressedFromTheOrigin) {
    YUVImage img(YUV420, 32, 16);
    Texture(img);
    ImageBlock b(img, V_COMP);
    ASSERT_EQ(b.SetOrigin(3, 2), 1);
    const ImageBlock& cb = b;
    EXPECT_EQ(cb(1, 4), img.V(4, 6));
    b(0, 0) = 201;
    EXPECT_EQ(img.V(3, 2), 201);
}

TEST(ImageBlockAccess, AssignmentKeepsViewingItsOwnImage) {
    YUVImage a_img(YUV444, 20, 20), b_img(YUV444, 20, 20);
    a_img.Clear(ALL_COMP);
    b_img.Clear(ALL_COMP);
    ImageBlock a(a_img, Y_COMP);
    ImageBlock b(b_img, U_COMP);
    ASSERT_EQ(b.SetOrigin(4, 5), 1);
    b.SetWindow(3, 2);
    a = b;
    EXPECT_EQ(a.ComponentType(), U_COMP);
    EXPECT_EQ(a.get_horizontal_min_extent(), 4);
    EXPECT_EQ(a.Width(), 3);
    a(0, 0) = 77;
    EXPECT_EQ(a_img.U(4, 5), 77);
    EXPECT_EQ(b_img.U(4, 5), 128);
    // A copy-constructed block views the same image as its source.
    ImageBlock c(b);
    c(0, 0) = 66;
    EXPECT_EQ(b_img.U(4, 5), 66);
}

TEST(ImageBlockTraversal, ClearTouchesOnlyTheWindow) {
    YUVImage img(YUV420, 16, 16);
    img.Fill(50, ALL_COMP);
    ImageBlock y(img, Y_COMP);
    ASSERT_EQ(y.SetOrigin(2, 3), 1);
    y.SetWindow(5, 4);
    EXPECT_EQ(y.Clear(), 11);
    ImageBlock u(img, U_COMP);
    ASSERT_EQ(u.SetOrigin(7, 7), 1);
    EXPECT_EQ(u.Clear(), 11);
    for (int j = 0; j < 16; ++j)
        for (int i = 0; i < 16; ++i) {
            const bool inside = i >= 2 && i < 7 && j >= 3 && j < 7;
            ASSERT_EQ(img.Y(i, j), inside ? 0 : 50) << "Y at " << i << "," << j;
        }
    for (int j = 0; j < 8; ++j)
        for (int i = 0; i < 8; ++i) {
            ASSERT_EQ(img.U(i, j), i == 7 && j == 7 ? 128 : 50) << "U at " << i << "," << j;
            ASSERT_EQ(img.V(i, j), 50);
        }
}

TEST(ImageBlockTraversal, PackedBufferRoundTripOnAnOddWindow) {
    YUVImage src(YUV422, 23, 9), dst(YUV422, 23, 9);
    Texture(src);
    dst.Clear(ALL_COMP);
    ImageBlock s(src, U_COMP), d(dst, U_COMP);
    ASSERT_EQ(s.SetOrigin(2, 1), 1);
    s.SetWindow(7, 5);
    d = s;   // same rectangle, own image
    std::vector<unsigned char> buf(7 * 5);
    EXPECT_EQ(s.CopyTo(buf.data()), 23);
    for (int r = 0; r < 5; ++r)
        for (int x = 0; x < 7; ++x)
            ASSERT_EQ(buf[r * 7 + x], src.U(2 + x, 1 + r)) << "x " << x << " row " << r;
    EXPECT_EQ(d.CopyFrom(buf.data()), 24);
    for (int j = 0; j < 9; ++j)
        for (int i = 0; i < 11; ++i) {
            const bool inside = i >= 2 && i < 9 && j >= 1 && j < 6;
            ASSERT_EQ(dst.U(i, j), inside ? src.U(i, j) : 128) << "at " << i << "," << j;
        }
    EXPECT_EQ(s.CopyTo(nullptr), 8);
    EXPECT_EQ(d.CopyFrom(nullptr), 8);
}

TEST(ImageBlockTraversal, CopyMovesWindowsBetweenPositions) {
    YUVImage src(YUV444, 12, 10), dst(YUV444, 12, 10);
    Texture(src);
    dst.Clear(ALL_COMP);
    ImageBlock s(src, Y_COMP), d(dst, Y_COMP);
    ASSERT_EQ(s.SetOrigin(5, 4), 1);
    ASSERT_EQ(d.SetOrigin(1, 2), 1);
    d.SetWindow(3, 2);
    EXPECT_EQ(d.Copy(s), 12);
    for (int r = 0; r < 2; ++r)
        for (int x = 0; x < 3; ++x)
            ASSERT_EQ(dst.Y(1 + x, 2 + r), src.Y(5 + x, 4 + r));
    EXPECT_EQ(dst.Y(4, 2), 0);
    EXPECT_EQ(dst.Y(1, 4), 0);
}

TEST(ImageBlockTraversal, CopyReadsTheSourcePlaneOfItsOwnComponent) {
    YUVImage src(YUV444, 8, 8), dst(YUV444, 8, 8);
    Texture(src);
    dst.Clear(ALL_COMP);
    ImageBlock s(src, Y_COMP), d(dst, V_COMP);
    EXPECT_EQ(d.Copy(s), 12);
    for (int j = 0; j < 8; ++j)
        for (int i = 0; i < 8; ++i)
            ASSERT_EQ(dst.V(i, j), src.V(i, j));
}

TEST(ImageBlockTraversal, WindowOutsideItsPlaneIsRefused) {
    // After assignment a block keeps its own small image but takes a rectangle laid out
    // for a larger one: traversals must not run off the plane.
    YUVImage small(YUV444, 4, 4), large(YUV444, 16, 16);
    small.Fill(3, ALL_COMP);
    ImageBlock a(small, Y_COMP), b(large, Y_COMP);
    ASSERT_EQ(b.SetOrigin(10, 10), 1);
    a = b;
    std::vector<unsigned char> buf(36);
    testing::internal::CaptureStdout();
    EXPECT_EQ(a.Clear(), 17);
    EXPECT_EQ(a.CopyFrom(buf.data()), 17);
    EXPECT_EQ(a.CopyTo(buf.data()), 17);
    EXPECT_EQ(a.Copy(b), 17);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ImageBlock: window outside the plane\n"
              "ImageBlock: window outside the plane\n"
              "ImageBlock: window outside the plane\n"
              "ImageBlock: window outside the plane\n");
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            ASSERT_EQ(small.Y(i, j), 3);
}
