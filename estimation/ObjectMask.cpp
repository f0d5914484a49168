// BinGlobalMotionEstimator: the object mask. Binary finds the pixels that do not follow
// the global motion (noise-adaptive difference of current and the compensated previous
// frame, binarized with an adaptive threshold); MakeBlock turns them into 8 x 8 object
// blocks (255) on a background of 0 and counts the object blocks.
#include <cstdlib>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "image/VidsFile.h"
#include "numeric/numeric.h"
#include "segmentation/BinImage.h"
#include "segmentation/Binarization.h"
#include "segmentation/TolvarMotionDetection.h"
#include "segmentation/TolvarThrshold.h"

namespace {

// Detector and thresholder settings of the mask.
const long kWindowSize = 5;
const unsigned int kClipLevel = 42;
const unsigned int kGain = 6;
const unsigned int kLowBound = 80;
const unsigned int kMiddleBound = 120;
const unsigned int kHighBound = 200;

const int kBlock = 8;
const int kMarked = -1;
// The block threshold is the sum at index trunc(blocks * 0.67) of the sorted sums, with
// the factor one unit below the double nearest 0.67 (bits 0x3FE570A3D70A3D70): the index
// is truncated, so the last bit matters.
const double kBlockQuantile = 0.6699999999999999;

}  // namespace

void BinGlobalMotionEstimator::Binary(ormel::YUVImage& current, ormel::YUVImage& previous,
                                      double* a, BinImage& binImage, int* err) {
    BinImage tempImage(binImage);
    // Scratch frames shaped like the source sequence, or like current without a file.
    auto scratch = [&]() {
        return srcVFile ? ormel::YUVImage(*srcVFile)
                        : ormel::YUVImage(chromaFormat, current.Width(ormel::Y_COMP),
                                          current.Height(ormel::Y_COMP));
    };
    ormel::YUVImage compImage = scratch();
    Compensate(previous, a, compImage);
    ormel::YUVImage diffImage = scratch();
    ormel::YUVImage maxImage = scratch();

    TolvarMotionDetection detector(current, kWindowSize, kClipLevel, kGain, ormel::quiet);
    if (detector.GetBlackLevel() != blackLevel) {
        // The result buffer starts at the black level: refill it at this estimator's. The
        // reference goes too, but the three-image averager below replaces it anyway.
        detector.SetBlackLevel(blackLevel);
        detector.BuffAlloc(current.Width(ormel::Y_COMP) * current.Height(ormel::Y_COMP));
    }
    TolvarThrshold thresholder(diffImage, ormel::quiet);
    thresholder.SetMotionWeight(motionWeight);
    Binarization binarizer(tempImage, ormel::quiet);

    detector.AbsoluteDifferenceAverager(current, compImage, diffImage);
    detector.MaxFilter(diffImage, maxImage);
    unsigned char thresh = thresholder.TolvarThresholder(maxImage);
    // The adaptive threshold replaces the regional one; both calls are made, in order.
    float TolvarStandardDeviation = 1.0;
    thresh = thresholder.TolvarAdaptiveThresholder(TolvarStandardDeviation, kLowBound,
                                                   kMiddleBound, kHighBound);
    binarizer.Binarizer(maxImage, tempImage, thresh);

    int blockErr = *err;
    MakeBlock(tempImage, binImage, &blockErr);
    *err = blockErr;
}

void BinGlobalMotionEstimator::MakeBlock(BinImage& binImage, BinImage& blockImage, int* err) {
    const int W = binImage.Width();
    const int H = binImage.Height();
    const int wx = W / kBlock;
    const int wy = H / kBlock;
    const int blocks = wx * wy;
    if (blocks <= 0) {
        *err = 0;
        return;
    }

    // Block sums, row of blocks after row of blocks.
    std::vector<int> sum(static_cast<size_t>(blocks), 0);
    const unsigned char* pixels = binImage.GetArray(ormel::Y_COMP);
    for (int y = 0; y < wy * kBlock; ++y) {
        const unsigned char* row = pixels + static_cast<long>(y) * W;
        int* s = &sum[static_cast<size_t>(y / kBlock) * wx];
        for (int i = 0; i < wx; ++i)
            for (int c = 0; c < kBlock; ++c)
                s[i] += row[i * kBlock + c];
    }
    auto at = [&](int j, int i) -> int& { return sum[static_cast<size_t>(j) * wx + i]; };

    std::vector<int> indx(sum);
    std::qsort(indx.data(), indx.size(), sizeof(int), compare);
    const int thresh = indx[static_cast<size_t>(wy * (wx * kBlockQuantile))];

    // Interior blocks with more than four of their 3 x 3 neighbourhood above the
    // threshold. Marks are written in place, so a block marked earlier in the scan no
    // longer counts as above the threshold for the blocks after it.
    for (int j = 1; j < wy - 1; ++j)
        for (int i = 1; i < wx - 1; ++i) {
            if (at(j, i) <= thresh)
                continue;
            int count = 0;
            for (int dj = -1; dj <= 1; ++dj)
                for (int di = -1; di <= 1; ++di)
                    count += at(j + dj, i + di) > thresh;
            if (count > 4)
                at(j, i) = kMarked;
        }
    // Interior blocks above the threshold next to a marked block; marks spread in scan order.
    for (int j = 1; j < wy - 1; ++j)
        for (int i = 1; i < wx - 1; ++i) {
            if (at(j, i) == kMarked || at(j, i) <= thresh)
                continue;
            bool touches = false;
            for (int dj = -1; dj <= 1; ++dj)
                for (int di = -1; di <= 1; ++di)
                    touches = touches || ((dj != 0 || di != 0) && at(j + dj, i + di) == kMarked);
            if (touches)
                at(j, i) = kMarked;
        }
    // Border blocks above the threshold, without a neighbourhood test.
    for (int j = 0; j < wy; ++j)
        for (int i = 0; i < wx; ++i)
            if ((i == 0 || j == 0 || i == wx - 1 || j == wy - 1) && at(j, i) > thresh)
                at(j, i) = kMarked;

    // Paint whole blocks; pixels beyond the last whole block keep their values.
    int marked = 0;
    for (int j = 0; j < wy; ++j)
        for (int i = 0; i < wx; ++i) {
            const bool object = at(j, i) == kMarked;
            marked += object;
            const unsigned char value = object ? 255 : 0;
            for (int r = 0; r < kBlock; ++r)
                for (int c = 0; c < kBlock; ++c)
                    blockImage.SetPixel(i * kBlock + c, j * kBlock + r, value);
        }
    *err = marked;
}
