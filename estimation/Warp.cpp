// BinGlobalMotionEstimator: the affine warp, the difference image, the matching criteria
// and the outlier threshold.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/LumaPlane.h"
#include "motion/AffineWarp.h"
#include "numeric/VectorUnit.h"

using estimation::LumaPlane;

namespace {

// Sum of |a - b| over the W x H region at the origin; an integer sum, exact in any order.
long long SumAbsDiff(const LumaPlane& a, const LumaPlane& b, int W, int H) {
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
    const LumaPlane prev(previous);
    const LumaPlane comp(compImage);
    if (!comp.Covers(prev.width, prev.height, "Compensate", "compImage"))
        return;
    motion::WarpAffine(ormel::ConstView(ormel::LumaView(previous)), a, ormel::LumaView(compImage),
                       motion::BilinearOrder::kEstimator, scratch.warp, numeric::BestVectorUnit());
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
    const LumaPlane prev(previous);
    const LumaPlane comp(compImage);
    const LumaPlane cur(current);
    if (!comp.Covers(prev.width, prev.height, "Compensate", "compImage") ||
        !cur.Covers(prev.width, prev.height, "Compensate", "current"))
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
    const LumaPlane cur(currentImage);
    const LumaPlane comp(compImage);
    const LumaPlane diff(diffImage);
    const int W = cur.width;
    const int H = cur.height;
    if (!comp.Covers(W, H, "Accuracy", "compImage") || !diff.Covers(W, H, "Accuracy", "diffImage"))
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
    const LumaPlane cur(current);
    const LumaPlane comp(compImage);
    const int W = comp.width;
    const int H = comp.height;
    if (!cur.Covers(W, H, "CriterionFunctionMAE", "current"))
        return 0.0;
    return static_cast<double>(SumAbsDiff(comp, cur, W, H)) / (static_cast<double>(W) * H);
}

int BinGlobalMotionEstimator::CriterionFunctionSAD(ormel::YUVImage& current, ormel::YUVImage& predict) {
    const LumaPlane cur(current);
    const LumaPlane pred(predict);
    const int W = cur.width;
    const int H = cur.height;
    if (!pred.Covers(W, H, "CriterionFunctionSAD", "predict"))
        return 0;
    return static_cast<int>(SumAbsDiff(cur, pred, W, H));
}

double BinGlobalMotionEstimator::CriterionFunctionCMAE(ormel::YUVImage& current,
                                                       ormel::YUVImage& compImage, int th) {
    const LumaPlane cur(current);
    const LumaPlane comp(compImage);
    const int W = comp.width;
    const int H = comp.height;
    if (!cur.Covers(W, H, "CriterionFunctionCMAE", "current"))
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
    const LumaPlane cur(current);
    const int W = cur.width;
    const int H = cur.height;
    const long long size = static_cast<long long>(W) * H;
    if (size <= 0) {
        std::cout << "BinGlobalMotionEstimator::CalOutlier: current has no pixels" << std::endl;
        return;
    }
    if (!LumaPlane(previous).Covers(W, H, "CalOutlier", "previous"))
        return;
    ormel::YUVImage compImage(previous);
    ormel::YUVImage diffImage(previous);
    Compensate(previous, a, compImage);
    Accuracy(current, compImage, diffImage);

    long long pel = static_cast<long long>(size * (1.0 - percent));
    if (pel < 0 || pel >= size) {
        std::cout << "BinGlobalMotionEstimator::CalOutlier: percent = " << percent
                  << " puts the threshold outside the pixels; the nearest one is taken"
                  << std::endl;
        pel = pel < 0 ? 0 : size - 1;
    }
    // The value at index pel of the differences sorted in ascending order. They are
    // bytes, so a histogram finds it without sorting.
    long long histogram[256] = {};
    const LumaPlane diff(diffImage);
    for (int y = 0; y < H; ++y) {
        const unsigned char* d = diff.Row(y);
        for (int x = 0; x < W; ++x)
            ++histogram[d[x]];
    }
    long long below = 0;
    int value = 0;
    while (below + histogram[value] <= pel) {
        below += histogram[value];
        ++value;
    }
    *thresh = value;
}
