// The object mask per frame pair at 720 x 576 and 1920 x 1080: Binary as a whole, the warp
// it starts with (so that the mask's own share is the difference), and MakeBlock alone.
#include <benchmark/benchmark.h>

#include <cmath>

#include "estimation/BinGlobalMotionEstimator.h"
#include "image/YUVImage.h"
#include "segmentation/BinImage.h"

namespace {

// A smooth texture seen through a small affine motion, with a dark square that moves on
// its own: a frame pair whose mask has both background and object blocks.
struct MaskPair {
    int W, H;
    ormel::YUVImage cur, prev;
    BinImage mask;
    BinGlobalMotionEstimator est;
    double a[6] = {1.3, 1.002, 0.004, -0.7, -0.004, 1.002};

    MaskPair(int w, int h)
        : W(w), H(h), cur(ormel::YUV420, w, h), prev(ormel::YUV420, w, h),
          mask(w, h, 0, 255, ormel::quiet), est(3, 0.1, 0.005, 0.1, ormel::YUV420) {
        const double id[6] = {0, 1, 0, 0, 0, 1};
        Fill(prev, id, 0);
        Fill(cur, a, 12);
    }
    void Fill(ormel::YUVImage& img, const double* m, int shift) {
        unsigned char* p = img.GetArray(ormel::Y_COMP);
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x) {
                const double u = m[0] + m[1] * x + m[2] * y, v = m[3] + m[4] * x + m[5] * y;
                double t = 128.0 + 45.0 * std::sin(0.21 * u + 0.05 * v) +
                           35.0 * std::cos(0.13 * v - 0.07 * u) + 20.0 * std::sin(0.17 * (u + v));
                if (x >= W / 3 + shift && x < W / 2 + shift && y >= H / 3 && y < H / 2)
                    t = 20.0;
                p[y * W + x] = static_cast<unsigned char>(std::lround(t));
            }
    }
};

void BM_Binary(benchmark::State& state) {
    MaskPair p(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    int err = 0;
    for (auto _ : state)
        p.est.Binary(p.cur, p.prev, p.a, p.mask, &err);
    state.counters["blocks"] = err;
    state.SetItemsProcessed(state.iterations() * p.W * p.H);
}
BENCHMARK(BM_Binary)->Args({720, 576})->Args({1920, 1080})->Unit(benchmark::kMicrosecond);

void BM_BinaryWarp(benchmark::State& state) {
    MaskPair p(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    ormel::YUVImage comp(ormel::YUV400, p.W, p.H);
    for (auto _ : state)
        p.est.Compensate(p.prev, p.a, comp);
    state.SetItemsProcessed(state.iterations() * p.W * p.H);
}
BENCHMARK(BM_BinaryWarp)->Args({720, 576})->Args({1920, 1080})->Unit(benchmark::kMicrosecond);

void BM_MakeBlock(benchmark::State& state) {
    MaskPair p(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    BinImage pic(p.W, p.H, 0, 255, ormel::quiet);
    unsigned char* s = pic.GetArray(ormel::Y_COMP);
    for (int i = 0; i < p.W * p.H; ++i)
        s[i] = (i / 7 + i / (3 * p.W)) % 5 == 0 ? 255 : 0;
    int err = 0;
    for (auto _ : state)
        p.est.MakeBlock(pic, p.mask, &err);
    state.SetItemsProcessed(state.iterations() * p.W * p.H);
}
BENCHMARK(BM_MakeBlock)->Args({720, 576})->Args({1920, 1080})->Unit(benchmark::kMicrosecond);

}  // namespace
