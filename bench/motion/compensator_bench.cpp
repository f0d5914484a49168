// CompensateWithMAE on CIF (352 x 288) and SD (720 x 576) frames under a small rotation
// and zoom.
#include <benchmark/benchmark.h>

#include <vector>

#include "image/YUVImage.h"
#include "motion/GlobalMotionCompensator.h"

using namespace ormel;

static void BM_CompensateWithMAE(benchmark::State& state) {
    const int W = static_cast<int>(state.range(0)), H = static_cast<int>(state.range(1));
    YUVImage prev(YUV420, W, H), cur(YUV420, W, H), comp(YUV420, W, H);
    unsigned seed = 1;
    for (int k = 0; k < W * H; ++k) {
        seed = seed * 1103515245u + 12345u;
        prev.GetArray(Y_COMP)[k] = static_cast<unsigned char>(seed >> 24);
        cur.GetArray(Y_COMP)[k] = static_cast<unsigned char>(seed >> 16);
    }
    std::vector<double> a = {1.3, 1.002, 0.004, -0.7, -0.004, 1.002};
    MotionModel m;
    m.setParameterVector(a);
    GlobalMotionCompensator gmc(m);
    for (auto _ : state)
        benchmark::DoNotOptimize(gmc.CompensateWithMAE(prev, cur, comp, 100));
    state.SetItemsProcessed(state.iterations() * W * H);
}
BENCHMARK(BM_CompensateWithMAE)->Args({352, 288})->Args({720, 576})->Unit(benchmark::kMicrosecond);
