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

// Sampling position of pixel (x, y) under a model of `dim` parameters, in the stated
// evaluation order. For the affine model colX/colY hold a[0] + a[1]x and a[3] + a[4]x.
template <int dim>
inline void Map(const double* a, const double* colX, const double* colY, int x, double yd,
                double* dispX, double* dispY) {
    const double xd = x;
    if (dim == 6) {
        *dispX = colX[x] + a[2] * yd;
        *dispY = colY[x] + a[5] * yd;
    } else if (dim == 8) {
        const double den = 1 + (a[6] * xd + a[7] * yd);
        *dispX = ((a[0] + a[1] * xd) + a[2] * yd) / den;
        *dispY = ((a[3] + a[4] * xd) + a[5] * yd) / den;
    } else {
        *dispX = xd + a[0];
        *dispY = yd + a[1];
    }
}

struct WarpPlanes {
    const unsigned char* P;   // reference luminance, W x H
    int W, H;
    unsigned char* out;       // compensated luminance, row stride outW
    int outW, outH;
    const unsigned char* cur; // current luminance for the MAE, or null
    int curW;
};

// Warps every pixel; returns the MAE over the band (th percent) when cur is given.
// The sum of absolute 8-bit differences is an integer: accumulating it in 64 bits and
// converting once gives the same double as adding each term to a double.
template <int dim>
double WarpPlane(const WarpPlanes& w, const double* a, int th) {
    std::vector<double> colX(static_cast<size_t>(w.W > 0 ? w.W : 0));
    std::vector<double> colY(colX.size());
    for (int x = 0; x < w.W; ++x) {
        colX[x] = a[0] + a[1] * x;
        colY[x] = a[3] + a[4] * x;
    }
    const int thy = w.outH * th / 100;
    const int thx = w.outW * th / 100;
    long long sum = 0;
    long long count = 0;
    for (int y = 0; y < w.H; ++y) {
        unsigned char* o = w.out + static_cast<long>(y) * w.outW;
        const unsigned char* c = w.cur ? w.cur + static_cast<long>(y) * w.curW : nullptr;
        const double yd = y;
        const bool rowInBand = y < thy || y > w.outH - thy;
        for (int x = 0; x < w.W; ++x) {
            double dispX, dispY;
            Map<dim>(a, colX.data(), colY.data(), x, yd, &dispX, &dispY);
            int x1, y1;
            if (!FloorToInt(dispX, &x1) || !FloorToInt(dispY, &y1) ||
                x1 < 0 || x1 >= w.W - 1 || y1 < 0 || y1 >= w.H - 1) {
                o[x] = 0;
                continue;
            }
            const double xf1 = (x1 + 1) - dispX;
            const double xf2 = dispX - x1;
            const double yf1 = (y1 + 1) - dispY;
            const double yf2 = dispY - y1;
            const unsigned char* p0 = w.P + static_cast<long>(y1) * w.W + x1;
            const unsigned char* p1 = p0 + w.W;
            const double s1 = p0[0] * xf1 + p0[1] * xf2;
            const double s2 = p1[0] * xf1 + p1[1] * xf2;
            int s = static_cast<int>(yf1 * s1 + yf2 * s2);   // truncation, no rounding
            if (s > 255)
                s = 255;
            o[x] = static_cast<unsigned char>(s);
            if (c && rowInBand && (x < thx || x > w.outW - thx)) {
                sum += std::abs(s - c[x]);
                ++count;
            }
        }
    }
    return static_cast<double>(sum) / static_cast<double>(count);   // NaN when count is 0
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

    WarpPlanes w;
    w.P = previous.GetArray(Y_COMP);
    w.W = previous.Width(Y_COMP);
    w.H = previous.Height(Y_COMP);
    w.out = compImage.GetArray(Y_COMP);
    w.outW = compImage.Width(Y_COMP);
    w.outH = compImage.Height(Y_COMP);
    // The error is gathered for the affine model only.
    w.cur = current && dim == 6 ? current->GetArray(Y_COMP) : nullptr;
    w.curW = current ? current->Width(Y_COMP) : 0;

    if (dim == 6) {
        const double mae = WarpPlane<6>(w, a, th);
        return w.cur ? mae : 0.0;
    }
    if (dim == 8)
        WarpPlane<8>(w, a, th);
    else
        WarpPlane<2>(w, a, th);
    return 0.0;
}
