// The object mask: 8 x 8 blocks from a binary difference picture, and Binary on frame pairs.
#include "tests/estimation/EstimatorTestUtil.h"

using Map = std::vector<std::string>;

// The block map of a mask: '#' for a block of 255, '.' for a block of 0, '?' otherwise.
static Map BlockMap(BinImage& mask) {
    Map map(mask.Height() / 8, std::string(mask.Width() / 8, '.'));
    for (int y = 0; y < 8 * static_cast<int>(map.size()); ++y)
        for (int x = 0; x < 8 * static_cast<int>(map[0].size()); ++x) {
            const unsigned char v = mask.GetPixel(x, y);
            const char c = v == 255 ? '#' : v == 0 ? '.' : '?';
            char& block = map[y / 8][x / 8];
            block = x % 8 == 0 && y % 8 == 0 ? c : block == c ? c : '?';
        }
    return map;
}

static int Marked(const Map& map) {
    int n = 0;
    for (const std::string& row : map)
        n += static_cast<int>(std::count(row.begin(), row.end(), '#'));
    return n;
}

static int RunMakeBlock(BinGlobalMotionEstimator& est, BinImage& pic, BinImage& mask) {
    int err = -7;   // the value passed in is not used
    est.MakeBlock(pic, mask, &err);
    return err;
}

using MakeBlock = EstimatorTest;

TEST_F(MakeBlock, MarksObjectRegionsInPlaceInScanOrder) {
    // Blocks of 255 where the map has '#' (to be marked) or 'o' (to stay unmarked).
    const std::pair<const char*, Map> cases[] = {
        {"blank picture", {".......", ".......", "......."}},
        {"one solid region, marked whole", {"........", "........", "..####..", "..####..",
                                            "..####..", "........", "........", "........"}},
        // (5, 1) touches (4, 2) only. With a separate output array the first pass would
        // mark (4, 2) (five of its neighbourhood above the threshold) and the second pass
        // would then reach (5, 1). In place, (3, 2) is marked just before (4, 2), which
        // then counts four, and the second pass marks (4, 2) only after it has passed (5, 1).
        {"first pass in place", {".......", ".....o.", "..###..", "...##..", "..#....", ".......",
                                 "......."}},
        // Lone blocks next to a region: the one scanned after a mark is marked, the one
        // scanned before is not; a border block needs no neighbourhood.
        {"second pass forward", {"........", ".......#", "......o.", "...###..", "...###..",
                                 "..#.....", ".#......", "........"}},
    };
    for (const auto& [what, map] : cases) {
        // Five columns and three rows beyond the last whole block keep the mask's 9.
        const int w = 8 * static_cast<int>(map[0].size()), h = 8 * static_cast<int>(map.size());
        BinImage pic(w + 5, h + 3, 0, 255, ormel::quiet), mask(w + 5, h + 3, 0, 255, ormel::quiet);
        mask.ClearRawData(9);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                pic.SetPixel(x, y, map[y / 8][x / 8] == '.' ? 0 : 255);
        Map want = map;
        for (std::string& row : want)
            std::replace(row.begin(), row.end(), 'o', '.');
        EXPECT_EQ(RunMakeBlock(est, pic, mask), Marked(want)) << what;
        EXPECT_EQ(BlockMap(mask), want) << what;
        for (int y = 0; y < h + 3; ++y)
            for (int x = y < h ? w : 0; x < w + 5; ++x)
                ASSERT_EQ(mask.GetPixel(x, y), 9) << what << " at " << x << ", " << y;
    }
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
    file.SetWidth(128);
    file.SetHeight(96);
    YUVImage prev(ormel::YUV420, 128, 96), cur(ormel::YUV420, 128, 96);
    TexturedPair(cur, prev, kIdentity);
    // A dark square at (40..63, 32..55) in the previous frame, moved 8 pixels right.
    for (int y = 32; y < 56; ++y)
        for (int x = 40; x < 64; ++x)
            prev.Y(x, y) = cur.Y(x + 8, y) = 20;
    BinImage mask(128, 96, 0, 255, ormel::quiet);
    int err = 0;
    double a[6] = {0, 1, 0, 0, 0, 1};
    est.Binary(cur, prev, a, mask, &err);
    const Map map = BlockMap(mask);
    EXPECT_EQ(err, Marked(map));
    // The blocks of both positions of the square are objects; the texture far from it is not.
    for (int j : {4, 5, 6})
        EXPECT_EQ(map[j].substr(5, 4), "####") << "block row " << j;
    for (int j : {1, 2})
        EXPECT_EQ(map[j].substr(1, 13), std::string(13, '.')) << "block row " << j;
}
