// The estimator's affine warp, the central criterion and the outlier threshold.
#include "tests/estimation/EstimatorTestUtil.h"

// The plain warp of one pixel, in the order of the formula. The inside test on the
// floored doubles keeps far positions out of the int conversion.
static int WarpRef(YUVImage& prev, const double* a, int x, int y) {
    const int W = prev.Width(ormel::Y_COMP), H = prev.Height(ormel::Y_COMP);
    const double dispX = a[0] + x * a[1] + y * a[2], dispY = a[3] + x * a[4] + y * a[5];
    const double fl = std::floor(dispX), ft = std::floor(dispY);
    if (!(fl >= 0 && fl < W - 1 && ft >= 0 && ft < H - 1))
        return 0;
    const int x1 = static_cast<int>(fl), y1 = static_cast<int>(ft);
    const double fx = dispX - x1, gx = (x1 + 1) - dispX, fy = dispY - y1, gy = (y1 + 1) - dispY;
    const double s = fy * (prev.Y(x1 + 1, y1 + 1) * fx + prev.Y(x1, y1 + 1) * gx) +
                     gy * (prev.Y(x1 + 1, y1) * fx + prev.Y(x1, y1) * gx);
    return std::min(static_cast<int>(s), 255);
}

using Warp = EstimatorTest;

TEST_F(Warp, IdentityAndHalfPixelShift) {
    // The identity keeps every pixel but the black last row and column; half a pixel
    // to the right averages horizontal neighbours, truncating.
    YUVImage prev(ormel::YUV420, 21, 13), comp(ormel::YUV420, 21, 13);
    FillRandom(prev, 2, 1, 255);
    double id[6] = {0, 1, 0, 0, 0, 1}, half[6] = {0.5, 1, 0, 0, 0, 1};
    est.Compensate(prev, id, comp);
    ExpectLuma(comp, [&](int x, int y) { return x == 20 || y == 12 ? 0 : int(prev.Y(x, y)); });
    est.Compensate(prev, half, comp);
    ExpectLuma(comp, [&](int x, int y) {
        return x == 20 || y == 12 ? 0 : (prev.Y(x, y) + prev.Y(x + 1, y)) / 2;
    });
}

TEST_F(Warp, AffineWarpMatchesThePlainFormula) {
    YUVImage prev(ormel::YUV420, 720, 576), comp(ormel::YUV420, 720, 576);
    FillRandom(prev, 8);
    double cases[][6] = {
        {3.7, 0.98, 0.031, -2.2, -0.027, 1.013},   // rotation, zoom and shift
        {-400, 2.0, 0.0, 700.0, 0.0, -1.0},       // mostly outside, a mirrored part inside
        {NAN, 1, 0, -1e12, 0, 1},                 // no position at all: black
    };
    for (auto& a : cases) {
        SCOPED_TRACE(a[0]);
        est.Compensate(prev, a, comp);
        ExpectLuma(comp, [&](int x, int y) { return WarpRef(prev, a, x, y); });
    }
}

TEST_F(Warp, CentralMaeCountsAnInclusiveWindowAndPrintsIt) {
    YUVImage cur(ormel::YUV420, 10, 10), comp(ormel::YUV420, 10, 10);
    Fill(comp, [](int x, int) { return x; });   // |comp - cur| = x
    double cmae = 0;
    EXPECT_EQ(Printed([&] { cmae = est.CriterionFunctionCMAE(cur, comp, 10); }),
              "threshy: 1 \nthreshx: 1 \ncount: 81 \n");
    EXPECT_EQ(cmae, 5.0);   // x from 1 to 9, both bounds included
}

using CalOutlier = EstimatorTest;

TEST_F(CalOutlier, PicksTheValueAtTheSortedIndex) {
    // Many equal differences after a real warp, against qsort of the plain differences:
    // with percent 0.1 the value at 90 % of the sorted array.
    YUVImage prev(ormel::YUV420, 97, 61), cur(ormel::YUV420, 97, 61);
    FillRandom(prev, 31);
    FillRandom(cur, 32, 60, 120);
    double a[6] = {0.7, 1.01, -0.02, 1.3, 0.015, 0.99};
    std::vector<int> err;
    for (int y = 0; y < 61; ++y)
        for (int x = 0; x < 97; ++x)
            err.push_back(std::abs(cur.Y(x, y) - WarpRef(prev, a, x, y)));
    std::qsort(err.data(), err.size(), sizeof(int), compare);
    for (double percent : {0.1, 0.013}) {
        est.percent = percent;
        int thresh = -1;
        est.CalOutlier(cur, prev, a, &thresh);
        EXPECT_EQ(thresh, err[static_cast<int>(err.size() * (1.0 - percent))]) << percent;
    }
}
