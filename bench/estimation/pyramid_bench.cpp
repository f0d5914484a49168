// GaussFilter of a 720 x 576 frame into its 360 x 288 level.
#include <benchmark/benchmark.h>

#include "bench/estimation/BenchFrames.h"

static void BM_GaussFilter(benchmark::State& state) {
    BenchFrames f;
    ormel::YUVImage half(ormel::YUV420, kWidth / 2, kHeight / 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(f.est.GaussFilter(f.cur, half));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_GaussFilter)->Unit(benchmark::kMicrosecond);
