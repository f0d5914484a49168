// AffineMotionModel: the six-parameter model x' = a[0] + a[1]x + a[2]y,
// y' = a[3] + a[4]x + a[5]y. Default-constructed it holds no parameters; its user sizes it.
#ifndef AFFINEMOTIONMODEL_H
#define AFFINEMOTIONMODEL_H

#include <string>

#include "motion/MotionModel.h"

class AffineMotionModel : public MotionModel {
public:
    static const int ParameterCount;        // 6
    static const std::string ModelName;     // "Affine"

    AffineMotionModel() = default;
    AffineMotionModel(const AffineMotionModel& other) = default;
    AffineMotionModel& operator=(const AffineMotionModel& other) = default;
    virtual ~AffineMotionModel();

    int getParameterCount() const;
    std::string getModelName() const;
    // Mapped position of (x, y); the point itself while the model holds fewer than six values.
    double getX_(double x, double y) const;
    double getY_(double x, double y) const;
};

#endif
