// The start vector from the parameter history.
#include "tests/estimation/EstimatorTestUtil.h"

// cur(x, y) = prev at the rounded position of the affine map c where that lies inside,
// noise elsewhere: the pair that both stages score 0 for c's translation and linear terms.
static void RoundedAffinePair(YUVImage& cur, YUVImage& prev, const double* c) {
    const int W = prev.Width(ormel::Y_COMP), H = prev.Height(ormel::Y_COMP);
    FillRandom(prev, 41);
    FillRandom(cur, 42);
    Fill(cur, [&](int x, int y) {
        const int xp = CoRound(c[0] + x * c[1] + y * c[2]), yp = CoRound(c[3] + x * c[4] + y * c[5]);
        return xp >= 0 && xp < W && yp >= 0 && yp < H ? prev.Y(xp, yp) : cur.Y(x, y);
    });
}

struct Case {
    const char* what;
    double h0[6], dh[6];   // history entry i (oldest first) is h0 + i dh
    double motion[6];      // the pair's motion at a quarter of the size
    bool maskAll;          // an all-set mask: every sum is 0, the zero candidate wins both
};

const Case kCases[] = {
    // Past, acceleration and average coincide; the past one comes first of them.
    {"identical history", {8, 1.02, 0, -4, 0, 1.02}, {}, {2, 1.02, 0, -1, 0, 1.02}, false},
    // Without the mask the past candidate would win.
    {"all-set mask", {0, 1.01, 0.02, 0, -0.01, 0.99}, {4, 0, 0, -3, 0, 0},
     {4, 1.01, 0.02, -3, -0.01, 0.99}, true},
    // Quarter-size translations: zero (0, 0), past (2, -1), acceleration (3, -1), average
    // (1, -1). The pair moves by the acceleration's translation with the average's
    // linear terms.
    {"stages apart", {0, 1, 0, 0, 0, 1}, {2, 1.0 / 128, 0, -1, 0, 1.0 / 128},
     {3, 1 + 2.0 / 128, 0, -1, 0, 1 + 2.0 / 128}, false},
    // The same history; the pair moves by the acceleration's translation alone (the zero
    // candidate's linear terms).
    {"no linear terms", {0, 1, 0, 0, 0, 1}, {2, 1.0 / 128, 0, -1, 0, 1.0 / 128}, {3, 1, 0, -1, 0, 1},
     false},
    // Quarter-size translations zero (0, 0), past (2, -1), acceleration (4, -2), average
    // (-2, 1); the pair moves by the whole newest motion.
    {"past", {-24, 1 - 1.0 / 128, 0, 12, 0, 1 - 1.0 / 128}, {8, 1.0 / 128, 0, -4, 0, 1.0 / 128},
     {2, 1 + 3.0 / 128, 0, -1, 0, 1 + 3.0 / 128}, false},
};

using Predict = EstimatorTest;

TEST_F(Predict, EachStageTakesTheBestCandidateAndTiesGoToTheEarliest) {
    YUVImage cur(ormel::YUV420, 64, 48), prev(ormel::YUV420, 64, 48), mask(ormel::YUV420, 64, 48);
    for (const Case& c : kCases) {
        double hist[5][6], a[6] = {9, 9, 9, 9, 9, 9};
        double* p[5] = {hist[0], hist[1], hist[2], hist[3], hist[4]};
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 6; ++j)
                hist[i][j] = c.h0[j] + i * c.dh[j];
        RoundedAffinePair(cur, prev, c.motion);
        FillConstant(mask, c.maskAll ? 255 : 0);
        const double* want = c.maskAll ? kIdentity : c.motion;
        char line[96];
        std::snprintf(line, sizeof line, "Initial Conditions: a[0] = %f, a[3] = %f \n", want[0],
                      want[3]);
        EXPECT_EQ(Printed([&] { est.Predict(cur, prev, mask, p, a); }), line) << c.what;
        EXPECT_EQ(Six(a), Six(want)) << c.what;
    }
}

// The plain loops: column by column, each candidate's position rounded per pixel.
static void PredictRef(YUVImage& cur, YUVImage& prev, YUVImage& mask, double** p, double* a) {
    const int W = cur.Width(ormel::Y_COMP), H = cur.Height(ormel::Y_COMP);
    double cand[4][6] = {{0, 1, 0, 0, 0, 1}};
    for (int i = 0; i < 6; ++i) {
        cand[1][i] = p[4][i];
        cand[2][i] = 2 * p[4][i] - p[3][i];
        cand[3][i] = (p[0][i] + p[1][i] + p[2][i] + p[3][i] + p[4][i]) / 5.0;
    }
    auto score = [&](int x, int y, int xp, int yp) {
        return xp < 0 || xp >= W || yp < 0 || yp >= H || mask.Y(xp, yp) ? 0
                                                                          : std::abs(prev.Y(xp, yp) - cur.Y(x, y));
    };
    int sa[4] = {};
    for (int x = 0; x < W; ++x)
        for (int y = 0; y < H; ++y)
            for (int k = 0; k < 4; ++k)
                sa[k] += score(x, y, x + CoRound(cand[k][0] / 4.0), y + CoRound(cand[k][3] / 4.0));
    int best = CoMin(sa, 4);
    a[0] = CoRound(cand[best][0] / 4.0);
    a[3] = CoRound(cand[best][3] / 4.0);
    int sb[4] = {};
    for (int x = 0; x < W; ++x)
        for (int y = 0; y < H; ++y) {
            sb[0] += score(x, y, CoRound(x + a[0]), CoRound(y + a[3]));
            for (int k = 1; k < 4; ++k)
                sb[k] += score(x, y, CoRound(a[0] + x * cand[k][1] + y * cand[k][2]),
                               CoRound(a[3] + x * cand[k][4] + y * cand[k][5]));
        }
    best = CoMin(sb, 4);
    for (int i : {1, 2, 4, 5})
        a[i] = cand[best][i];
}

TEST_F(Predict, RandomFramesMasksAndHistoriesAsThePlainLoops) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> shift(-12, 12), linear(-0.03, 0.03);
    for (int trial = 0; trial < 12; ++trial) {
        const int W = 37 + trial * 5, H = 29 + trial * 3;
        YUVImage cur(ormel::YUV420, W, H), prev(ormel::YUV420, W, H), mask(ormel::YUV420, W, H);
        FillRandom(prev, 100 + trial);
        Fill(cur, [&](int x, int y) { return prev.Y((x + 1) % W, (y + trial % 3) % H) ^ (trial & 7); });
        Fill(mask, [&](int, int) { return rng() % 5 == 0 ? 255 : 0; });
        double hist[5][6], a[6], want[6];
        double* p[5] = {hist[0], hist[1], hist[2], hist[3], hist[4]};
        for (auto& h : hist)
            for (int j = 0; j < 6; ++j)
                h[j] = j % 3 == 0 ? shift(rng) : (j == 1 || j == 5) + linear(rng);
        Printed([&] { est.Predict(cur, prev, mask, p, a); });
        PredictRef(cur, prev, mask, p, want);
        EXPECT_EQ(Six(a), Six(want)) << "trial " << trial;
    }
}

// One row of the linear-term score on every vector unit against the formula, on odd
// planes: translations with fractions at and around one half (rounding away from zero,
// positions just outside every edge), small rotations and zooms (positions that leave
// the group's row or spread), and positions that are not a number or too large for an
// int.
TEST(PredictionRowError, EveryUnitMatchesTheFormula) {
    std::mt19937 rng(8);
    for (const int size : {9, 23, 45}) {
        const int W = size + 2, H = size;
        std::vector<std::uint8_t> cur(W * H), prev(W * H), mask(W * H);
        for (int i = 0; i < W * H; ++i) {
            cur[i] = static_cast<std::uint8_t>(rng());
            prev[i] = static_cast<std::uint8_t>(rng());
            mask[i] = rng() % 7 == 0 ? 255 : 0;
        }
        const ormel::ConstPlaneView c{cur.data(), W, H, W}, p{prev.data(), W, H, W},
            m{mask.data(), W, H, W};
        const double translations[] = {-0.5, -0.49, 0.5, 2.5, -3.5, W - 1.5, -W + 0.5, 0.25};
        const double linears[][4] = {{1, 0, 0, 1}, {1.01, 0.02, -0.03, 0.98}, {2.2, 0, 0, 1},
                                     {1, 0.5, 0.4, 1}, {NAN, 0, 0, 1}, {1e12, 0, 0, -1e12}};
        for (double t : translations)
            for (auto& l : linears) {
                std::vector<double> colX(W), colY(W);
                for (int x = 0; x < W; ++x) {
                    colX[x] = t + x * l[0];
                    colY[x] = -t / 2 + x * l[2];
                }
                for (int y = 0; y < H; ++y) {
                    long long want = 0;
                    for (int x = 0; x < W; ++x) {
                        const int xp = CoRound(colX[x] + y * l[1]), yp = CoRound(colY[x] + y * l[3]);
                        if (xp >= 0 && xp < W && yp >= 0 && yp < H && !mask[yp * W + xp])
                            want += std::abs(prev[yp * W + xp] - cur[y * W + x]);
                    }
                    for (numeric::VectorUnit unit : numeric::AvailableVectorUnits())
                        ASSERT_EQ(estimation::PredictionRowError(c, p, m, y, colX.data(), colY.data(),
                                                                 y * l[1], y * l[3], unit),
                                  want)
                            << numeric::VectorUnitName(unit) << " " << W << "x" << H << " t " << t
                            << " row " << y;
                }
            }
    }
}
