// IncrementSums: the plain path of both increment forms, the scratch and the choice of
// path. The vector paths are in IncrementSumsVector.cpp.
#include "estimation/IncrementSums.h"

#include <cstdint>
#include <cstring>
#include <limits>

#include "estimation/IncrementSumsPaths.h"

namespace estimation {

double* IncrementScratch::Records(std::size_t n) {
    if (n > capacity) {
        records.reset(static_cast<double*>(::operator new[](n * 8 * sizeof(double), std::align_val_t(64))));
        capacity = n;
    }
    return records.get();
}

namespace paths {

void PositionTerms(int W, int H, const double* a, IncrementScratch& s) {
    // a[0] + x a[1] per column and y a[2] per row: their sum is a[0] + a[1] x + a[2] y
    // in that order. The padding (no position at all) lets vector groups run past the
    // last column; such lanes are never inside.
    const double none = std::numeric_limits<double>::quiet_NaN();
    s.colX.assign(static_cast<std::size_t>(W) + kPadding, none);
    s.colY.assign(static_cast<std::size_t>(W) + kPadding, none);
    s.rowX.resize(static_cast<std::size_t>(H));
    s.rowY.resize(static_cast<std::size_t>(H));
    for (int x = 0; x < W; ++x) {
        s.colX[x] = a[0] + x * a[1];
        s.colY[x] = a[3] + x * a[4];
    }
    for (int y = 0; y < H; ++y) {
        s.rowX[y] = y * a[2];
        s.rowY[y] = y * a[5];
    }
}

void BuildSampleClear(ormel::ConstPlaneView previous, ormel::ConstPlaneView mask,
                      std::uint16_t* out) {
    const int W = previous.width;
    const int H = previous.height;
    for (int y = 0; y < H; ++y) {
        const std::uint8_t* p = previous.Row(y);
        std::uint16_t* o = out + static_cast<std::size_t>(y) * W;
        if (y == H - 1 || W == 1) {   // no 2 x 2 block starts here
            for (int x = 0; x < W; ++x)
                o[x] = p[x];
            continue;
        }
        const std::uint8_t* m0 = mask.Row(y);
        const std::uint8_t* m1 = mask.Row(y + 1);
        for (int x = 0; x < W - 1; ++x) {
            const int any = m0[x] | m0[x + 1] | m1[x] | m1[x + 1];
            o[x] = static_cast<std::uint16_t>(p[x] | (any == 0) << 8);
        }
        o[W - 1] = p[W - 1];
    }
}

void Mirror(NormalEquations* n) {
    for (int i = 0; i < 6; ++i)
        for (int j = i + 1; j < 6; ++j)
            n->M[i * 6 + j] = n->M[j * 6 + i];
}

}  // namespace paths

namespace {

// One taking part pixel, every formula in its written order.
inline void AddPixel(int p00, int p10, int p01, int p11, double dk, double dl, int cv, int x,
                     int y, NormalEquations* n) {
    const double bilin = p00 * (1 - dk) * (1 - dl) + p10 * dk * (1 - dl) + p01 * (1 - dk) * dl +
                         p11 * dk * dl;
    const double e = bilin - cv;
    const double dIdx = (p10 - p00) * (1 - dl) + (p11 - p01) * dl;
    const double dIdy = (p01 - p00) * (1 - dk) + (p11 - p10) * dk;
    const double d[6] = {dIdx, x * dIdx, y * dIdx, dIdy, x * dIdy, y * dIdy};
    for (int i = 0; i < 6; ++i) {
        n->b[i] += d[i] * e;
        for (int j = 0; j <= i; ++j)
            n->M[i * 6 + j] += d[i] * d[j];
    }
}

// Whether (dispX, dispY) has its four neighbours in a W x H plane: floor(dispX) in
// [0, W - 2] is 0 <= dispX < W - 1, and NaN fails it. Inside, truncation is the floor.
inline bool Inside(double dispX, double dispY, int W, int H) {
    return dispX >= 0 && dispX < W - 1 && dispY >= 0 && dispY < H - 1;
}

void MaskFormPlain(const paths::Planes& p, const IncrementScratch& s, NormalEquations* n) {
    const int W = p.current.width;
    const int H = p.current.height;
    for (int x = 0; x < W; ++x)
        for (int y = 0; y < H; ++y) {
            const double dispX = s.colX[x] + s.rowX[y];
            const double dispY = s.colY[x] + s.rowY[y];
            if (!Inside(dispX, dispY, W, H))
                continue;
            const int x1 = static_cast<int>(dispX);
            const int y1 = static_cast<int>(dispY);
            const std::uint8_t* m0 = p.select.Row(y1) + x1;
            const std::uint8_t* m1 = m0 + p.select.stride;
            if (m0[0] | m0[1] | m1[0] | m1[1])
                continue;
            const std::uint8_t* p0 = p.previous.Row(y1) + x1;
            const std::uint8_t* p1 = p0 + p.previous.stride;
            AddPixel(p0[0], p0[1], p1[0], p1[1], dispX - x1, dispY - y1, p.current.Row(y)[x], x,
                     y, n);
        }
}

void ThresholdFormPlain(const paths::Planes& p, const IncrementScratch& s, NormalEquations* n) {
    const int W = p.current.width;
    const int H = p.current.height;
    for (int y = 0; y < H; ++y) {
        const std::uint8_t* use = p.select.Row(y);
        for (int x = 0; x < W; ++x) {
            if (!use[x])
                continue;
            const double dispX = s.colX[x] + s.rowX[y];
            const double dispY = s.colY[x] + s.rowY[y];
            if (!Inside(dispX, dispY, W, H))
                continue;
            const int x1 = static_cast<int>(dispX);
            const int y1 = static_cast<int>(dispY);
            const std::uint8_t* p0 = p.previous.Row(y1) + x1;
            const std::uint8_t* p1 = p0 + p.previous.stride;
            AddPixel(p0[0], p0[1], p1[0], p1[1], dispX - x1, dispY - y1, p.current.Row(y)[x], x,
                     y, n);
        }
    }
}

void Sum(bool maskForm, ormel::ConstPlaneView current, ormel::ConstPlaneView previous,
         ormel::ConstPlaneView select, const double* a, IncrementScratch& scratch,
         numeric::VectorUnit unit, NormalEquations* out) {
    std::memset(out, 0, sizeof *out);   // +0.0: where every sum starts
    paths::Planes p{current, previous, select, nullptr};
    if (current.width <= 0 || current.height <= 0)
        return;
    paths::PositionTerms(current.width, current.height, a, scratch);
    if (maskForm && unit != numeric::VectorUnit::kPlain) {
        scratch.sampleClear.resize(static_cast<std::size_t>(current.width) * current.height);
        paths::BuildSampleClear(previous, select, scratch.sampleClear.data());
        p.sampleClear = scratch.sampleClear.data();
    }
#if defined(__x86_64__)
    if (unit == numeric::VectorUnit::kAvx512) {
        maskForm ? paths::MaskFormAvx512(p, scratch, out) : paths::ThresholdFormAvx512(p, scratch, out);
        paths::Mirror(out);
        return;
    }
    if (unit == numeric::VectorUnit::kAvx2) {
        maskForm ? paths::MaskFormAvx2(p, scratch, out) : paths::ThresholdFormAvx2(p, scratch, out);
        paths::Mirror(out);
        return;
    }
#endif
    (void)unit;
    maskForm ? MaskFormPlain(p, scratch, out) : ThresholdFormPlain(p, scratch, out);
    paths::Mirror(out);
}

}  // namespace

void SumMaskForm(ormel::ConstPlaneView current, ormel::ConstPlaneView previous,
                 ormel::ConstPlaneView mask, const double* a, IncrementScratch& scratch,
                 numeric::VectorUnit unit, NormalEquations* out) {
    Sum(true, current, previous, mask, a, scratch, unit, out);
}

void SumThresholdForm(ormel::ConstPlaneView current, ormel::ConstPlaneView previous,
                      ormel::ConstPlaneView use, const double* a, IncrementScratch& scratch,
                      numeric::VectorUnit unit, NormalEquations* out) {
    Sum(false, current, previous, use, a, scratch, unit, out);
}

}  // namespace estimation
