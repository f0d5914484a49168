// gme: global motion estimation and compensation of a vids sequence.
//   gme INPUT OUTPUT
// For every pair of consecutive frames of INPUT it estimates the global affine motion,
// warps the previous frame with it and writes the result as a luminance-only frame of
// OUTPUT (the first pair's result is written twice, as frames 0 and 1, so that OUTPUT has
// as many frames as INPUT). Progress, timings and the MAE of every pair go to standard
// output; the MAEs also go to "mae_Bin.txt" in the working directory.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "gme/SequenceEstimator.h"
#include "image/VidsFile.h"
#include "image/YUVImage.h"

using namespace ormel;

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

    YUVImage frame(input);
    YUVImage compensated(output);
    gme::Settings settings;
    settings.log = stdout;
    settings.exitOnFatalError = true;
    gme::SequenceEstimator estimator(settings);
    const int W = input.Width(), H = input.Height();
    auto push = [&](int n) {
        input.Read(frame, n);
        return estimator.push(frame.GetArray(Y_COMP), frame.Width(Y_COMP), frame.Height(Y_COMP),
                              frame.Width(Y_COMP));
    };

    for (int n = 1; n < frames; ++n) {
        std::cout << "processing frame: " << n << "......" << std::endl;
        if (n == 1)
            push(0);
        const gme::PairResult r = *push(n);
        std::memcpy(compensated.GetArray(Y_COMP), estimator.Compensated(),
                    static_cast<size_t>(W) * H);
        if (n == 1)
            output.Write(compensated, 0);
        output.Write(compensated, n);
        if (n > 1) {
            std::cout << "Compensator time " << r.compensatorSeconds << std::endl;
            std::cout << "Estimator time " << r.estimatorSeconds << std::endl;
        }
        std::cout << "MAE: " << r.mae << std::endl;
        if (maeLog)
            std::fprintf(maeLog, "%f ", r.mae);
    }

    std::cout << "done" << std::endl;
    input.Close();
    output.Close();
    if (maeLog)
        std::fclose(maeLog);
    return 0;
}
