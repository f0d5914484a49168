// RunStatistics: progress display and summary line of a run.
#include "driver/RunStatistics.h"

#include <cmath>

namespace driver {

namespace {

constexpr double kShowEvery = 0.1;   // seconds between progress updates

std::string Fixed(double v, int decimals) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    return buf;
}

}  // namespace

RunStatistics::RunStatistics(long pairsExpected)
    : start(Clock::now()), lastShown(start), expected(pairsExpected) {}

void RunStatistics::Add(const gme::PairResult& r) {
    ++pairs;
    rejected += !r.accepted;
    if (std::isfinite(r.mae)) {
        ++measured;
        maeSum += r.mae;
    }
    zeroMotionSum += r.maeZeroMotion;
}

double RunStatistics::Seconds() const {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double RunStatistics::FramesPerSecond() const {
    const double s = Seconds();
    return s > 0 ? (pairs + 1) / s : 0.0;   // a pair per frame, and the first frame
}

std::string RunStatistics::ProgressLine() const {
    std::string line = "pair " + std::to_string(pairs);
    if (expected >= 0)
        line += " of " + std::to_string(expected);
    const double fps = FramesPerSecond();
    line += ", " + Fixed(fps, 1) + " frames/s";
    if (expected >= 0 && fps > 0)
        line += ", " + Fixed((expected - pairs) / fps, 1) + " s left";
    return line;
}

void RunStatistics::ShowProgress(std::FILE* out, bool final) {
    const Clock::time_point now = Clock::now();
    if (!final && std::chrono::duration<double>(now - lastShown).count() < kShowEvery)
        return;
    lastShown = now;
    std::string line = ProgressLine();
    const size_t width = line.size();
    if (width < shownWidth)
        line.append(shownWidth - width, ' ');   // wipe the end of a longer line
    shownWidth = width;
    std::fprintf(out, "\r%s%s", line.c_str(), final ? "\n" : "");
    std::fflush(out);
}

std::string RunStatistics::SummaryLine() const {
    std::string line = "summary: " + std::to_string(pairs) + " pairs, " +
                       std::to_string(rejected) + " rejected (" +
                       Fixed(pairs > 0 ? 100.0 * rejected / pairs : 0.0, 1) + " %), mean MAE " +
                       Fixed(measured > 0 ? maeSum / measured : NAN, 3) + " compensated, " +
                       Fixed(pairs > 0 ? zeroMotionSum / pairs : NAN, 3) + " uncompensated";
    if (measured < pairs)
        line += " (" + std::to_string(pairs - measured) + " pairs without a measurable MAE left out)";
    return line + ", " + Fixed(FramesPerSecond(), 1) + " frames/s";
}

}  // namespace driver
