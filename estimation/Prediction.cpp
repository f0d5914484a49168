// BinGlobalMotionEstimator: the start vector from the history of accepted parameters.
#include <cstdio>
#include <cstdlib>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/PlaneCheck.h"
#include "estimation/PredictionError.h"
#include "image/PlaneView.h"
#include "numeric/VectorUnit.h"
#include "numeric/numeric.h"

using estimation::Covers;

namespace {

constexpr int kCandidates = 4;   // zero, past, acceleration, average: ties go to the earlier

// Index of the smallest of err[0 .. kCandidates - 1], the first one on ties.
int FirstMinimum(const long long* err) {
    int best = 0;
    for (int k = 1; k < kCandidates; ++k)
        if (err[k] < err[best])
            best = k;
    return best;
}

}  // namespace

void BinGlobalMotionEstimator::Predict(ormel::YUVImage& current, ormel::YUVImage& previous,
                                       ormel::YUVImage& binObject, double** p, double* a) {
    const ormel::PlaneView cur = ormel::LumaView(current);
    const ormel::PlaneView prev = ormel::LumaView(previous);
    const ormel::PlaneView mask = ormel::LumaView(binObject);
    const int W = cur.width;
    const int H = cur.height;
    if (!Covers(prev, W, H, "Predict", "previous") || !Covers(mask, W, H, "Predict", "binObject"))
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
    long long saerr[kCandidates] = {};
    for (int k = 0; k < kCandidates; ++k) {
        dx[k] = CoRound(cand[k][0] / 4.0);
        dy[k] = CoRound(cand[k][3] / 4.0);
    }
    // Row by row: the sums are of integers. Per candidate, the rows and columns whose
    // shifted position stays inside.
    for (int k = 0; k < kCandidates; ++k) {
        const int x0 = dx[k] < 0 ? -dx[k] : 0;
        const int x1 = dx[k] > 0 ? W - dx[k] : W;
        const int y0 = dy[k] < 0 ? -dy[k] : 0;
        const int y1 = dy[k] > 0 ? H - dy[k] : H;
        for (int y = y0; y < y1; ++y)
            saerr[k] += estimation::MaskedRowError(cur.Row(y) + x0, prev.Row(y + dy[k]) + dx[k] + x0,
                                                   mask.Row(y + dy[k]) + dx[k] + x0, x1 - x0);
    }
    int best = FirstMinimum(saerr);
    a[0] = dx[best];
    a[3] = dy[best];
    if (log)
        std::fprintf(log, "Initial Conditions: a[0] = %f, a[3] = %f \n", a[0], a[3]);

    // Linear-term stage: each candidate's linear part with the chosen translation, at
    // positions rounded to whole pixels: CoRound(x + a[0]) for the first, and
    // CoRound((a[0] + x c1) + y c2), the column term and the row term added in that
    // order, for the others.
    estimation::Workspace& w = scratch;
    const size_t n = static_cast<size_t>(W);
    w.predictColumns.resize(2 * n * kCandidates);
    double* colX = w.predictColumns.data();   // candidate k: colX[k * n + x]
    double* colY = colX + kCandidates * n;
    for (int k = 1; k < kCandidates; ++k)
        for (int x = 0; x < W; ++x) {
            colX[k * n + x] = a[0] + x * cand[k][1];
            colY[k * n + x] = a[3] + x * cand[k][4];
        }
    // The first candidate moves every pixel by the whole translation (a[0], a[3]): its
    // score is the one the translation stage gave that translation.
    saerr[0] = saerr[best];
    const numeric::VectorUnit unit = numeric::BestVectorUnit();
    for (int k = 1; k < kCandidates; ++k) {
        saerr[k] = 0;
        for (int y = 0; y < H; ++y)
            saerr[k] += estimation::PredictionRowError(
                ormel::ConstView(cur), ormel::ConstView(prev), ormel::ConstView(mask), y,
                colX + k * n, colY + k * n, y * cand[k][2], y * cand[k][5], unit);
    }
    best = FirstMinimum(saerr);
    a[1] = cand[best][1];
    a[2] = cand[best][2];
    a[4] = cand[best][4];
    a[5] = cand[best][5];
}
