// The normal-equation sums of both increment forms on every vector unit of this
// processor against the plain loops in their stated order, bit for bit.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "estimation/IncrementSums.h"

using estimation::NormalEquations;
using numeric::VectorUnit;

namespace {

struct Plane {
    Plane(int w, int h) : bytes(static_cast<size_t>(w) * h), view{bytes.data(), w, h, w} {}
    std::uint8_t& at(int x, int y) { return bytes[static_cast<size_t>(y) * view.width + x]; }
    std::vector<std::uint8_t> bytes;
    ormel::PlaneView view;
};

// The sums as the formulas state them: mask form columns outer over every pixel,
// threshold form rows outer over the pixels whose `select` is non-zero.
NormalEquations Reference(bool maskForm, Plane& cur, Plane& prev, Plane& select, const double* a) {
    NormalEquations n;
    std::memset(&n, 0, sizeof n);
    const int W = cur.view.width, H = cur.view.height;
    for (int outer = 0; outer < (maskForm ? W : H); ++outer)
        for (int inner = 0; inner < (maskForm ? H : W); ++inner) {
            const int x = maskForm ? outer : inner, y = maskForm ? inner : outer;
            if (!maskForm && !select.at(x, y))
                continue;
            const double dispX = a[0] + x * a[1] + y * a[2], dispY = a[3] + x * a[4] + y * a[5];
            const double fx = std::floor(dispX), fy = std::floor(dispY);
            if (!(fx >= 0 && fx + 1 < W && fy >= 0 && fy + 1 < H))
                continue;
            const int x1 = static_cast<int>(fx), y1 = static_cast<int>(fy);
            if (maskForm && (select.at(x1, y1) || select.at(x1 + 1, y1) || select.at(x1, y1 + 1) ||
                             select.at(x1 + 1, y1 + 1)))
                continue;
            const int p00 = prev.at(x1, y1), p10 = prev.at(x1 + 1, y1);
            const int p01 = prev.at(x1, y1 + 1), p11 = prev.at(x1 + 1, y1 + 1);
            const double dk = dispX - x1, dl = dispY - y1;
            const double bilin = p00 * (1 - dk) * (1 - dl) + p10 * dk * (1 - dl) +
                                 p01 * (1 - dk) * dl + p11 * dk * dl;
            const double e = bilin - cur.at(x, y);
            const double dIdx = (p10 - p00) * (1 - dl) + (p11 - p01) * dl;
            const double dIdy = (p01 - p00) * (1 - dk) + (p11 - p10) * dk;
            const double d[6] = {dIdx, x * dIdx, y * dIdx, dIdy, x * dIdy, y * dIdy};
            for (int i = 0; i < 6; ++i) {
                n.b[i] += d[i] * e;
                for (int j = 0; j <= i; ++j)
                    n.M[i * 6 + j] += d[i] * d[j];
            }
        }
    for (int i = 0; i < 6; ++i)
        for (int j = i + 1; j < 6; ++j)
            n.M[i * 6 + j] = n.M[j * 6 + i];
    return n;
}

// Bit for bit, naming the first sum that differs.
void ExpectSameBits(const NormalEquations& got, const NormalEquations& want) {
    for (int k = 0; k < 36; ++k)
        ASSERT_EQ(std::memcmp(&got.M[k], &want.M[k], sizeof(double)), 0)
            << "M[" << k / 6 << "][" << k % 6 << "] " << got.M[k] << " vs " << want.M[k];
    for (int k = 0; k < 6; ++k)
        ASSERT_EQ(std::memcmp(&got.b[k], &want.b[k], sizeof(double)), 0)
            << "b[" << k << "] " << got.b[k] << " vs " << want.b[k];
}

}  // namespace

TEST(IncrementSums, EveryUnitMatchesThePlainLoopsBitForBit) {
    std::mt19937 rng(99);
    std::uniform_real_distribution<double> u(-1, 1);
    const int sizes[][2] = {{1, 1}, {2, 2}, {5, 3}, {9, 17}, {37, 29}, {64, 9}, {131, 67}};
    estimation::IncrementScratch scratch;   // shared: it must not carry anything over
    for (auto& s : sizes)
        for (int trial = 0; trial < 8; ++trial) {
            const int W = s[0], H = s[1];
            Plane cur(W, H), prev(W, H), mask(W, H), use(W, H);
            // A smooth picture with flat patches (zero gradients) and noise.
            for (int y = 0; y < H; ++y)
                for (int x = 0; x < W; ++x) {
                    const bool flat = (x / 7 + y / 5) % 4 == 0;
                    prev.at(x, y) = flat ? 90 : static_cast<std::uint8_t>(128 + 60 * std::sin(0.3 * x + 0.2 * y) + rng() % 9);
                    cur.at(x, y) = static_cast<std::uint8_t>(prev.at(x, y) + rng() % 11 - 5);
                    mask.at(x, y) = rng() % 23 == 0 ? static_cast<std::uint8_t>(1 + rng() % 255) : 0;
                    use.at(x, y) = rng() % 5 != 0;
                }
            double a[6] = {2 * u(rng), 1 + 0.03 * u(rng), 0.03 * u(rng),
                           2 * u(rng), 0.03 * u(rng), 1 + 0.03 * u(rng)};
            if (trial == 1)   // tenths: many weights and sums land on round values
                a[0] = 0.1, a[3] = -0.3, a[1] = a[5] = 1, a[2] = a[4] = 0;
            if (trial == 2)   // mostly outside
                a[0] = 0.8 * W, a[3] = -0.6 * H;
            if (trial == 3)   // every pixel an object
                std::memset(mask.bytes.data(), 255, mask.bytes.size());
            if (trial == 4)
                a[1] = NAN;
            if (trial == 5 || trial == 6)   // eight positions spread over 14 samples, or more
                a[1] = trial == 5 ? 2.0 : 2.15, a[4] = 0;
            if (trial == 7)   // whole positions: every weight 0 or 1
                a[0] = 2, a[3] = -1, a[1] = a[5] = 1, a[2] = a[4] = 0;
            for (bool maskForm : {true, false}) {
                Plane& select = maskForm ? mask : use;
                const NormalEquations want = Reference(maskForm, cur, prev, select, a);
                for (VectorUnit unit : numeric::AvailableVectorUnits()) {
                    SCOPED_TRACE(testing::Message()
                                 << numeric::VectorUnitName(unit) << (maskForm ? " mask " : " threshold ")
                                 << W << "x" << H << " trial " << trial);
                    NormalEquations got;
                    const ormel::ConstPlaneView c = ormel::ConstView(cur.view);
                    const ormel::ConstPlaneView p = ormel::ConstView(prev.view);
                    const ormel::ConstPlaneView sel = ormel::ConstView(select.view);
                    if (maskForm)
                        estimation::SumMaskForm(c, p, sel, a, scratch, unit, &got);
                    else
                        estimation::SumThresholdForm(c, p, sel, a, scratch, unit, &got);
                    ExpectSameBits(got, want);
                }
            }
        }
}
