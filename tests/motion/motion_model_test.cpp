// Motion models are values: every hand-over is an independent copy.
#include <gtest/gtest.h>

#include <vector>

#include "motion/AffineMotionModel.h"
#include "motion/GlobalMotionEstimator.h"
#include "motion/MotionModel.h"

TEST(MotionModel, ParametersAreCopiedInAndOut) {
    MotionModel m;
    EXPECT_TRUE(m.getParameterVector().empty());
    std::vector<double> v = {1.5, 2.5};
    m.setParameterVector(v);
    v[0] = 99;
    EXPECT_EQ(m.getParameterVector(), (std::vector<double>{1.5, 2.5}));
    std::vector<double> out = m.getParameterVector();
    out[1] = -1;
    EXPECT_EQ(m.getParameterVector()[1], 2.5);
}

TEST(MotionModel, EstimatorHandsOutIndependentCopies) {
    std::vector<double> id = {0, 1, 0, 0, 0, 1};
    MotionModel m;
    m.setParameterVector(id);
    GlobalMotionEstimator est(m);
    MotionModel copy = est.GetModel();
    std::vector<double> moved = {3, 1, 0, 4, 0, 1};
    est.model.setParameterVector(moved);
    EXPECT_EQ(copy.getParameterVector(), id);
    EXPECT_EQ(est.GetModel().getParameterVector(), moved);
}

TEST(AffineMotionModel, ClassConstantsAndMapping) {
    EXPECT_EQ(AffineMotionModel::ParameterCount, 6);
    EXPECT_EQ(AffineMotionModel::ModelName, "Affine");
    AffineMotionModel m;
    EXPECT_EQ(m.getParameterCount(), 6);
    EXPECT_EQ(m.getModelName(), "Affine");
    EXPECT_EQ(m.getX_(3, 4), 3);   // unsized: the point itself
    std::vector<double> a = {2, 0.5, 0.25, -1, 0.125, 2};
    m.setParameterVector(a);
    EXPECT_DOUBLE_EQ(m.getX_(4, 8), 2 + 0.5 * 4 + 0.25 * 8);
    EXPECT_DOUBLE_EQ(m.getY_(4, 8), -1 + 0.125 * 4 + 2 * 8);
    MotionModel& base = m;   // an affine model travels as a plain MotionModel
    MotionModel plain = base;
    EXPECT_EQ(plain.getParameterVector(), a);
}
