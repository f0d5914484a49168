// The object mask: 8 x 8 blocks from a binary difference picture, and Binary on frame pairs.
#include <string>
#include <vector>

#include "segmentation/BinImage.h"
#include "tests/estimation/EstimatorTestUtil.h"

namespace {

// Sets every pixel of block (i, j) to v.
void FillBlock(BinImage& img, int i, int j, unsigned char v) {
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c)
            img.SetPixel(8 * i + c, 8 * j + r, v);
}

// The block map of a mask: '#' for a block of 255, '.' for a block of 0, '?' otherwise.
std::vector<std::string> BlockMap(BinImage& mask) {
    std::vector<std::string> rows;
    for (int j = 0; j < mask.Height() / 8; ++j) {
        std::string row;
        for (int i = 0; i < mask.Width() / 8; ++i) {
            int ones = 0, zeros = 0;
            for (int r = 0; r < 8; ++r)
                for (int c = 0; c < 8; ++c) {
                    const unsigned char v = mask.GetPixel(8 * i + c, 8 * j + r);
                    ones += v == 255;
                    zeros += v == 0;
                }
            row += ones == 64 ? '#' : zeros == 64 ? '.' : '?';
        }
        rows.push_back(row);
    }
    return rows;
}

int RunMakeBlock(BinGlobalMotionEstimator& est, BinImage& pic, BinImage& mask) {
    int err = -7;   // the value passed in is not used
    est.MakeBlock(pic, mask, &err);
    return err;
}

}  // namespace

using MakeBlock = EstimatorTest;

TEST_F(MakeBlock, BlankPictureGivesNoBlocksAndKeepsThePartialBorder) {
    BinImage pic(61, 30, 0, 255, ormel::quiet), mask(61, 30, 0, 255, ormel::quiet);
    mask.ClearRawData(9);
    EXPECT_EQ(RunMakeBlock(est, pic, mask), 0);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 61; ++x)
            ASSERT_EQ(mask.GetPixel(x, y), (x < 56 && y < 24) ? 0 : 9) << x << "," << y;
}

TEST_F(MakeBlock, SolidRegionIsMarkedWhole) {
    BinImage pic(64, 64, 0, 255, ormel::quiet), mask(64, 64, 0, 255, ormel::quiet);
    for (int j = 2; j <= 4; ++j)
        for (int i = 2; i <= 5; ++i)
            FillBlock(pic, i, j, 255);
    EXPECT_EQ(RunMakeBlock(est, pic, mask), 12);
    const std::vector<std::string> want = {"........", "........", "..####..", "..####..",
                                           "..####..", "........", "........", "........"};
    EXPECT_EQ(BlockMap(mask), want);
}

TEST_F(MakeBlock, MarksAreWrittenInPlaceInScanOrder) {
    // Block (5, 1) sits next to (4, 2) only. With a separate output array the first pass
    // would mark (4, 2) (five of its neighbourhood above the threshold) and the second pass
    // would then reach (5, 1). In place, (3, 2) is marked just before (4, 2), which then
    // counts four, and the second pass marks (4, 2) only after it has passed (5, 1).
    BinImage pic(56, 56, 0, 255, ormel::quiet), mask(56, 56, 0, 255, ormel::quiet);
    const int set[][2] = {{5, 1}, {2, 2}, {3, 2}, {4, 2}, {3, 3}, {4, 3}, {2, 4}};
    for (const auto& b : set)
        FillBlock(pic, b[0], b[1], 255);
    EXPECT_EQ(RunMakeBlock(est, pic, mask), 6);
    const std::vector<std::string> want = {".......", ".......", "..###..", "...##..",
                                           "..#....", ".......", "......."};
    EXPECT_EQ(BlockMap(mask), want);
}

TEST_F(MakeBlock, SecondPassSpreadsForwardOnly) {
    // A chain of lone blocks hanging off a solid region: the one scanned after a mark is
    // marked, the one scanned before is not; border blocks need no neighbourhood.
    BinImage pic(64, 64, 0, 255, ormel::quiet), mask(64, 64, 0, 255, ormel::quiet);
    for (int j = 3; j <= 4; ++j)
        for (int i = 3; i <= 5; ++i)
            FillBlock(pic, i, j, 255);
    FillBlock(pic, 2, 5, 255);   // below left of the region: scanned after it
    FillBlock(pic, 1, 6, 255);   // continues the chain downward
    FillBlock(pic, 6, 2, 255);   // above right: scanned before the region
    FillBlock(pic, 7, 1, 255);   // on the border: marked without a neighbourhood test
    EXPECT_EQ(RunMakeBlock(est, pic, mask), 9);
    const std::vector<std::string> want = {"........", ".......#", "........", "...###..",
                                           "...###..", "..#.....", ".#......", "........"};
    EXPECT_EQ(BlockMap(mask), want);
}

TEST_F(MakeBlock, ThresholdIndexUsesTheFactorJustBelowTwoThirds) {
    // 30 x 10 blocks with sums 1 .. 300 in row order. The threshold is the sum at index
    // trunc(10 * (30 * 0.6699999999999999)) = 200, that is 201: the 99 blocks above it end
    // up marked. The double nearest 0.67 would give index 201 and 98 blocks.
    BinImage pic(240, 80, 0, 255, ormel::quiet), mask(240, 80, 0, 255, ormel::quiet);
    for (int k = 0; k < 300; ++k) {
        const int i = k % 30, j = k / 30, sum = k + 1;
        pic.SetPixel(8 * i, 8 * j, static_cast<unsigned char>(sum > 255 ? 255 : sum));
        pic.SetPixel(8 * i + 1, 8 * j, static_cast<unsigned char>(sum > 255 ? sum - 255 : 0));
    }
    EXPECT_EQ(RunMakeBlock(est, pic, mask), 99);
}

using Binary = EstimatorTest;

TEST_F(Binary, MovingSquareMarksItsBlocks) {
    const int W = 128, H = 96;
    file.SetWidth(W);
    file.SetHeight(H);
    ormel::YUVImage prev(ormel::YUV420, W, H), cur(ormel::YUV420, W, H);
    const double identity[6] = {0, 1, 0, 0, 0, 1};
    FillTexture(prev, identity);
    FillTexture(cur, identity);
    // A dark square at (40..63, 32..55) in the previous frame, moved 8 pixels right.
    for (int y = 32; y < 56; ++y)
        for (int x = 40; x < 64; ++x) {
            prev.Y(x, y) = 20;
            cur.Y(x + 8, y) = 20;
        }
    BinImage mask(W, H, 0, 255, ormel::quiet);
    int err = 0;
    double a[6] = {0, 1, 0, 0, 0, 1};
    est.Binary(cur, prev, a, mask, &err);
    const std::vector<std::string> map = BlockMap(mask);
    int marked = 0;
    for (const std::string& row : map)
        for (char c : row)
            marked += c == '#';
    EXPECT_EQ(err, marked);
    // The blocks of both positions of the square are objects; the texture far from it is not.
    for (int j = 4; j <= 6; ++j)
        for (int i = 5; i <= 8; ++i)
            EXPECT_EQ(map[j][i], '#') << "block " << i << "," << j;
    for (int j = 1; j <= 2; ++j)
        for (int i = 1; i <= 13; ++i)
            EXPECT_EQ(map[j][i], '.') << "block " << i << "," << j;
}
