// BinGlobalMotionEstimator: the affine warp, the difference image, the matching criteria
// and the outlier threshold.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/PlaneCheck.h"
#include "image/PlaneView.h"
#include "motion/AffineWarp.h"
#include "numeric/VectorUnit.h"

using estimation::Covers;

namespace {

// Sum of |a - b| over the W x H region at the origin; an integer sum, exact in any order.
long long SumAbsDiff(const ormel::PlaneView& a, const ormel::PlaneView& b, int W, int H) {
    long long sum = 0;
    for (int y = 0; y < H; ++y) {
        const unsigned char* p = a.Row(y);
        const unsigned char* q = b.Row(y);
        for (int x = 0; x < W; ++x)
            sum += std::abs(p[x] - q[x]);
    }
    return sum;
}

}  // namespace

void BinGlobalMotionEstimator::Compensate(ormel::YUVImage& previous, double* a,
                                          ormel::YUVImage& compImage) {
    const ormel::PlaneView prev = ormel::LumaView(previous);
    const ormel::PlaneView comp = ormel::LumaView(compImage);
    if (!Covers(comp, prev.width, prev.height, "Compensate", "compImage"))
        return;
    estimation::SharedCompensation& shared = scratch.shared;
    if (shared.previous == &previous && !shared.done && shared.out.width >= prev.width &&
        shared.out.height >= prev.height && shared.current.width >= prev.width &&
        shared.current.height >= prev.height) {
        // The compensator's band with th = 100: every pixel written from previous counts.
        motion::ErrorBand band;
        band.current = shared.current;
        band.colLow = prev.width * 100 / 100;
        band.colHigh = prev.width - band.colLow;
        band.rowLow = prev.height * 100 / 100;
        band.rowHigh = prev.height - band.rowLow;
        shared.error = motion::WarpAffineBoth(ormel::ConstView(ormel::LumaView(previous)), a,
                                              ormel::LumaView(compImage), shared.out, band,
                                              scratch.warp, numeric::BestVectorUnit());
        for (int i = 0; i < 6; ++i)
            shared.a[i] = a[i];
        shared.done = true;
        return;
    }
    motion::WarpAffine(ormel::ConstView(ormel::LumaView(previous)), a, ormel::LumaView(compImage),
                       motion::BilinearOrder::kEstimator, scratch.warp, numeric::BestVectorUnit());
}

void BinGlobalMotionEstimator::ShareCompensation(ormel::YUVImage& previous, ormel::PlaneView out,
                                                 ormel::ConstPlaneView current) {
    scratch.shared = estimation::SharedCompensation();
    scratch.shared.previous = &previous;
    scratch.shared.out = out;
    scratch.shared.current = current;
}

bool BinGlobalMotionEstimator::SharedCompensationResult(double* a, double* mae) const {
    const estimation::SharedCompensation& shared = scratch.shared;
    if (!shared.done)
        return false;
    for (int i = 0; i < 6; ++i)
        a[i] = shared.a[i];
    // An integer sum is exact in double; 0 / 0 is NaN, as the compensator gives.
    *mae = static_cast<double>(shared.error.sum) / static_cast<double>(shared.error.count);
    return true;
}

void BinGlobalMotionEstimator::Compensate(ormel::YUVImage& previous, ormel::YUVImage& compImage) {
    std::vector<double> p = model.getParameterVector();
    if (p.size() < 6) {
        std::cout << "BinGlobalMotionEstimator::Compensate: the model holds " << p.size()
                  << " parameters, not 6" << std::endl;
        return;
    }
    double a[6];
    for (int i = 0; i < 6; ++i)
        a[i] = p[i];
    Compensate(previous, a, compImage);
}

double BinGlobalMotionEstimator::Compensate(ormel::YUVImage& previous, ormel::YUVImage& current,
                                            ormel::YUVImage& compImage) {
    std::vector<double> p = model.getParameterVector();
    if (p.size() < 6) {
        std::cout << "BinGlobalMotionEstimator::Compensate: the model holds " << p.size()
                  << " parameters, not 6" << std::endl;
        return 0.0;
    }
    double a[6];
    for (int i = 0; i < 6; ++i)
        a[i] = p[i];
    const ormel::PlaneView prev = ormel::LumaView(previous);
    const ormel::PlaneView comp = ormel::LumaView(compImage);
    const ormel::PlaneView cur = ormel::LumaView(current);
    if (!Covers(comp, prev.width, prev.height, "Compensate", "compImage") ||
        !Covers(cur, prev.width, prev.height, "Compensate", "current"))
        return 0.0;
    motion::ErrorBand all;
    all.current = ormel::ConstView(ormel::LumaView(current));
    const motion::WarpError e =
        motion::WarpAffine(ormel::ConstView(ormel::LumaView(previous)), a, ormel::LumaView(compImage),
                           motion::BilinearOrder::kEstimator, all, scratch.warp,
                           numeric::BestVectorUnit());
    // Integer sums are exact in double: the same as summing the doubles. 0 / 0 is NaN.
    return static_cast<double>(e.sum) / static_cast<double>(e.count);
}

void BinGlobalMotionEstimator::Accuracy(ormel::YUVImage& currentImage, ormel::YUVImage& compImage,
                                        ormel::YUVImage& diffImage) {
    const ormel::PlaneView cur = ormel::LumaView(currentImage);
    const ormel::PlaneView comp = ormel::LumaView(compImage);
    const ormel::PlaneView diff = ormel::LumaView(diffImage);
    const int W = cur.width;
    const int H = cur.height;
    if (!Covers(comp, W, H, "Accuracy", "compImage") || !Covers(diff, W, H, "Accuracy", "diffImage"))
        return;
    for (int y = 0; y < H; ++y) {
        const unsigned char* c = cur.Row(y);
        const unsigned char* p = comp.Row(y);
        unsigned char* d = diff.Row(y);
        for (int x = 0; x < W; ++x)
            d[x] = static_cast<unsigned char>(c[x] > p[x] ? c[x] - p[x] : p[x] - c[x]);
    }
}

double BinGlobalMotionEstimator::CriterionFunctionMAE(ormel::YUVImage& current,
                                                      ormel::YUVImage& compImage) {
    const ormel::PlaneView cur = ormel::LumaView(current);
    const ormel::PlaneView comp = ormel::LumaView(compImage);
    const int W = comp.width;
    const int H = comp.height;
    if (!Covers(cur, W, H, "CriterionFunctionMAE", "current"))
        return 0.0;
    return static_cast<double>(SumAbsDiff(comp, cur, W, H)) / (static_cast<double>(W) * H);
}

int BinGlobalMotionEstimator::CriterionFunctionSAD(ormel::YUVImage& current, ormel::YUVImage& predict) {
    const ormel::PlaneView cur = ormel::LumaView(current);
    const ormel::PlaneView pred = ormel::LumaView(predict);
    const int W = cur.width;
    const int H = cur.height;
    if (!Covers(pred, W, H, "CriterionFunctionSAD", "predict"))
        return 0;
    return static_cast<int>(SumAbsDiff(cur, pred, W, H));
}

double BinGlobalMotionEstimator::CriterionFunctionCMAE(ormel::YUVImage& current,
                                                       ormel::YUVImage& compImage, int th) {
    const ormel::PlaneView cur = ormel::LumaView(current);
    const ormel::PlaneView comp = ormel::LumaView(compImage);
    const int W = comp.width;
    const int H = comp.height;
    if (!Covers(cur, W, H, "CriterionFunctionCMAE", "current"))
        return 0.0;
    const int thy = static_cast<int>(static_cast<long long>(H) * th / 100);
    const int thx = static_cast<int>(static_cast<long long>(W) * th / 100);
    std::printf("threshy: %d \n", thy);
    std::printf("threshx: %d \n", thx);
    // Both window bounds are inclusive; the loops stay inside the image.
    long long sum = 0;
    int count = 0;
    for (int y = 0; y < H; ++y) {
        if (y < thy || y > H - thy)
            continue;
        const unsigned char* c = cur.Row(y);
        const unsigned char* p = comp.Row(y);
        for (int x = 0; x < W; ++x) {
            if (x < thx || x > W - thx)
                continue;
            sum += std::abs(p[x] - c[x]);
            ++count;
        }
    }
    std::printf("count: %d \n", count);
    return static_cast<double>(sum) / count;
}

void BinGlobalMotionEstimator::CalOutlier(ormel::YUVImage& current, ormel::YUVImage& previous,
                                          double* a, int* thresh) {
    const ormel::PlaneView cur = ormel::LumaView(current);
    const int W = cur.width;
    const int H = cur.height;
    const long long size = static_cast<long long>(W) * H;
    if (size <= 0) {
        std::cout << "BinGlobalMotionEstimator::CalOutlier: current has no pixels" << std::endl;
        return;
    }
    if (!Covers(ormel::LumaView(previous), W, H, "CalOutlier", "previous"))
        return;
    // previous warped with a over its own size, in the estimator's scratch.
    const ormel::PlaneView prev = ormel::LumaView(previous);
    scratch.compensated.resize(static_cast<size_t>(prev.width) * prev.height);
    const ormel::PlaneView comp{scratch.compensated.data(), prev.width, prev.height, prev.width};
    motion::WarpAffine(ormel::ConstView(prev), a, comp, motion::BilinearOrder::kEstimator,
                       scratch.warp, numeric::BestVectorUnit());

    long long pel = static_cast<long long>(size * (1.0 - percent));
    if (pel < 0 || pel >= size) {
        std::cout << "BinGlobalMotionEstimator::CalOutlier: percent = " << percent
                  << " puts the threshold outside the pixels; the nearest one is taken"
                  << std::endl;
        pel = pel < 0 ? 0 : size - 1;
    }
    // The value at index pel of the differences |current - warped| sorted in ascending
    // order. They are bytes, so a histogram finds it without sorting.
    long long histogram[256] = {};
    for (int y = 0; y < H; ++y) {
        const unsigned char* c = cur.Row(y);
        const unsigned char* w = comp.Row(y);
        for (int x = 0; x < W; ++x)
            ++histogram[c[x] > w[x] ? c[x] - w[x] : w[x] - c[x]];
    }
    long long below = 0;
    int value = 0;
    while (below + histogram[value] <= pel) {
        below += histogram[value];
        ++value;
    }
    *thresh = value;
}
