// TolvarThrshold: the regional threshold against a literal region-by-region reference and
// known answers, its printing and refusals, and the adaptive threshold's arithmetic and
// ratchet.
#include "segmentation/TolvarThrshold.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "tests/segmentation/test_support.h"

using ormel::Y_COMP;

namespace {

// The direct definition: column by column, each sample to the first region whose test
// holds, written as the region table reads; a band's mode is its first fullest bin.
int ReferenceTs(ormel::YUVImage& img) {
    const int w = img.Width(Y_COMP), h = img.Height(Y_COMP);
    const int H3 = h / 3, H6 = 2 * (h / 3), W3 = w / 3, W6 = 2 * (w / 3);
    long hist[9][256] = {}, sum[9] = {}, count[9] = {};
    for (int x = 0; x < w; ++x)
        for (int y = 0; y < h; ++y) {
            const bool top = y < H3, mid = H3 <= y && y < H6, bottom = y >= H6;
            const bool tests[9] = {top && x < W3, mid && x <= W3, bottom && x < W3,
                                   top && W3 <= x && x <= W6, mid && W3 < x && x <= W6,
                                   bottom && W3 <= x && x <= W6, top && x >= W6, mid && x > W6,
                                   bottom && x >= W6};
            const int r = static_cast<int>(std::find(tests, tests + 9, true) - tests);
            ++hist[r][img.Y(x, y)];
            sum[r] += img.Y(x, y);
            ++count[r];
        }
    long total = 0;
    for (int r = 0; r < 9; ++r) {
        total += count[r] ? sum[r] / count[r] : 0;
        for (int lo : {0, 52, 103, 154, 205}) {
            const long* peak = std::max_element(hist[r] + lo, hist[r] + (lo ? lo + 51 : 52));
            total += *peak ? peak - hist[r] : 0;
        }
    }
    return static_cast<unsigned char>(total / 54);
}

}  // namespace

TEST(TolvarThresholder, KnownAnswers) {
    const struct { const char* what; int w, h, fill; std::vector<std::array<int, 3>> set; int ts; } cases[] = {
        {"constant 100: 18 * 100 / 54", 30, 21, 100, {}, 33},
        {"constant 255 at SD", 720, 576, 255, {}, 85},
        {"one sample, one region: (255 + 255) / 54", 1, 1, 255, {}, 9},
        // 3 x 3: in the middle row x = W3 = 1 is left, so both bright samples share a
        // region (510, Ts 9); in the middle region they would add 510 + 382, Ts 16.
        {"middle rows take the third column left", 3, 3, 0, {{0, 1, 255}, {1, 1, 255}}, 9},
        // Columns 3 to 6 form one region holding 51, 0, 255, 205: its bands 0-51 and
        // 205-255 tie; lower bins give 127 + 0 + 205 = 332, Ts 6 (upper bins: 433, Ts 8).
        {"band ties keep the lower bin", 10, 1, 0, {{3, 0, 51}, {5, 0, 255}, {6, 0, 205}}, 6},
    };
    for (const auto& c : cases) {
        ormel::YUVImage img(ormel::YUV400, c.w, c.h);
        img.Fill(static_cast<unsigned char>(c.fill), Y_COMP);
        for (const auto& p : c.set)
            img.Y(p[0], p[1]) = static_cast<unsigned char>(p[2]);
        TolvarThrshold th(img, ormel::quiet);
        EXPECT_EQ(th.TolvarThresholder(img), c.ts) << c.what;
    }
}

TEST(TolvarThresholder, MatchesTheRegionTableOnSmallSparseImages) {
    // A few bright samples on a dark ground: moving one border sample to another region
    // changes Ts, so a border test written the wrong way round shows up.
    std::mt19937 rng(2024);
    for (int w = 1; w <= 13; ++w)
        for (int h = 1; h <= 13; ++h)
            for (int trial = 0; trial < 12; ++trial) {
                ormel::YUVImage img(ormel::YUV400, w, h);
                for (int i = 0; i < w * h; ++i)
                    img.Y(i % w, i / w) = static_cast<unsigned char>(rng() % 4 ? rng() % 40 : 150 + rng() % 106);
                TolvarThrshold th(img, ormel::quiet);
                ASSERT_EQ(th.TolvarThresholder(img), ReferenceTs(img)) << w << "x" << h << " trial " << trial;
            }
}

TEST(TolvarThresholder, PrintsTheRawByteRefusesSmallImagesFreesOnce) {
    ormel::YUVImage img(ormel::YUV400, 6, 6), small(ormel::YUV400, 6, 5);
    img.Fill(100, Y_COMP);
    TolvarThrshold loud(img, ormel::verbose), th(img, ormel::quiet);
    EXPECT_EQ(th.GetMethodName(), "TolvarThrshold");
    EXPECT_EQ(th.GetNumVariables(), 8u);
    EXPECT_EQ("Ts: !\n", Printed([&] { EXPECT_EQ(loud.TolvarThresholder(img), 33); }));   // '!' is 33
    EXPECT_EQ("", Printed([&] { th.TolvarThresholder(img); }));
    EXPECT_NE("", Printed([&] { EXPECT_EQ(th.TolvarThresholder(small), 0); }));
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 80, 120, 200), 100);   // Ts 33 kept

    EXPECT_TRUE(th.BuffFree());
    EXPECT_EQ("\nNothing to free!\n\n", Printed([&] { EXPECT_FALSE(th.BuffFree()); }));
    EXPECT_TRUE(th.BuffAlloc(36));
    EXPECT_EQ(th.TolvarThresholder(img), 33);
}

TEST(TolvarAdaptive, BaseFromTheBandOfTsPlusTheRoundedMotionTerm) {
    const struct { float motion; unsigned low, middle, high; int want; } cases[] = {
        {0.0f, 80, 120, 200, 100},    // Ts 33 below low: low + 20
        {0.0f, 33, 120, 200, 130},    // below middle: middle + 10
        {0.0f, 10, 34, 200, 44},
        {0.0f, 10, 33, 77, 77},       // high
        {1.0f, 80, 120, 200, 103},    // 3.4 + 0.5
        {20.0f, 0, 0, 200, 12},       // 268 in 8 bits
        {-10.0f, 80, 120, 200, 67},   // -34 + 0.5 truncates toward zero to -33, not -34
        // 3.4f * m rounds up to 1.5 in float but stays below it in double: lift 2, not 1.
        {0x1.c3c3c2p-2f, 80, 120, 200, 102},
        // 0.5 + 3.4f * m stays below 1 in double but would round to 1 in float: lift 0.
        {0x1.2d2d2cp-3f, 80, 120, 200, 100},
    };
    ormel::YUVImage img(ormel::YUV400, 9, 9);
    img.Fill(100, Y_COMP);
    for (const auto& c : cases) {
        TolvarThrshold th(img, ormel::quiet);
        th.TolvarThresholder(img);
        EXPECT_EQ(th.TolvarAdaptiveThresholder(c.motion, c.low, c.middle, c.high), c.want)
            << "motion " << c.motion << ", bounds " << c.low << " " << c.middle << " " << c.high;
    }
}

TEST(TolvarAdaptive, RatchetNeverLetsTheThresholdFall) {
    ormel::YUVImage img(ormel::YUV400, 9, 9), other(ormel::YUV400, 2, 2);
    img.Fill(100, Y_COMP);
    TolvarThrshold th(img, ormel::quiet), assigned(other, ormel::quiet);
    th.TolvarThresholder(img);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 80, 120, 200), 100);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 10, 20, 30), 100);
    EXPECT_EQ(th.TolvarAdaptiveThresholder(2.0f, 80, 120, 200), 107);   // 100 + (int)7.3
    EXPECT_EQ(th.TolvarAdaptiveThresholder(0.0f, 80, 120, 200), 107);
    // A weighted motion that is not a finite int is refused: the previous result again.
    EXPECT_NE("", Printed([&] {
        EXPECT_EQ(th.TolvarAdaptiveThresholder(std::nanf(""), 80, 120, 250), 107);
        EXPECT_EQ(th.TolvarAdaptiveThresholder(1e30f, 80, 120, 250), 107);
    }));
    TolvarThrshold copy(th);   // the previous result travels with copies
    assigned = th;
    EXPECT_EQ(copy.TolvarAdaptiveThresholder(0.0f, 10, 20, 30), 107);
    EXPECT_EQ(assigned.TolvarAdaptiveThresholder(0.0f, 10, 20, 30), 107);
}
