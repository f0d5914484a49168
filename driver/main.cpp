// gme: global motion estimation and compensation of a video sequence.
//   gme [OPTIONS] INPUT OUTPUT     (gme --help tells the rest)
// For every pair of consecutive frames of INPUT it estimates the global affine motion,
// warps the previous frame with it and writes the result as a luminance-only frame of
// OUTPUT (the first pair's result is written twice, as frames 0 and 1, so that OUTPUT
// has as many frames as INPUT). Progress, timings and the MAE of every pair go to
// standard output; the MAEs also go to "mae_Bin.txt" in the working directory.
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "driver/Options.h"
#include "driver/Run.h"

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    driver::Options options;
    std::string error;
    switch (driver::ParseOptions(args, &options, &error)) {
    case driver::ParseResult::kHelp:
        std::fputs(driver::HelpText().c_str(), stdout);
        return 0;
    case driver::ParseResult::kVersion:
        std::fputs(driver::VersionText().c_str(), stdout);
        return 0;
    case driver::ParseResult::kBadUsage:
        if (!error.empty())
            std::fprintf(stderr, "gme: %s\n", error.c_str());
        std::fputs(driver::UsageText().c_str(), stderr);
        return 2;
    case driver::ParseResult::kRun:
        break;
    }
    try {
        return driver::Run(options);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "gme: out of memory\n");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "gme: %s\n", e.what());
    }
    return 1;
}
