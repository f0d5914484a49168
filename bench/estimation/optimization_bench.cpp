// One Gauss-Newton increment on a 720 x 576 frame pair, in both forms.
#include <benchmark/benchmark.h>

#include "bench/estimation/BenchFrames.h"

// Threshold form, with the outlier threshold taken as the first pass of a level takes it.
static void BM_MotionAadaptThreshold(benchmark::State& state) {
    BenchFrames f;
    double a[6] = {1.0, 1.0, 0.0, -0.5, 0.0, 1.0};
    int thresh = 0;
    f.est.CalOutlier(f.prev, f.cur, a, &thresh);
    double da[6];
    for (auto _ : state) {
        f.est.MotionAadapt(f.cur, f.prev, thresh, a, da);
        benchmark::DoNotOptimize(da);
    }
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_MotionAadaptThreshold)->Unit(benchmark::kMicrosecond);

// Mask form, with one object of 64 x 64 pixels in the mask.
static void BM_MotionAadaptMask(benchmark::State& state) {
    BenchFrames f;
    ormel::YUVImage mask(ormel::YUV420, kWidth, kHeight);
    for (int y = 200; y < 264; ++y)
        for (int x = 300; x < 364; ++x)
            mask.Y(x, y) = 255;
    double a[6] = {1.0, 1.0, 0.0, -0.5, 0.0, 1.0};
    double da[6];
    for (auto _ : state) {
        f.est.MotionAadapt(f.cur, f.prev, mask, a, da);
        benchmark::DoNotOptimize(da);
    }
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_MotionAadaptMask)->Unit(benchmark::kMicrosecond);
