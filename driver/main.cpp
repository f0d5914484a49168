// gme: global motion estimation and compensation of a vids sequence.
//   gme INPUT OUTPUT
// For every pair of consecutive frames of INPUT it estimates the global affine motion,
// warps the previous frame with it and writes the result as a luminance-only frame of
// OUTPUT (the first pair's result is written twice, as frames 0 and 1, so that OUTPUT has
// as many frames as INPUT). Progress, timings and the MAE of every pair go to standard
// output; the MAEs also go to "mae_Bin.txt" in the working directory.
#include <cstdio>
#include <ctime>
#include <iostream>
#include <string>

#include "estimation/BinGlobalMotionEstimator.h"
#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "motion/GlobalMotionCompensator.h"
#include "motion/MotionModel.h"
#include "segmentation/BinImage.h"

using namespace ormel;

namespace {

// Fixed tuning of the estimator: pyramid levels, convergence bounds on the translation
// and on the linear terms, share of outlier pixels.
const int kLevels = 3;
const double kEr1 = 0.1;
const double kEr2 = 0.005;
const double kPercent = 0.1;

// The platform's clock ticks per second, written as a literal as the timings expect.
const double kClocksPerSecond = 1000000.0;

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s INPUT OUTPUT\n", argc > 0 ? argv[0] : "gme");
        return 2;
    }
    const std::string inputName = argv[1];
    const std::string outputName = argv[2];

    VidsFile input;
    VidsFile output;
    input.Open(inputName, OPEN_OLD);

    const int frames = input.NumberOfImages();
    output.SetNumberOfImages(frames);
    output.SetWidth(input.Width());
    output.SetHeight(input.Height());
    output.SetFrameRate(input.FrameRate());
    output.SetSamplingMatrices(YUV400, input.Interlaced());
    output.Open(outputName, OPEN_NEW);

    FILE* maeLog = std::fopen("mae_Bin.txt", "w");

    YUVImage current(input);
    YUVImage previous(input);
    YUVImage compensated(output);
    BinImage binaryObject(output, 1, 0, 255, quiet);
    MotionModel model;
    BinGlobalMotionEstimator estimator(kLevels, kEr1, kEr2, kPercent, input);
    GlobalMotionCompensator compensator(model);
    int err = 0;

    // First pair: no history and no object mask yet.
    std::cout << "processing frame: " << 1 << "......" << std::endl;
    input.Read(current, 1);
    input.Read(previous, 0);
    estimator.EstimateFirst(current, previous, binaryObject, &err);
    model = estimator.GetModel();
    compensator.SetModel(model);
    double mae = compensator.CompensateWithMAE(previous, current, compensated, 100);
    output.Write(compensated, 0);
    output.Write(compensated, 1);
    std::cout << "MAE: " << mae << std::endl;
    if (maeLog)
        std::fprintf(maeLog, "%f ", mae);

    for (int n = 2; n < frames; ++n) {
        std::cout << "processing frame: " << n << "......" << std::endl;
        input.Read(current, n);
        input.Read(previous, n - 1);
        const std::clock_t t1 = std::clock();
        estimator.Estimate(current, previous, binaryObject, &err);
        const std::clock_t t2 = std::clock();
        model = estimator.GetModel();
        compensator.SetModel(model);
        mae = compensator.CompensateWithMAE(previous, current, compensated, 100);
        const std::clock_t t3 = std::clock();
        output.Write(compensated, n);
        std::cout << "Compensator time " << static_cast<double>(t3 - t2) / kClocksPerSecond
                  << std::endl;
        std::cout << "Estimator time " << static_cast<double>(t2 - t1) / kClocksPerSecond
                  << std::endl;
        std::cout << "MAE: " << mae << std::endl;
        if (maeLog)
            std::fprintf(maeLog, "%f ", mae);
    }

    std::cout << "done" << std::endl;
    input.Close();
    output.Close();
    if (maeLog)
        std::fclose(maeLog);
    return 0;
}
