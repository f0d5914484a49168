// The object mask: 8 x 8 blocks from a binary difference picture, and Binary on frame pairs,
// also against the segmentation objects it stands for.
#include "segmentation/Binarization.h"
#include "segmentation/TolvarMotionDetection.h"
#include "segmentation/TolvarThrshold.h"
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

// The marking as first written, for the test below: in place on the block sums (a mark
// is -1), every neighbourhood counted afresh, the threshold from a full sort.
static int PlainMarking(std::vector<int> sum, int wx, int wy, std::vector<bool>& object) {
    std::vector<int> sorted = sum;
    std::sort(sorted.begin(), sorted.end());
    const int thresh = sorted[static_cast<size_t>(wy * (wx * 0.6699999999999999))];
    auto at = [&](int j, int i) -> int& { return sum[static_cast<size_t>(j) * wx + i]; };
    for (int j = 1; j < wy - 1; ++j)
        for (int i = 1; i < wx - 1; ++i) {
            int count = 0;
            for (int dj = -1; dj <= 1; ++dj)
                for (int di = -1; di <= 1; ++di)
                    count += at(j + dj, i + di) > thresh;
            if (at(j, i) > thresh && count > 4)
                at(j, i) = -1;
        }
    for (int j = 1; j < wy - 1; ++j)
        for (int i = 1; i < wx - 1; ++i) {
            bool touches = false;
            for (int dj = -1; dj <= 1; ++dj)
                for (int di = -1; di <= 1; ++di)
                    touches = touches || ((dj != 0 || di != 0) && at(j + dj, i + di) == -1);
            if (at(j, i) > thresh && touches)
                at(j, i) = -1;
        }
    for (int j = 0; j < wy; ++j)
        for (int i = 0; i < wx; ++i)
            if ((i == 0 || j == 0 || i == wx - 1 || j == wy - 1) && at(j, i) > thresh)
                at(j, i) = -1;
    object.assign(sum.size(), false);
    for (size_t b = 0; b < sum.size(); ++b)
        object[b] = sum[b] == -1;
    return static_cast<int>(std::count(object.begin(), object.end(), true));
}

// Pictures of blobs of object-like blocks, dense and sparse, on grids from one block to
// many, with pixels beyond the last whole block.
TEST_F(MakeBlock, MarksAsThePlainMarkingOnRandomPictures) {
    std::mt19937 rng(12);
    for (int trial = 0; trial < 80; ++trial) {
        const int wx = 1 + static_cast<int>(rng() % 30), wy = 1 + static_cast<int>(rng() % 20);
        const int w = 8 * wx + static_cast<int>(rng() % 8), h = 8 * wy + static_cast<int>(rng() % 8);
        BinImage pic(w, h, 0, 255, ormel::quiet), mask(w, h, 0, 255, ormel::quiet);
        // Block (i, j) gets about `level` white pixels: high near a few centres, low elsewhere.
        std::vector<std::pair<int, int>> centres(1 + rng() % 4);
        for (auto& c : centres)
            c = {static_cast<int>(rng() % wx), static_cast<int>(rng() % wy)};
        const int reach = 1 + static_cast<int>(rng() % 4);
        std::vector<int> sums(static_cast<size_t>(wx) * wy);
        for (int j = 0; j < wy; ++j)
            for (int i = 0; i < wx; ++i) {
                bool near = false;
                for (const auto& c : centres)
                    near = near || (std::abs(c.first - i) <= reach && std::abs(c.second - j) <= reach);
                const int level = near ? 20 + static_cast<int>(rng() % 45) : static_cast<int>(rng() % 25);
                for (int n = 0; n < 64; ++n) {
                    // Mostly 0 and 255, with some grey: sums of every size, many of them equal.
                    const bool white = static_cast<int>(rng() % 64) < level;
                    const int v = white ? 255 : rng() % 4 == 0 ? static_cast<int>(rng() % 60) : 0;
                    pic.SetPixel(8 * i + n % 8, 8 * j + n / 8, static_cast<unsigned char>(v));
                    sums[static_cast<size_t>(j) * wx + i] += v;
                }
            }
        std::vector<bool> object;
        const int want = PlainMarking(sums, wx, wy, object);
        ASSERT_EQ(RunMakeBlock(est, pic, mask), want) << "trial " << trial;
        for (int j = 0; j < wy; ++j)
            for (int i = 0; i < wx; ++i)
                ASSERT_EQ(mask.GetPixel(8 * i + 3, 8 * j + 5), object[static_cast<size_t>(j) * wx + i] ? 255 : 0)
                    << "trial " << trial << ", block " << i << ", " << j;
    }
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

// Binary step by step with the segmentation objects, as a fresh detector (black level of
// the estimator), thresholder (its motion weight) and binarizer would run it.
static int ComposedBinary(BinGlobalMotionEstimator& est, YUVImage& cur, YUVImage& prev,
                          double* a, BinImage& mask) {
    const int W = cur.Width(ormel::Y_COMP), H = cur.Height(ormel::Y_COMP);
    YUVImage comp(ormel::YUV420, W, H), diff(comp), max(comp);
    est.Compensate(prev, a, comp);
    BinImage temp(mask);
    const int savedBlack = black_level;
    black_level = est.blackLevel;
    TolvarMotionDetection detector(cur, 5, 42, 6, ormel::quiet);
    black_level = savedBlack;
    TolvarThrshold thresholder(diff, ormel::quiet);
    thresholder.SetMotionWeight(est.motionWeight);
    Binarization binarizer(temp, ormel::quiet);
    detector.AbsoluteDifferenceAverager(cur, comp, diff);
    detector.MaxFilter(diff, max);
    thresholder.TolvarThresholder(max);
    binarizer.Binarizer(max, temp, thresholder.TolvarAdaptiveThresholder(1.0f, 80, 120, 200));
    int err = -1;
    est.MakeBlock(temp, mask, &err);
    return err;
}

// Odd sizes (stripes that end anywhere, blocks cut off at the edges), textures with a
// moving square and noise over part of the frame (regional thresholds in all three bands
// of the adaptive one), other black levels and weights, a mask with other levels, and the
// same estimator again at other sizes.
TEST_F(Binary, EqualsTheDetectorThresholderAndBinarizerStepByStep) {
    const struct { int w, h, blackLevel; float weight; unsigned maskBlack, maskWhite; int noise, noisyPercent; } cases[] = {
        {128, 96, 0, 3.4f, 0, 255, 0, 0},       {77, 45, 0, 3.4f, 0, 255, 30, 50},
        {203, 131, 9, 3.4f, 0, 255, 90, 28},    {64, 33, 0, -40.0f, 0, 255, 160, 40},
        {145, 70, 250, 3.4f, 0, 255, 255, 22},  {97, 103, 3, 20.0f, 3, 200, 120, 25},
        {8, 8, 0, 3.4f, 0, 255, 255, 100},      {352, 67, 0, 3.4f, 0, 255, 15, 30},
        {181, 99, 0, 3.4f, 0, 255, 255, 25},
    };
    std::mt19937 rng(11);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.w << "x" << c.h << " noise " << c.noise);
        YUVImage prev(ormel::YUV420, c.w, c.h), cur(prev);
        const double motion[6] = {0.7, 1.01, -0.02, -1.3, 0.015, 0.99};
        TexturedPair(cur, prev, motion);
        std::uniform_int_distribution<int> noise(-c.noise, c.noise);
        Fill(cur, [&](int x, int y) {
            const int square = x > c.w / 3 && x < c.w / 2 && y > c.h / 4 && y < c.h / 2 ? 60 : 0;
            const int n = 100 * x < c.noisyPercent * c.w ? noise(rng) : 0;
            return std::clamp(cur.Y(x, y) + n - square, 0, 255);
        });
        est.blackLevel = c.blackLevel;
        est.motionWeight = c.weight;
        BinImage got(c.w, c.h, c.maskBlack, c.maskWhite, ormel::quiet), want(got);
        got.ClearRawData(7);
        want.ClearRawData(7);
        double a[6] = {0.6, 1.01, -0.02, -1.2, 0.015, 0.99};
        int err = 123;
        const std::string printed = Printed([&] { est.Binary(cur, prev, a, got, &err); });
        EXPECT_EQ(printed, Printed([&] { EXPECT_EQ(err, ComposedBinary(est, cur, prev, a, want)); }));
        ASSERT_EQ(std::vector<unsigned char>(got.GetArray(ormel::Y_COMP), got.GetArray(ormel::Y_COMP) + c.w * c.h),
                  std::vector<unsigned char>(want.GetArray(ormel::Y_COMP), want.GetArray(ormel::Y_COMP) + c.w * c.h));
    }
}

TEST_F(Binary, FramesOfAnotherSizeAreRefusedAndTinyOnesHaveNoBlocks) {
    YUVImage cur(ormel::YUV420, 40, 24), prev(ormel::YUV420, 40, 23), tiny(ormel::YUV400, 7, 30);
    BinImage mask(40, 24, 0, 255, ormel::quiet), tinyMask(7, 30, 0, 255, ormel::quiet);
    mask.ClearRawData(5);
    tinyMask.ClearRawData(5);
    double a[6] = {0, 1, 0, 0, 0, 1};
    int err = 17;
    EXPECT_EQ(Printed([&] { est.Binary(cur, prev, a, mask, &err); }),
              "BinGlobalMotionEstimator::Binary: previous is not 40 x 24\n");
    EXPECT_EQ(Printed([&] { est.Binary(cur, cur, a, tinyMask, &err); }),
              "BinGlobalMotionEstimator::Binary: binImage is not 40 x 24\n");
    EXPECT_EQ(err, 17);
    EXPECT_EQ(mask.GetPixel(0, 0), 5);
    est.Binary(tiny, tiny, a, tinyMask, &err);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(tinyMask.GetPixel(3, 3), 5);
}
