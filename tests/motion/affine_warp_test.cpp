// The affine warp kernel on every vector unit of this processor against the plain
// per-pixel formulas, bit for bit, with its error sums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "motion/AffineWarp.h"

using motion::BilinearOrder;
using numeric::VectorUnit;

namespace {

// A plane of random bytes with rows `stride` apart; the bytes between rows are random too.
struct Plane {
    // step > 1: multiples of step only, so that sums with tenths or thirds as weights
    // land on whole numbers, where the order of the sums decides the truncation.
    Plane(int w, int h, int stride, std::mt19937& rng, int step = 1)
        : bytes(static_cast<size_t>(stride) * (h - 1) + w), view{bytes.data(), w, h, stride} {
        for (auto& b : bytes)
            b = static_cast<std::uint8_t>(rng() % (255 / step + 1) * step);
    }
    std::vector<std::uint8_t> bytes;
    ormel::PlaneView view;
};

// The warp of one pixel as the formulas state it, with floor() and the plain order.
int WarpRef(const ormel::PlaneView& p, const double* a, int x, int y, BilinearOrder order) {
    const double dispX = a[0] + x * a[1] + y * a[2];
    const double dispY = a[3] + x * a[4] + y * a[5];
    const double fl = std::floor(dispX), ft = std::floor(dispY);
    if (!(fl >= 0 && fl < p.width - 1 && ft >= 0 && ft < p.height - 1))
        return -1;   // outside: written as 0 and never counted
    const int x1 = static_cast<int>(fl), y1 = static_cast<int>(ft);
    const double fx = dispX - x1, gx = (x1 + 1) - dispX, fy = dispY - y1, gy = (y1 + 1) - dispY;
    const int p00 = p.Row(y1)[x1], p10 = p.Row(y1)[x1 + 1];
    const int p01 = p.Row(y1 + 1)[x1], p11 = p.Row(y1 + 1)[x1 + 1];
    const double s = order == BilinearOrder::kEstimator
                         ? fy * (p11 * fx + p01 * gx) + gy * (p10 * fx + p00 * gx)
                         : gy * (p00 * gx + p10 * fx) + fy * (p01 * gx + p11 * fx);
    return std::min(static_cast<int>(s), 255);
}

}  // namespace

TEST(AffineWarp, EveryUnitMatchesThePlainFormulasOnOddPlanes) {
    std::mt19937 rng(2024);
    std::uniform_real_distribution<double> u(-1, 1);
    const int sizes[][3] = {{1, 1, 1}, {2, 2, 2}, {3, 7, 5}, {37, 29, 41}, {131, 67, 131},
                            {64, 9, 80}};
    int cases = 0;
    for (auto& s : sizes)
        for (int trial = 0; trial < 12; ++trial) {
            const int W = s[0], H = s[1];
            Plane prev(W, H, s[2], rng, trial % 4 == 3 ? 10 : 1), cur(W, H, W + 3, rng);
            // Near-identity motions (most pixels inside), zooms and rotations that push
            // many outside, half-pixel shifts (exact weights) and values that are no
            // position at all.
            double a[6] = {3 * u(rng), 1 + 0.05 * u(rng), 0.05 * u(rng),
                           3 * u(rng), 0.05 * u(rng), 1 + 0.05 * u(rng)};
            if (trial % 4 == 1)
                for (double& v : a)
                    v = 2.5 * u(rng) * (&v == a || &v == a + 3 ? W : 1);
            if (trial % 4 == 2)
                a[0] = 0.5, a[3] = -0.5 * (trial % 3);
            if (trial % 4 == 3) {   // shifts by tenths or thirds
                const double fractions[] = {0.1, 0.3, 0.7, 0.9, 1.0 / 3, 2.0 / 3};
                a[0] = static_cast<int>(rng() % 5) - 2 + fractions[rng() % 6];
                a[3] = static_cast<int>(rng() % 5) - 2 + fractions[rng() % 6];
                a[1] = a[5] = 1, a[2] = a[4] = 0;
            }
            if (trial == 11)
                a[trial % 6] = trial % 2 ? NAN : 1e300;
            for (BilinearOrder order : {BilinearOrder::kEstimator, BilinearOrder::kCompensator}) {
                // The band of a random percentage, as the compensator forms it.
                motion::ErrorBand band;
                band.current = ormel::ConstView(cur.view);
                const int th = static_cast<int>(rng() % 101);
                band.colLow = W * th / 100, band.colHigh = W - band.colLow;
                band.rowLow = H * th / 100, band.rowHigh = H - band.rowLow;
                long long sum = 0, count = 0;
                for (int y = 0; y < H; ++y)
                    for (int x = 0; x < W; ++x) {
                        const int v = WarpRef(prev.view, a, x, y, order);
                        if (v >= 0 && (x < band.colLow || x > band.colHigh) &&
                            (y < band.rowLow || y > band.rowHigh))
                            sum += std::abs(v - cur.view.Row(y)[x]), ++count;
                    }
                for (VectorUnit unit : numeric::AvailableVectorUnits()) {
                    SCOPED_TRACE(testing::Message() << numeric::VectorUnitName(unit) << " " << W
                                                    << "x" << H << " trial " << trial);
                    Plane out(W, H, W + 1, rng);
                    const std::vector<std::uint8_t> before = out.bytes;
                    motion::WarpScratch scratch;
                    const motion::WarpError e = motion::WarpAffine(
                        ormel::ConstView(prev.view), a, out.view, order, band, scratch, unit);
                    for (int y = 0; y < H; ++y)
                        for (int x = 0; x < W; ++x)
                            ASSERT_EQ(out.view.Row(y)[x], std::max(WarpRef(prev.view, a, x, y, order), 0))
                                << "at " << x << ", " << y;
                    for (int y = 0; y + 1 < H; ++y)   // the bytes between rows stay
                        ASSERT_EQ(out.view.Row(y)[W], before[static_cast<size_t>(y) * (W + 1) + W]);
                    EXPECT_EQ(e.sum, sum);
                    EXPECT_EQ(e.count, count);
                    ++cases;
                }
            }
        }
    EXPECT_GT(cases, 0);
}
