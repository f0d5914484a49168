// BinGlobalMotionEstimator: the start vector from the history of accepted parameters.
#include <cstdio>
#include <cstdlib>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/LumaPlane.h"
#include "numeric/numeric.h"

using estimation::LumaPlane;

namespace {

constexpr int kCandidates = 4;   // zero, past, acceleration, average: ties go to the earlier

}  // namespace

void BinGlobalMotionEstimator::Predict(ormel::YUVImage& current, ormel::YUVImage& previous,
                                       ormel::YUVImage& binObject, double** p, double* a) {
    const LumaPlane cur(current);
    const LumaPlane prev(previous);
    const LumaPlane mask(binObject);
    const int W = cur.width;
    const int H = cur.height;
    if (!prev.Covers(W, H, "Predict", "previous") || !mask.Covers(W, H, "Predict", "binObject"))
        return;

    // The history holds five vectors: the indices 3, 4 and the divisor 5.0 follow from it.
    double cand[kCandidates][6] = {{0, 1, 0, 0, 0, 1}};
    for (int i = 0; i < 6; ++i) {
        cand[1][i] = p[4][i];
        cand[2][i] = 2 * p[4][i] - p[3][i];
        cand[3][i] = (p[0][i] + p[1][i] + p[2][i] + p[3][i] + p[4][i]) / 5.0;
    }

    // Translation stage on the coarsest level (a quarter of the full resolution).
    int dx[kCandidates];
    int dy[kCandidates];
    int err[kCandidates] = {};
    int saerr[kCandidates] = {};
    for (int k = 0; k < kCandidates; ++k) {
        dx[k] = CoRound(cand[k][0] / 4.0);
        dy[k] = CoRound(cand[k][3] / 4.0);
    }
    for (int x = 0; x < W; ++x)
        for (int y = 0; y < H; ++y)
            for (int k = 0; k < kCandidates; ++k) {
                const int xp = x + dx[k];
                const int yp = y + dy[k];
                if (xp < 0 || xp >= W || yp < 0 || yp >= H || mask.Row(yp)[xp] != 0)
                    continue;
                err[k] = prev.Row(yp)[xp] - cur.Row(y)[x];
                saerr[k] += std::abs(err[k]);
            }
    int best = CoMin(saerr, kCandidates);
    a[0] = dx[best];
    a[3] = dy[best];
    if (log)
        std::fprintf(log, "Initial Conditions: a[0] = %f, a[3] = %f \n", a[0], a[3]);

    // Linear-term stage: each candidate's linear part with the chosen translation, at
    // positions rounded to whole pixels.
    for (int k = 0; k < kCandidates; ++k)
        saerr[k] = 0;
    for (int x = 0; x < W; ++x)
        for (int y = 0; y < H; ++y) {
            int xs[kCandidates];
            int ys[kCandidates];
            xs[0] = CoRound(x + a[0]);
            ys[0] = CoRound(y + a[3]);
            for (int k = 1; k < kCandidates; ++k) {
                xs[k] = CoRound(a[0] + x * cand[k][1] + y * cand[k][2]);
                ys[k] = CoRound(a[3] + x * cand[k][4] + y * cand[k][5]);
            }
            for (int k = 0; k < kCandidates; ++k) {
                const int xp = xs[k];
                const int yp = ys[k];
                if (xp < 0 || xp >= W || yp < 0 || yp >= H || mask.Row(yp)[xp] != 0)
                    continue;
                saerr[k] += std::abs(prev.Row(yp)[xp] - cur.Row(y)[x]);
            }
        }
    best = CoMin(saerr, kCandidates);
    a[1] = cand[best][1];
    a[2] = cand[best][2];
    a[4] = cand[best][4];
    a[5] = cand[best][5];
}
