// MotionModel: a global motion model as a plain vector of parameters `a`.
// The vector's length selects the model (x, y a pixel of the frame being produced,
// x', y' the position sampled in the reference frame):
//   2  translation  x' = x + a[0];                 y' = y + a[1]
//   6  affine       x' = a[0] + a[1]x + a[2]y;     y' = a[3] + a[4]x + a[5]y
//   8  perspective  the affine sums divided by (1 + a[6]x + a[7]y)
// The identity affine model is (0, 1, 0, 0, 0, 1). Models are values: copies are deep.
#ifndef MOTIONMODEL_H
#define MOTIONMODEL_H

#include <vector>

class MotionModel {
public:
    MotionModel() = default;
    MotionModel(const MotionModel& other) = default;
    MotionModel& operator=(const MotionModel& other) = default;

    std::vector<double> getParameterVector() const;      // a copy
    void setParameterVector(std::vector<double>& v);     // stores a copy, any length

protected:
    std::vector<double> a;
};

#endif
