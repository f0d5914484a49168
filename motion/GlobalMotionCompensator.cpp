// GlobalMotionCompensator: the bilinear warp of the previous frame and its MAE.
#include "motion/GlobalMotionCompensator.h"

#include <cstdlib>
#include <vector>

using ormel::Y_COMP;
using ormel::YUVImage;

namespace {

// floor(v) as int, or false when v is not a number or does not fit an int
// (such a position is outside every frame). Same result as (int)floor(v), without
// the library call.
inline bool FloorToInt(double v, int* out) {
    if (!(v >= -2147483648.0 && v < 2147483648.0))
        return false;
    int t = static_cast<int>(v);   // toward zero
    if (t > v)
        --t;
    *out = t;
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

namespace {

// Sampling position of pixel (x, y) under the translation (dim 2) or the perspective
// (dim 8) model, in the stated evaluation order.
template <int dim>
inline void Map(const double* a, int x, double yd, double* dispX, double* dispY) {
    const double xd = x;
    if (dim == 8) {
        const double den = 1 + (a[6] * xd + a[7] * yd);
        *dispX = ((a[0] + a[1] * xd) + a[2] * yd) / den;
        *dispY = ((a[3] + a[4] * xd) + a[5] * yd) / den;
    } else {
        *dispX = xd + a[0];
        *dispY = yd + a[1];
    }
}

// The translation and perspective warps, pixel by pixel (no error is gathered for them).
template <int dim>
void WarpPlane(YUVImage& previous, YUVImage& compImage, const double* a) {
    const unsigned char* P = previous.GetArray(Y_COMP);
    const int W = previous.Width(Y_COMP);
    const int H = previous.Height(Y_COMP);
    unsigned char* out = compImage.GetArray(Y_COMP);
    const int outW = compImage.Width(Y_COMP);
    for (int y = 0; y < H; ++y) {
        unsigned char* o = out + static_cast<long>(y) * outW;
        const double yd = y;
        for (int x = 0; x < W; ++x) {
            double dispX, dispY;
            Map<dim>(a, x, yd, &dispX, &dispY);
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
        }
    }
}

}  // namespace

double GlobalMotionCompensator::Warp(YUVImage& previous, YUVImage* current,
                                     YUVImage& compImage, int th) {
    const std::vector<double> params = model.getParameterVector();
    const size_t dim = params.size();
    if (dim != 2 && dim != 6 && dim != 8)
        return 0.0;
    double a[8] = {0, 0, 0, 0, 0, 0, 0, 0};   // local copy: output stores cannot alias it
    for (size_t k = 0; k < dim; ++k)
        a[k] = params[k];
    if (dim == 8) {
        WarpPlane<8>(previous, compImage, a);
        return 0.0;
    }
    if (dim == 2) {
        WarpPlane<2>(previous, compImage, a);
        return 0.0;
    }

    const ormel::ConstPlaneView prev = ormel::ConstView(ormel::LumaView(previous));
    const ormel::PlaneView out = ormel::LumaView(compImage);
    if (!current) {
        motion::WarpAffine(prev, a, out, motion::BilinearOrder::kCompensator, scratch,
                           numeric::BestVectorUnit());
        return 0.0;
    }
    // The band: th percent of the output's size from each side, strict on both.
    motion::ErrorBand band;
    band.current = ormel::ConstView(ormel::LumaView(*current));
    band.colLow = out.width * th / 100;
    band.colHigh = out.width - band.colLow;
    band.rowLow = out.height * th / 100;
    band.rowHigh = out.height - band.rowLow;
    const motion::WarpError e = motion::WarpAffine(
        prev, a, out, motion::BilinearOrder::kCompensator, band, scratch, numeric::BestVectorUnit());
    // The sum of absolute 8-bit differences is an integer: accumulated in 64 bits and
    // converted once it is the double that adding each term to a double gives.
    return static_cast<double>(e.sum) / static_cast<double>(e.count);   // NaN when count is 0
}
