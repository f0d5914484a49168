// GlobalMotionCompensator: the bilinear warp of the previous frame and its MAE.
#include "motion/GlobalMotionCompensator.h"

#include <cmath>
#include <cstdlib>
#include <vector>

using ormel::Y_COMP;
using ormel::YUVImage;

namespace {

// floor(v) as int, or false when v is not a number or does not fit an int
// (such a position is outside every frame).
bool FloorToInt(double v, int* out) {
    const double f = std::floor(v);
    if (!(f >= -2147483648.0 && f <= 2147483647.0))
        return false;
    *out = static_cast<int>(f);
    return true;
}

}  // namespace

GlobalMotionCompensator::GlobalMotionCompensator(MotionModel& m) : model(m) {}

GlobalMotionCompensator::~GlobalMotionCompensator() {}

void GlobalMotionCompensator::SetModel(MotionModel& m) { model = m; }

int GlobalMotionCompensator::Compensate(YUVImage& previous, YUVImage& compImage) {
    Warp(previous, nullptr, compImage, 0);
    return 0;
}

double GlobalMotionCompensator::CompensateWithMAE(YUVImage& previous, YUVImage& current,
                                                  YUVImage& compImage, int th) {
    return Warp(previous, &current, compImage, th);
}

double GlobalMotionCompensator::Warp(YUVImage& previous, YUVImage* current,
                                     YUVImage& compImage, int th) {
    const std::vector<double> a = model.getParameterVector();
    const size_t dim = a.size();
    if (dim != 2 && dim != 6 && dim != 8)
        return 0.0;

    const int W = previous.Width(Y_COMP);
    const int H = previous.Height(Y_COMP);
    const int compW = compImage.Width(Y_COMP);
    const int compH = compImage.Height(Y_COMP);
    const unsigned char* P = previous.GetArray(Y_COMP);
    unsigned char* out = compImage.GetArray(Y_COMP);
    const bool measure = current != nullptr && dim == 6;
    const unsigned char* cur = measure ? current->GetArray(Y_COMP) : nullptr;
    const int curW = measure ? current->Width(Y_COMP) : 0;

    // Outer band of th percent, strict on both sides; th = 100 selects every pixel.
    const int thy = compH * th / 100;
    const int thx = compW * th / 100;
    double mae = 0.0;
    int count = 0;

    for (int y = 0; y < H; ++y) {
        unsigned char* o = out + static_cast<long>(y) * compW;
        const double yd = y;
        const bool rowInBand = y < thy || y > compH - thy;
        for (int x = 0; x < W; ++x) {
            const double xd = x;
            double dispX, dispY;
            if (dim == 6) {
                dispX = (a[0] + a[1] * xd) + a[2] * yd;
                dispY = (a[3] + a[4] * xd) + a[5] * yd;
            } else if (dim == 8) {
                const double den = 1 + (a[6] * xd + a[7] * yd);
                dispX = ((a[0] + a[1] * xd) + a[2] * yd) / den;
                dispY = ((a[3] + a[4] * xd) + a[5] * yd) / den;
            } else {
                dispX = xd + a[0];
                dispY = yd + a[1];
            }
            int x1, y1;
            if (!FloorToInt(dispX, &x1) || !FloorToInt(dispY, &y1) ||
                x1 < 0 || x1 >= W - 1 || y1 < 0 || y1 >= H - 1) {
                o[x] = 0;
                continue;
            }
            const double xf1 = (x1 + 1) - dispX;
            const double xf2 = dispX - x1;
            const double yf1 = (y1 + 1) - dispY;
            const double yf2 = dispY - y1;
            const unsigned char* p0 = P + static_cast<long>(y1) * W + x1;
            const unsigned char* p1 = p0 + W;
            const double s1 = p0[0] * xf1 + p0[1] * xf2;
            const double s2 = p1[0] * xf1 + p1[1] * xf2;
            int s = static_cast<int>(yf1 * s1 + yf2 * s2);   // truncation, no rounding
            if (s > 255)
                s = 255;
            o[x] = static_cast<unsigned char>(s);
            if (measure && rowInBand && (x < thx || x > compW - thx)) {
                mae += std::abs(o[x] - cur[static_cast<long>(y) * curW + x]);
                ++count;
            }
        }
    }
    if (!measure)
        return 0.0;
    return mae / count;   // NaN when nothing was counted
}
