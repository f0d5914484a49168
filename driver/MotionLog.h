// MotionLog: the --motion file, one CSV row per frame pair after the header
//   pair,a0,a1,a2,a3,a4,a5,accepted,mae,mae_zero_motion,object_blocks
// Doubles are written in the shortest form that reads back as the same double
// ("nan" or "-nan" for a MAE without a counted pixel); no timings, so two runs on the
// same input give the same file.
#ifndef DRIVER_MOTIONLOG_H
#define DRIVER_MOTIONLOG_H

#include <cstdio>
#include <string>

#include "gme/SequenceEstimator.h"

namespace driver {

class MotionLog {
public:
    MotionLog() = default;
    ~MotionLog();
    MotionLog(const MotionLog&) = delete;
    MotionLog& operator=(const MotionLog&) = delete;

    // Creates path ("-": standard output) and writes the header. false with *error.
    bool Open(const std::string& path, std::string* error);
    bool IsOpen() const { return file != nullptr; }
    // The row of pair n (frames n - 1 and n).
    void Add(long pair, const gme::PairResult& r);
    // Flushes and closes; false with *error when any write failed.
    bool Close(std::string* error);

private:
    std::string path;
    std::FILE* file = nullptr;
};

// The shortest decimal text that reads back as exactly v.
std::string ShortestDouble(double v);

}  // namespace driver

#endif
