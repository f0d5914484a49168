// ObjectMaskScratch: the working memory of the estimator's object mask (Binary and
// MakeBlock), kept by the estimator between calls so that a frame pair allocates nothing
// once the frame size is known. Nothing in it carries over from one call to the next, so
// a copy of an estimator starts with empty scratch.
#ifndef ESTIMATION_OBJECTMASKSCRATCH_H
#define ESTIMATION_OBJECTMASKSCRATCH_H

#include <memory>
#include <vector>

#include "image/PlaneView.h"
#include "image/YUVImage.h"
#include "segmentation/PairHistogram.h"

class ObjectMaskScratch {
public:
    ObjectMaskScratch() = default;
    ObjectMaskScratch(const ObjectMaskScratch&) {}
    ObjectMaskScratch& operator=(const ObjectMaskScratch&) { return *this; }

    // Makes both planes w x h (w, h >= 1), allocating only when the size changes.
    void Fit(int w, int h) {
        if (compensated && w == width && h == height)
            return;
        compensated = std::make_unique<ormel::YUVImage>(ormel::YUV400, w, h);
        difference.assign(static_cast<size_t>(w) * static_cast<size_t>(h), 0);
        width = w;
        height = h;
    }

    // The previous frame warped (luminance only); Binary then overwrites it with the window
    // maxima, two rows behind the difference that reads it.
    ormel::YUVImage& Compensated() { return *compensated; }
    // The windowed mean absolute difference.
    ormel::PlaneView Difference() {
        return ormel::PlaneView{difference.data(), width, height, width};
    }

    std::vector<int> blockSums;                // of a binary picture, row of blocks after row
    std::vector<unsigned char> blockMarks;     // the state of each block while it is marked
    segmentation::PairHistogram regionPairs;   // the region histograms of the maxima

private:
    std::unique_ptr<ormel::YUVImage> compensated;
    std::vector<unsigned char> difference;
    int width = 0;
    int height = 0;
};

#endif
