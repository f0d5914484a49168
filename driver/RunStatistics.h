// RunStatistics: what the command tells about a run as a whole: the --progress display
// (one line on standard error, rewritten in place at most ten times a second) and the
// --summary line. Frames per second count the input frames handled over wall-clock
// time since the statistics were made.
#ifndef DRIVER_RUNSTATISTICS_H
#define DRIVER_RUNSTATISTICS_H

#include <chrono>
#include <cstdio>
#include <string>

#include "gme/SequenceEstimator.h"

namespace driver {

class RunStatistics {
public:
    // pairsExpected: the number of pairs of the input, or -1 when unknown.
    explicit RunStatistics(long pairsExpected);

    void Add(const gme::PairResult& r);

    // The progress line of the pairs so far, without line break (for tests), and its
    // display on `out` when due (always when final).
    std::string ProgressLine() const;
    void ShowProgress(std::FILE* out, bool final);

    // "summary: P pairs, R rejected (X %), mean MAE A compensated, B uncompensated,
    // F frames/s" (and, when some pairs had no pixel to measure, how many were left out
    // of the mean).
    std::string SummaryLine() const;

private:
    double Seconds() const;
    double FramesPerSecond() const;

    using Clock = std::chrono::steady_clock;
    Clock::time_point start;
    Clock::time_point lastShown;
    long expected;
    long pairs = 0;
    long rejected = 0;
    long measured = 0;        // pairs with a finite MAE
    double maeSum = 0;
    double zeroMotionSum = 0;
    size_t shownWidth = 0;    // of the progress line on screen
};

}  // namespace driver

#endif
