// Per-pair processor time on the demo scene at 352x288, 720x576 and 1920x1080 (or the
// sizes given as WxH arguments), frames rendered one at a time and pushed into a
// gme::SequenceEstimator: its estimate (Estimate, which also leaves the compensated frame
// of an accepted pair), GlobalMotionCompensator::CompensateWithMAE of the pair on its own,
// and the pair as the gme command prints it (Estimator + Compensator time). Medians over
// the pairs after the first (which EstimateFirst serves and the command does not time).
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>
#include <string>
#include <vector>

#include "gme/SequenceEstimator.h"
#include "image/YUVImage.h"
#include "motion/GlobalMotionCompensator.h"
#include "motion/MotionModel.h"
#include "tools/demo/Scene.h"

namespace {

constexpr int kFrames = 30;

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[(v.size() - 1) / 2];
}

void Run(int W, int H) {
    demo::Scene scene(W, H);
    ormel::YUVImage frames[2] = {{ormel::YUV400, W, H}, {ormel::YUV400, W, H}};
    ormel::YUVImage compensated(ormel::YUV400, W, H);
    ormel::YUVImage* previous = &frames[0];
    ormel::YUVImage* frame = &frames[1];
    gme::SequenceEstimator estimator;
    MotionModel model;
    GlobalMotionCompensator compensator(model);
    std::vector<double> estimate, compensate, pair;
    for (int n = 0; n < kFrames; ++n) {
        scene.Render(n, *frame);
        const auto r = estimator.push(frame->GetArray(ormel::Y_COMP), W, H, W);
        if (r && n >= 2) {
            estimate.push_back(r->estimatorSeconds * 1e3);
            pair.push_back((r->estimatorSeconds + r->compensatorSeconds) * 1e3);
            std::vector<double> params(r->params.begin(), r->params.end());
            model.setParameterVector(params);
            compensator.SetModel(model);
            const std::clock_t t0 = std::clock();
            compensator.CompensateWithMAE(*previous, *frame, compensated, 100);
            compensate.push_back(static_cast<double>(std::clock() - t0) * 1e3 / CLOCKS_PER_SEC);
        }
        std::swap(previous, frame);
    }
    std::printf("%4dx%-4d  Estimate %7.2f ms  CompensateWithMAE alone %6.2f ms  pair as printed"
                " %7.2f ms  (median of %zu pairs)\n",
                W, H, Median(estimate), Median(compensate), Median(pair), pair.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::pair<int, int>> sizes = {{352, 288}, {720, 576}, {1920, 1080}};
    if (argc > 1) {
        sizes.clear();
        for (int i = 1; i < argc; ++i) {
            int w = 0, h = 0;
            if (std::sscanf(argv[i], "%dx%d", &w, &h) != 2 || w < 32 || h < 32) {
                std::fprintf(stderr, "usage: sequence_bench [WxH ...] (at least 32x32)\n");
                return 2;
            }
            sizes.emplace_back(w, h);
        }
    }
    std::printf("gme per frame pair, demo scene, one thread, processor time:\n");
    for (const auto& s : sizes)
        Run(s.first, s.second);
    return 0;
}
