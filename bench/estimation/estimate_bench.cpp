// Estimate per frame pair at CIF (352 x 288) and SD (720 x 576): the pyramid, the
// prediction or search, the increments at three levels and the object mask.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "bench/estimation/BenchFrames.h"
#include "segmentation/BinImage.h"

static void BM_Estimate(benchmark::State& state) {
    const int W = static_cast<int>(state.range(0)), H = static_cast<int>(state.range(1));
    ormel::VidsFile file;
    file.SetWidth(W);
    file.SetHeight(H);
    file.SetSamplingMatrices(ormel::YUV420, false);
    BinGlobalMotionEstimator est(3, 0.1, 0.005, 0.1, file);
    ormel::YUVImage cur(ormel::YUV420, W, H), prev(ormel::YUV420, W, H);
    const double id[6] = {0, 1, 0, 0, 0, 1};
    const double motion[6] = {1.3, 1.002, 0.004, -0.7, -0.004, 1.002};
    FillTexture(prev, id);
    FillTexture(cur, motion);
    BinImage mask(W, H, 0, 255, ormel::quiet);
    int err = 0;
    // The estimator prints a line or two per pair; keep them off the report.
    std::fflush(stdout);
    const int saved = dup(1);
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    est.EstimateFirst(cur, prev, mask, &err);
    for (auto _ : state)
        est.Estimate(cur, prev, mask, &err);
    std::cout.flush();
    std::fflush(stdout);
    dup2(saved, 1);
    close(null);
    close(saved);
    state.SetItemsProcessed(state.iterations() * W * H);
}
BENCHMARK(BM_Estimate)->Args({352, 288})->Args({720, 576})->Unit(benchmark::kMillisecond);
