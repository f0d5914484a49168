// BinGlobalMotionEstimator: affine global motion between two frames from their luminance,
// coarse to fine over a low-pass pyramid, with a binary object mask and a short history.
//
// Convention (everything here uses it): the parameters a[0..5] map a pixel (x, y) of the
// CURRENT frame, x the column and y the row, to the position
//     (a[0] + a[1] x + a[2] y,  a[3] + a[4] x + a[5] y)
// in the PREVIOUS frame, so current(x, y) ~ previous(that position), bilinear.
// The identity is (0, 1, 0, 0, 0, 1). All operations read and write the luminance plane
// only. Images passed together must agree in size (each operation states whose size
// drives its loops); an operation whose images do not fit says so on standard output and
// leaves its outputs alone, except that an increment da is then 0.
#ifndef BINGLOBALMOTIONESTIMATOR_H
#define BINGLOBALMOTIONESTIMATOR_H

#include <cstdio>
#include <deque>
#include <vector>

#include "estimation/ObjectMaskScratch.h"
#include "estimation/Workspace.h"
#include "image/YUVImage.h"
#include "motion/GlobalMotionEstimator.h"

namespace ormel {
class VidsFile;
}

class BinImage;

class BinGlobalMotionEstimator : public GlobalMotionEstimator {
public:
    // L pyramid levels (full resolution included), convergence bounds E1 on the
    // translation and E2 on the linear increments, outlier fraction P. SrcVFile is the
    // input sequence; it supplies the chroma format of scratch images and must outlive
    // the estimator.
    BinGlobalMotionEstimator(int L, double E1, double E2, double P, ormel::VidsFile& SrcVFile);
    // The same without a file: scratch images take `format` and the size of the frames
    // they serve. The format costs memory only; no result depends on it.
    BinGlobalMotionEstimator(int L, double E1, double E2, double P, ormel::ChromaFormat format);
    virtual ~BinGlobalMotionEstimator();

    // Drivers: leave the parameters of current against previous in `model`, update the
    // object mask and the error figure *err. EstimateFirst serves the first pair only.
    // `accepted` tells afterwards whether `model` took the new estimate (EstimateFirst
    // always does; Estimate keeps the last accepted model when the block count jumps).
    void EstimateFirst(ormel::YUVImage& current, ormel::YUVImage& previous, BinImage& binImage,
                       int* err);
    void Estimate(ormel::YUVImage& current, ormel::YUVImage& previous, BinImage& binaryObject,
                  int* err);
    // model's parameter vector becomes a[0..5].
    void UpdateParameters(double* a);

    // Start vector from the history p[0..4] (oldest first) at the coarsest level: the
    // translation and the linear terms each from the best of four candidates, ties to
    // the earlier one. Prints the chosen translation ("Initial Conditions: ...").
    void Predict(ormel::YUVImage& current, ormel::YUVImage& previous, ormel::YUVImage& binObject,
                 double** p, double* a);

    // [1 2 1]/4 low-pass keeping every second column (HorFilter) or row (VerFilter);
    // integer arithmetic, truncating. GaussFilter does both: output must hold at least
    // (W / 2) x (H / 2) of the input's W x H. All return 0.
    int GaussFilter(ormel::YUVImage& inputImage, ormel::YUVImage& outputImage);
    int HorFilter(ormel::YUVImage& inputImage, ormel::YUVImage& outputImage);
    int VerFilter(ormel::YUVImage& inputImage, ormel::YUVImage& outputImage);

    // Warps previous with a (or with `model`) into compImage over previous's size:
    // bilinear, truncated, clamped at 255, and 0 where the position has no four
    // neighbours (so the last row and column of an identity warp are black).
    void Compensate(ormel::YUVImage& previous, double* a, ormel::YUVImage& compImage);
    void Compensate(ormel::YUVImage& previous, ormel::YUVImage& compImage);
    // The same with `model`; returns the mean |comp - current| over the pixels that had
    // four neighbours (NaN when there is none).
    double Compensate(ormel::YUVImage& previous, ormel::YUVImage& current,
                      ormel::YUVImage& compImage);

    // diffImage = |currentImage - compImage| over currentImage's size.
    void Accuracy(ormel::YUVImage& currentImage, ormel::YUVImage& compImage,
                  ormel::YUVImage& diffImage);
    // Mean |compImage - current| over all of compImage's pixels.
    double CriterionFunctionMAE(ormel::YUVImage& current, ormel::YUVImage& compImage);
    // Sum of |current - predict| over current's size.
    int CriterionFunctionSAD(ormel::YUVImage& current, ormel::YUVImage& predict);
    // Mean absolute error over the central window that drops th percent at each side;
    // prints the two margins and the pixel count.
    double CriterionFunctionCMAE(ormel::YUVImage& current, ormel::YUVImage& compImage, int th);
    // *thresh = the value at index trunc(N (1 - percent)) of the ascending
    // |current - previous warped with a| over the N pixels of current.
    void CalOutlier(ormel::YUVImage& current, ormel::YUVImage& previous, double* a, int* thresh);

    // Object mask of current against previous warped with a, in 8 x 8 blocks.
    void Binary(ormel::YUVImage& current, ormel::YUVImage& previous, double* a,
                BinImage& binImage, int* err);
    void MakeBlock(BinImage& binImage, BinImage& blockImage, int* err);

    // Integer translation search at the coarsest level: three rounds of nine candidates,
    // steps 4, 2, 1; the result lies in [-7, 7] in both directions.
    void InitialEstimate(ormel::YUVImage& current, ormel::YUVImage& previous, double* dx,
                         double* dy);
    // One Gauss-Newton increment da of a. The threshold form uses a pixel (one-pixel
    // border excluded) when its compensated difference and more than 6 of its 3 x 3
    // neighbourhood are at most threshErr; the mask form uses a pixel when binObject is 0
    // at all four interpolation neighbours of its warped position.
    void MotionAadapt(ormel::YUVImage& current, ormel::YUVImage& previous, int threshErr,
                      double* a, double* da);
    void MotionAadapt(ormel::YUVImage& current, ormel::YUVImage& previous,
                      ormel::YUVImage& binObject, double* a, double* da);
    // da = the solution of M da = -b (M 6 x 6 row-major) by SVD; exactly zero singular
    // values are skipped, so M = 0 gives da = 0.
    void OptimizationMethodGradientDescent(double* M, double* b, double* da);

    int previousParametersCount;   // capacity of the history: 5
    bool verbose;
    int level;                     // pyramid levels, full resolution included
    double er1;                    // convergence bound on |da[0]|, |da[3]|
    double er2;                    // convergence bound on the linear increments
    double percent;                // outlier fraction for CalOutlier
    std::deque<std::vector<double>> previousParameters;   // accepted vectors, oldest first
    ormel::VidsFile* srcVFile;     // not owned; null when made from a chroma format
    ormel::ChromaFormat chromaFormat;   // of scratch images when there is no file
    bool accepted;                 // the last EstimateFirst or Estimate took its estimate
    // Where the estimate lines go ("| Final parameter ...", "Initial Conditions: ...",
    // "Estimation failed for this frame!"): standard output unless changed; null prints
    // nothing.
    std::FILE* log;
    // Settings of the object mask's motion detector and thresholder: the defaults
    // black_level and LW_weight when the estimator was made.
    int blackLevel;
    float motionWeight;
    ObjectMaskScratch maskScratch;   // working memory of Binary and MakeBlock

    // The chroma format of scratch images: the file's, or chromaFormat.
    ormel::ChromaFormat ScratchFormat() const;

    // Scratch of the estimator's own operations, reused from call to call.
    estimation::Workspace scratch;
};

#endif
