// Hot functions of the segmentation methods on a full standard-definition frame.
#include <benchmark/benchmark.h>

#include <random>

#include "image/YUVImage.h"
#include "segmentation/BinImage.h"
#include "segmentation/Binarization.h"
#include "segmentation/TolvarMotionDetection.h"
#include "segmentation/TolvarThrshold.h"

namespace {

const int kWidth = 720;
const int kHeight = 576;

void Randomize(ormel::YUVImage& img, unsigned seed) {
    std::mt19937 rng(seed);
    unsigned char* p = img.GetArray(ormel::Y_COMP);
    for (int i = 0; i < kWidth * kHeight; ++i)
        p[i] = static_cast<unsigned char>(rng() & 255);
}

void BM_AbsoluteDifferenceAverager(benchmark::State& state) {
    ormel::YUVImage a(ormel::YUV420, kWidth, kHeight), b(ormel::YUV420, kWidth, kHeight),
        out(ormel::YUV420, kWidth, kHeight);
    Randomize(a, 1);
    Randomize(b, 2);
    TolvarMotionDetection det(a, 5, 42, 6, ormel::quiet);
    for (auto _ : state)
        benchmark::DoNotOptimize(det.AbsoluteDifferenceAverager(a, b, out));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_AbsoluteDifferenceAverager);

void BM_MaxFilter(benchmark::State& state) {
    ormel::YUVImage in(ormel::YUV420, kWidth, kHeight), out(ormel::YUV420, kWidth, kHeight);
    Randomize(in, 3);
    TolvarMotionDetection det(in, 5, 42, 6, ormel::quiet);
    for (auto _ : state)
        benchmark::DoNotOptimize(det.MaxFilter(in, out));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_MaxFilter);

void BM_TolvarThresholder(benchmark::State& state) {
    ormel::YUVImage in(ormel::YUV420, kWidth, kHeight);
    Randomize(in, 4);
    TolvarThrshold th(in, ormel::quiet);
    for (auto _ : state)
        benchmark::DoNotOptimize(th.TolvarThresholder(in));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_TolvarThresholder);

void BM_Binarizer(benchmark::State& state) {
    ormel::YUVImage in(ormel::YUV420, kWidth, kHeight);
    Randomize(in, 5);
    BinImage target(kWidth, kHeight, 0, 255, ormel::quiet);
    Binarization bin(target, ormel::quiet);
    for (auto _ : state)
        benchmark::DoNotOptimize(bin.Binarizer(in, target, 100));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_Binarizer);

}  // namespace
