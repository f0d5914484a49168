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
#include <memory>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "image/VidsFile.h"
#include "motion/AffineMotionModel.h"
#include "segmentation/BinImage.h"

namespace {

const int kDim = 6;
const int kMaxIteration = 20;          // increments per level at most
const double kMaxErrorChange = 0.35;   // relative change of the block count that rejects
const int kHistoryRead = 5;            // history vectors the prediction reads

using Pyramid = std::vector<std::unique_ptr<ormel::YUVImage>>;

// Levels of W x H, W/2 x H/2, ... (integer halves at each step), in the source's format.
Pyramid NewPyramid(int levels, ormel::ChromaFormat format, int W, int H) {
    Pyramid p;
    for (int l = 0; l < levels; ++l) {
        p.push_back(std::make_unique<ormel::YUVImage>(format, W, H));
        W /= 2;
        H /= 2;
    }
    return p;
}

// Copies W x H luminance samples from a plane of row stride srcWidth into level 0.
void LoadLevel0(ormel::YUVImage& level0, const unsigned char* src, int srcWidth) {
    const int W = level0.Width(ormel::Y_COMP), H = level0.Height(ormel::Y_COMP);
    unsigned char* dst = level0.GetArray(ormel::Y_COMP);
    for (int y = 0; y < H; ++y)
        std::memcpy(dst + static_cast<long>(y) * W, src + static_cast<long>(y) * srcWidth,
                    static_cast<size_t>(W));
}

void LoadLevel0(ormel::YUVImage& level0, ormel::YUVImage& src) {
    LoadLevel0(level0, src.GetArray(ormel::Y_COMP), src.Width(ormel::Y_COMP));
}

void LoadLevel0(ormel::YUVImage& level0, BinImage& mask) {
    const int W = level0.Width(ormel::Y_COMP), H = level0.Height(ormel::Y_COMP);
    if (mask.Width() == W && mask.Height() == H) {
        LoadLevel0(level0, mask.GetArray(ormel::Y_COMP), W);
        return;
    }
    // A mask of another size: sample by sample, with the mask's own bounds messages.
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x)
            level0.GetArray(ormel::Y_COMP)[static_cast<long>(y) * W + x] = mask.GetPixel(x, y);
}

// A pyramid of `source`: level 0 its luminance, each further level the low-passed and
// decimated level before it (filter(finer, coarser)).
template <class Source, class Filter>
Pyramid BuildPyramid(int levels, ormel::ChromaFormat format, int W, int H, Source& source,
                     Filter filter) {
    Pyramid p = NewPyramid(levels, format, W, H);
    LoadLevel0(*p[0], source);
    for (int l = 1; l < levels; ++l)
        filter(*p[l - 1], *p[l]);
    return p;
}

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

}  // namespace

void BinGlobalMotionEstimator::UpdateParameters(double* a) {
    std::vector<double> v(a, a + AffineMotionModel::ParameterCount);
    model.setParameterVector(v);
}

void BinGlobalMotionEstimator::EstimateFirst(ormel::YUVImage& current, ormel::YUVImage& previous,
                                             BinImage& binImage, int* err) {
    const int levels = level < 1 ? 1 : level;
    const ormel::ChromaFormat format = ScratchFormat();
    const int W = current.Width(ormel::Y_COMP), H = current.Height(ormel::Y_COMP);
    auto gauss = [this](ormel::YUVImage& in, ormel::YUVImage& out) { GaussFilter(in, out); };
    Pyramid curr = BuildPyramid(levels, format, W, H, current, gauss);
    Pyramid prev = BuildPyramid(levels, format, W, H, previous, gauss);

    double a[kDim] = {0, 1, 0, 0, 0, 1};
    InitialEstimate(*curr[levels - 1], *prev[levels - 1], &a[0], &a[3]);
    int thresh = 0;
    Refine(levels, er1, er2, a, [&](int l, bool first, double* da) {
        // The outlier threshold is taken once per level, from |prev - warped curr|: the
        // images go in the reverse order of the increment's.
        if (first)
            CalOutlier(*prev[l], *curr[l], a, &thresh);
        MotionAadapt(*curr[l], *prev[l], thresh, a, da);
    });
    PrintFinal(log, a);

    accepted = true;
    UpdateParameters(a);
    previousParameters.push_back(model.getParameterVector());
    int blockErr = *err;
    Binary(current, previous, a, binImage, &blockErr);
    *err = blockErr;
}

void BinGlobalMotionEstimator::Estimate(ormel::YUVImage& current, ormel::YUVImage& previous,
                                        BinImage& binaryObject, int* err) {
    const int levels = level < 1 ? 1 : level;
    const ormel::ChromaFormat format = ScratchFormat();
    const int W = current.Width(ormel::Y_COMP), H = current.Height(ormel::Y_COMP);
    auto gauss = [this](ormel::YUVImage& in, ormel::YUVImage& out) { GaussFilter(in, out); };
    Pyramid curr = BuildPyramid(levels, format, W, H, current, gauss);
    Pyramid prev = BuildPyramid(levels, format, W, H, previous, gauss);
    // The mask is low-passed like an image: at coarse levels any trace of an object is a
    // non-zero grey value.
    Pyramid prevOb = BuildPyramid(levels, format, W, H, binaryObject, gauss);

    double a[kDim] = {0, 1, 0, 0, 0, 1};
    const int historySize = static_cast<int>(previousParameters.size());
    if (historySize < previousParametersCount) {
        InitialEstimate(*curr[levels - 1], *prev[levels - 1], &a[0], &a[3]);
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
        Predict(*curr[levels - 1], *prev[levels - 1], *prevOb[levels - 1], p.data(), a);
    }
    Refine(levels, er1, er2, a, [&](int l, bool, double* da) {
        MotionAadapt(*curr[l], *prev[l], *prevOb[l], a, da);
    });
    PrintFinal(log, a);

    // Validation: a large relative change of the object-block count rejects the estimate.
    // preErr = 0 gives NaN (accepted) when the count stays 0, infinity (rejected) otherwise.
    BinImage preObject(binaryObject);
    const int preErr = *err;
    int newErr = preErr;
    Binary(current, previous, a, binaryObject, &newErr);
    const double diffErr =
        static_cast<double>(std::abs(newErr - preErr)) / static_cast<double>(preErr);
    if (diffErr > kMaxErrorChange) {
        binaryObject = preObject;
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
