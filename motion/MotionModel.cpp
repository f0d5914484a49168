// MotionModel, AffineMotionModel and the empty roots of the estimator and compensator families.
#include "motion/AffineMotionModel.h"
#include "motion/GlobalMotionEstimator.h"
#include "motion/MotionCompensator.h"
#include "motion/MotionEstimator.h"
#include "motion/MotionModel.h"

std::vector<double> MotionModel::getParameterVector() const { return a; }

void MotionModel::setParameterVector(std::vector<double>& v) { a = v; }

const int AffineMotionModel::ParameterCount = 6;
const std::string AffineMotionModel::ModelName = "Affine";

AffineMotionModel::~AffineMotionModel() {}

int AffineMotionModel::getParameterCount() const { return ParameterCount; }

std::string AffineMotionModel::getModelName() const { return ModelName; }

double AffineMotionModel::getX_(double x, double y) const {
    if (a.size() < 6)
        return x;
    return a[0] + a[1] * x + a[2] * y;   // left to right, as the compensator sums
}

double AffineMotionModel::getY_(double x, double y) const {
    if (a.size() < 6)
        return y;
    return a[3] + a[4] * x + a[5] * y;
}

MotionEstimator::~MotionEstimator() {}

MotionCompensator::~MotionCompensator() {}

GlobalMotionEstimator::GlobalMotionEstimator(MotionModel& m) : model(m) {}

GlobalMotionEstimator::~GlobalMotionEstimator() {}

MotionModel GlobalMotionEstimator::GetModel() const { return model; }
