// MotionEstimator: root of the estimator family. Concrete estimators provide their own
// criteria and optimisers under their own names; the two hooks here do nothing.
#ifndef MOTIONESTIMATOR_H
#define MOTIONESTIMATOR_H

class MotionEstimator {
public:
    MotionEstimator() = default;
    MotionEstimator(const MotionEstimator&) = default;
    MotionEstimator& operator=(const MotionEstimator&) = default;
    virtual ~MotionEstimator();

    void CriterionFunction() {}
    void OptimizationMethod() {}
};

#endif
