// MotionLog: the per-pair CSV of the --motion option.
#include "driver/MotionLog.h"

#include <cerrno>
#include <charconv>
#include <cstring>

namespace driver {

std::string ShortestDouble(double v) {
    char buf[32];
    const std::to_chars_result r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

MotionLog::~MotionLog() {
    if (file && file != stdout)
        std::fclose(file);
}

bool MotionLog::Open(const std::string& p, std::string* error) {
    path = p;
    file = path == "-" ? stdout : std::fopen(path.c_str(), "w");
    if (!file) {
        *error = path + ": " + std::strerror(errno);
        return false;
    }
    std::fputs("pair,a0,a1,a2,a3,a4,a5,accepted,mae,mae_zero_motion,object_blocks\n", file);
    return true;
}

void MotionLog::Add(long pair, const gme::PairResult& r) {
    std::string row = std::to_string(pair);
    for (double a : r.params)
        row += "," + ShortestDouble(a);
    row += r.accepted ? ",1," : ",0,";
    row += ShortestDouble(r.mae) + "," + ShortestDouble(r.maeZeroMotion) + "," +
           std::to_string(r.objectBlocks) + "\n";
    std::fputs(row.c_str(), file);
}

bool MotionLog::Close(std::string* error) {
    if (!file)
        return true;
    const bool failed = std::fflush(file) != 0 || std::ferror(file);
    const bool closed = file == stdout || std::fclose(file) == 0;
    file = nullptr;
    if (failed || !closed) {
        *error = (path == "-" ? std::string("standard output") : path) + ": the motion could not be written";
        return false;
    }
    return true;
}

}  // namespace driver
