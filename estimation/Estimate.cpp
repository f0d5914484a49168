// BinGlobalMotionEstimator: the two estimation drivers. Both build a low-pass pyramid,
// start at the coarsest level and refine the parameters by Gauss-Newton increments from
// coarse to fine, doubling the translations between levels, then rebuild the object mask.
// EstimateFirst (first pair) always accepts its result; Estimate validates it by the
// change of the object-block count and keeps the previous model when the change is large.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/FramePyramid.h"
#include "image/VidsFile.h"
#include "motion/AffineMotionModel.h"
#include "segmentation/BinImage.h"

namespace {

const int kDim = 6;
const int kMaxIteration = 20;          // increments per level at most
const double kMaxErrorChange = 0.35;   // relative change of the block count that rejects
const int kHistoryRead = 5;            // history vectors the prediction reads

bool Converged(const double* da, double er1, double er2) {
    return std::fabs(da[0]) <= er1 && std::fabs(da[1]) <= er2 && std::fabs(da[2]) <= er2 &&
           std::fabs(da[3]) <= er1 && std::fabs(da[4]) <= er2 && std::fabs(da[5]) <= er2;
}

// Coarse-to-fine refinement: at each level from the coarsest, at most kMaxIteration
// increments da = increment(level, first) are added to a, until all six are within the
// bounds; between levels the translations double and the linear terms stay.
template <class Increment>
void Refine(int levels, double er1, double er2, double* a, Increment increment) {
    double da[kDim] = {0, 0, 0, 0, 0, 0};
    for (int l = levels - 1; l >= 0; --l) {
        for (int iter = kMaxIteration;;) {
            increment(l, iter == kMaxIteration, da);
            for (int i = 0; i < kDim; ++i)
                a[i] = a[i] + da[i];
            if (--iter < 1 || Converged(da, er1, er2))
                break;
        }
        if (l > 0) {
            a[0] = 2 * a[0];
            a[3] = 2 * a[3];
        }
    }
}

void PrintFinal(std::FILE* log, const double* a) {
    if (log)
        std::fprintf(log, "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): %f %f %f %f %f %f \n",
                     a[0], a[1], a[2], a[3], a[4], a[5]);
}

// The pyramids of both frames: the previous frame's is the current one of the call
// before when the caller promised so and it has the same geometry.
void BuildFramePyramids(estimation::Workspace& w, ormel::YUVImage& current,
                        ormel::YUVImage& previous, int levels) {
    const int W = current.Width(ormel::Y_COMP), H = current.Height(ormel::Y_COMP);
    const bool reuse = w.previousIsLastCurrent && w.current.Holds(W, H, levels) &&
                       previous.Width(ormel::Y_COMP) == W && previous.Height(ormel::Y_COMP) == H;
    w.previousIsLastCurrent = false;
    if (reuse) {
        std::swap(w.previous, w.current);
        w.previous.Rebase(previous);
    } else {
        w.previous.Build(previous, levels);
    }
    w.current.Build(current, levels);
}

// Ends a ShareCompensation request with the driver call that served it.
struct ShareEnds {
    estimation::Workspace& w;
    ~ShareEnds() { w.shared.previous = nullptr; }
};

}  // namespace

void BinGlobalMotionEstimator::PreviousIsLastCurrent() { scratch.previousIsLastCurrent = true; }

void BinGlobalMotionEstimator::UpdateParameters(double* a) {
    std::vector<double> v(a, a + AffineMotionModel::ParameterCount);
    model.setParameterVector(v);
}

void BinGlobalMotionEstimator::EstimateFirst(ormel::YUVImage& current, ormel::YUVImage& previous,
                                             BinImage& binImage, int* err) {
    const ShareEnds ends{scratch};
    const int levels = level < 1 ? 1 : level;
    estimation::FramePyramid& curr = scratch.current;
    estimation::FramePyramid& prev = scratch.previous;
    BuildFramePyramids(scratch, current, previous, levels);

    double a[kDim] = {0, 1, 0, 0, 0, 1};
    InitialEstimate(curr.Level(levels - 1), prev.Level(levels - 1), &a[0], &a[3]);
    int thresh = 0;
    Refine(levels, er1, er2, a, [&](int l, bool first, double* da) {
        // The outlier threshold is taken once per level, from |prev - warped curr|: the
        // images go in the reverse order of the increment's.
        if (first)
            CalOutlier(prev.Level(l), curr.Level(l), a, &thresh);
        MotionAadapt(curr.Level(l), prev.Level(l), thresh, a, da);
    });
    PrintFinal(log, a);
    // The threshold form serves the first pair only: its plane goes.
    std::vector<std::uint8_t>().swap(scratch.compensated);

    accepted = true;
    UpdateParameters(a);
    previousParameters.push_back(model.getParameterVector());
    int blockErr = *err;
    Binary(current, previous, a, binImage, &blockErr);
    *err = blockErr;
}

void BinGlobalMotionEstimator::Estimate(ormel::YUVImage& current, ormel::YUVImage& previous,
                                        BinImage& binaryObject, int* err) {
    const ShareEnds ends{scratch};
    const int levels = level < 1 ? 1 : level;
    const int W = current.Width(ormel::Y_COMP), H = current.Height(ormel::Y_COMP);
    estimation::FramePyramid& curr = scratch.current;
    estimation::FramePyramid& prev = scratch.previous;
    estimation::FramePyramid& prevOb = scratch.mask;
    BuildFramePyramids(scratch, current, previous, levels);
    // The mask is low-passed like an image: at coarse levels any trace of an object is a
    // non-zero grey value.
    prevOb.BuildCopy(binaryObject, W, H, levels);

    double a[kDim] = {0, 1, 0, 0, 0, 1};
    const int historySize = static_cast<int>(previousParameters.size());
    if (historySize < previousParametersCount) {
        InitialEstimate(curr.Level(levels - 1), prev.Level(levels - 1), &a[0], &a[3]);
    } else {
        // The history, oldest first; the prediction reads five vectors.
        const int rows = historySize > kHistoryRead ? historySize : kHistoryRead;
        std::vector<std::vector<double>> history(static_cast<size_t>(rows),
                                                 std::vector<double>(kDim, 0.0));
        std::vector<double*> p(static_cast<size_t>(rows));
        for (int i = 0; i < rows; ++i) {
            for (int j = 0; j < kDim && i < historySize; ++j)
                history[i][j] = j < static_cast<int>(previousParameters[i].size())
                                    ? previousParameters[i][j] : 0.0;
            p[i] = history[i].data();
        }
        Predict(curr.Level(levels - 1), prev.Level(levels - 1), prevOb.Level(levels - 1), p.data(), a);
    }
    Refine(levels, er1, er2, a, [&](int l, bool, double* da) {
        MotionAadapt(curr.Level(l), prev.Level(l), prevOb.Level(l), a, da);
    });
    PrintFinal(log, a);

    // Validation: a large relative change of the object-block count rejects the estimate.
    // preErr = 0 gives NaN (accepted) when the count stays 0, infinity (rejected) otherwise.
    const int preErr = *err;
    int newErr = preErr;
    Binary(current, previous, a, binaryObject, &newErr);
    const double diffErr =
        static_cast<double>(std::abs(newErr - preErr)) / static_cast<double>(preErr);
    if (diffErr > kMaxErrorChange) {
        // Only Binary wrote the mask, and only when it has the frame's size: level 0 of
        // the mask's pyramid holds it as it was.
        if (binaryObject.Width() == W && binaryObject.Height() == H)
            std::memcpy(binaryObject.GetArray(ormel::Y_COMP),
                        prevOb.Level(0).GetArray(ormel::Y_COMP),
                        static_cast<size_t>(W) * static_cast<size_t>(H));
        *err = static_cast<int>(0.7 * preErr + 0.3 * newErr);
        if (log) {
            std::fputs("Estimation failed for this frame!\n", log);
            std::fflush(log);
        }
        accepted = false;
        return;   // model and history keep the last accepted pair
    }
    accepted = true;
    *err = newErr;
    UpdateParameters(a);
    if (static_cast<int>(previousParameters.size()) >= previousParametersCount)
        previousParameters.pop_front();
    previousParameters.push_back(model.getParameterVector());
}
