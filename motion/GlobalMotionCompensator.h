// GlobalMotionCompensator: warps the luminance of the previous frame with a global model
// so that it lines up with the current frame: comp(x, y) = previous(x', y'), bilinear,
// truncated toward zero, clamped at 255, and 0 where (x', y') has no four neighbours.
// The model's length selects the warp (2, 6 or 8); any other length writes nothing.
// Only the luminance plane of compImage is written; loops run over previous's size.
#ifndef GLOBALMOTIONCOMPENSATOR_H
#define GLOBALMOTIONCOMPENSATOR_H

#include "image/YUVImage.h"
#include "motion/AffineWarp.h"
#include "motion/MotionCompensator.h"
#include "motion/MotionModel.h"

class GlobalMotionCompensator : public MotionCompensator {
public:
    explicit GlobalMotionCompensator(MotionModel& m);
    GlobalMotionCompensator(const GlobalMotionCompensator&) = default;
    GlobalMotionCompensator& operator=(const GlobalMotionCompensator&) = default;
    virtual ~GlobalMotionCompensator();

    void SetModel(MotionModel& m);

    // Warps previous into compImage; returns 0.
    int Compensate(ormel::YUVImage& previous, ormel::YUVImage& compImage);
    // The same warp; for the affine model also the mean absolute error against current
    // over the written pixels in the outer band selected by th percent (100: all of them).
    // NaN when no pixel counts; 0.0 for the other models.
    double CompensateWithMAE(ormel::YUVImage& previous, ormel::YUVImage& current,
                             ormel::YUVImage& compImage, int th);

protected:
    MotionModel model;

private:
    double Warp(ormel::YUVImage& previous, ormel::YUVImage* current,
                ormel::YUVImage& compImage, int th);

    motion::WarpScratch scratch;   // position terms, reused from warp to warp
};

#endif
