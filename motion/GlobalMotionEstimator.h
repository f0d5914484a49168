// GlobalMotionEstimator: an estimator of one motion model for the whole frame.
// `model` holds the latest result; GetModel hands out an independent copy.
#ifndef GLOBALMOTIONESTIMATOR_H
#define GLOBALMOTIONESTIMATOR_H

#include "motion/MotionEstimator.h"
#include "motion/MotionModel.h"

class GlobalMotionEstimator : public MotionEstimator {
public:
    GlobalMotionEstimator() = default;
    explicit GlobalMotionEstimator(MotionModel& m);
    GlobalMotionEstimator(const GlobalMotionEstimator&) = default;
    GlobalMotionEstimator& operator=(const GlobalMotionEstimator&) = default;
    virtual ~GlobalMotionEstimator();

    MotionModel GetModel() const;

    MotionModel model;
};

#endif
