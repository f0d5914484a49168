// Low-pass filtering with decimation, against the plain formula.
#include "tests/estimation/EstimatorTestUtil.h"

// [1 2 1] / 4 along the row, then down the column, each division truncating; the first
// row and column are their own upper and left neighbours.
static int HorRef(YUVImage& in, int x, int y) {
    return (in.Y(x > 0 ? 2 * x - 1 : 0, y) + 2 * in.Y(2 * x, y) + in.Y(2 * x + 1, y)) / 4;
}

static int GaussRef(YUVImage& in, int x, int y) {
    return (HorRef(in, x, y > 0 ? 2 * y - 1 : 0) + 2 * HorRef(in, x, 2 * y) +
            HorRef(in, x, 2 * y + 1)) / 4;
}

using GaussFilter = EstimatorTest;

TEST_F(GaussFilter, MatchesThePlainKernelKeepsAConstantAndDropsAnOddLastRowAndColumn) {
    // 721 x 577 gives 360 x 288; the rest of the larger output keeps its samples.
    YUVImage in(ormel::YUV420, 721, 577), out(ormel::YUV420, 362, 290);
    FillRandom(in, 7);
    FillConstant(out, 77);
    EXPECT_EQ(est.GaussFilter(in, out), 0);
    ExpectLuma(out, [&](int x, int y) { return x < 360 && y < 288 ? GaussRef(in, x, y) : 77; });
    FillConstant(in, 255);
    est.GaussFilter(in, out);
    ExpectLuma(out, [](int x, int y) { return x < 360 && y < 288 ? 255 : 77; });
}

TEST_F(GaussFilter, SmallAndOddSizesMatchThePlainKernel) {
    // Widths on both sides of the sixteen-sample groups, down to one output sample.
    const int sizes[][2] = {{2, 2}, {3, 3}, {33, 5}, {34, 9}, {35, 2}, {66, 7}, {97, 33}};
    unsigned seed = 11;
    for (const auto& s : sizes) {
        SCOPED_TRACE(std::to_string(s[0]) + " x " + std::to_string(s[1]));
        YUVImage in(ormel::YUV420, s[0], s[1]), out(ormel::YUV420, s[0] / 2, s[1] / 2);
        FillRandom(in, ++seed);
        est.GaussFilter(in, out);
        ExpectLuma(out, [&](int x, int y) { return GaussRef(in, x, y); });
    }
}
