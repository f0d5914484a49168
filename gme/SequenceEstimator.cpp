// SequenceEstimator: the command's frame loop over frames held in memory. The first
// pair goes through EstimateFirst, every later one through Estimate; the compensator
// then warps the previous frame with the model the estimator holds.
#include "gme/SequenceEstimator.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "estimation/BinGlobalMotionEstimator.h"
#include "image/YUVImage.h"
#include "motion/GlobalMotionCompensator.h"
#include "motion/MotionModel.h"
#include "numeric/Fatal.h"
#include "segmentation/BinImage.h"

namespace gme {

namespace {

// std::clock ticks per second, written as the literal the command's timings use.
constexpr double kClocksPerSecond = 1000000.0;
constexpr int kBlock = 8;
constexpr unsigned char kObject = 255;

double Seconds(std::clock_t from, std::clock_t to) {
    return static_cast<double>(to - from) / kClocksPerSecond;
}

void CopyPlane(const std::uint8_t* src, std::ptrdiff_t stride, int width, int height,
               unsigned char* dst) {
    for (int y = 0; y < height; ++y)
        std::memcpy(dst + static_cast<std::ptrdiff_t>(y) * width, src + y * stride,
                    static_cast<size_t>(width));
}

// Mean |a - b| over n samples; the integer sum is exact, so is the double it becomes.
double MeanAbsDifference(const unsigned char* a, const unsigned char* b, long n) {
    long long sum = 0;
    for (long i = 0; i < n; ++i)
        sum += std::abs(a[i] - b[i]);
    return static_cast<double>(sum) / static_cast<double>(n);
}

// Marked 8 x 8 blocks of a mask whose whole blocks are uniformly 0 or 255.
int CountObjectBlocks(const unsigned char* mask, int width, int height) {
    int count = 0;
    for (int j = 0; j + kBlock <= height; j += kBlock)
        for (int i = 0; i + kBlock <= width; i += kBlock)
            count += mask[static_cast<std::ptrdiff_t>(j) * width + i] == kObject;
    return count;
}

}  // namespace

struct SequenceEstimator::State {
    State(const Settings& s, int w, int h)
        : width(w), height(h),
          estimator(s.levels, s.er1, s.er2, s.percent, ormel::YUV400),
          frameA(ormel::YUV400, w, h), frameB(ormel::YUV400, w, h),
          compensated(ormel::YUV400, w, h), mask(w, h, 0, 255, ormel::quiet),
          compensator(model) {
        estimator.log = s.log;
        if (!frameA.GetArray(ormel::Y_COMP) || !frameB.GetArray(ormel::Y_COMP) ||
            !compensated.GetArray(ormel::Y_COMP))
            throw std::bad_alloc();
    }

    int width;
    int height;
    long frames = 0;
    int err = 0;   // the estimator's block error, carried from pair to pair
    BinGlobalMotionEstimator estimator;
    ormel::YUVImage frameA;
    ormel::YUVImage frameB;
    ormel::YUVImage* previous = &frameA;
    ormel::YUVImage* current = &frameB;
    ormel::YUVImage compensated;
    BinImage mask;
    MotionModel model;
    GlobalMotionCompensator compensator;
};

SequenceEstimator::SequenceEstimator(const Settings& s) : settings(s), state() {
    if (settings.levels < 1 || settings.levels > kMaximumLevels)
        throw std::invalid_argument("gme::SequenceEstimator: levels must be 1 to " +
                                    std::to_string(kMaximumLevels));
    if (!(settings.percent >= 1e-6 && settings.percent <= 1))
        throw std::invalid_argument("gme::SequenceEstimator: percent must be 1e-6 to 1");
    if (!(settings.er1 >= 0 && settings.er2 >= 0 && std::isfinite(settings.er1) &&
          std::isfinite(settings.er2)))
        throw std::invalid_argument("gme::SequenceEstimator: er1 and er2 must be finite and not negative");
}

SequenceEstimator::~SequenceEstimator() = default;
SequenceEstimator::SequenceEstimator(SequenceEstimator&&) noexcept = default;
SequenceEstimator& SequenceEstimator::operator=(SequenceEstimator&&) noexcept = default;

std::optional<PairResult> SequenceEstimator::push(const std::uint8_t* luma, int width,
                                                  int height, std::ptrdiff_t stride) {
    if (!luma)
        throw std::invalid_argument("gme::SequenceEstimator::push: null frame");
    const int minimum = 8 << (settings.levels - 1);   // 32 for three levels
    if (width < minimum || height < minimum)
        throw std::invalid_argument("gme::SequenceEstimator::push: a " + std::to_string(width) +
                                    "x" + std::to_string(height) + " frame is below the minimum " +
                                    std::to_string(minimum) + "x" + std::to_string(minimum));
    if (stride < width)
        throw std::invalid_argument("gme::SequenceEstimator::push: stride " +
                                    std::to_string(stride) + " is below the width " +
                                    std::to_string(width));
    if (state && (width != state->width || height != state->height))
        throw std::invalid_argument("gme::SequenceEstimator::push: a " + std::to_string(width) +
                                    "x" + std::to_string(height) + " frame after " +
                                    std::to_string(state->width) + "x" +
                                    std::to_string(state->height) + " ones");

    std::optional<numeric::ThrowOnFatal> throwing;
    if (!settings.exitOnFatalError)
        throwing.emplace();
    try {
        if (!state)
            state = std::make_unique<State>(settings, width, height);
        State& s = *state;
        CopyPlane(luma, stride, width, height, s.current->GetArray(ormel::Y_COMP));
        if (++s.frames == 1) {
            std::swap(s.previous, s.current);
            return std::nullopt;
        }

        const std::clock_t t1 = std::clock();
        if (s.frames == 2)
            s.estimator.EstimateFirst(*s.current, *s.previous, s.mask, &s.err);
        else
            s.estimator.Estimate(*s.current, *s.previous, s.mask, &s.err);
        const std::clock_t t2 = std::clock();
        s.model = s.estimator.GetModel();
        s.compensator.SetModel(s.model);
        PairResult r;
        r.mae = s.compensator.CompensateWithMAE(*s.previous, *s.current, s.compensated, 100);
        const std::clock_t t3 = std::clock();

        const std::vector<double> p = s.model.getParameterVector();
        for (size_t i = 0; i < r.params.size(); ++i)
            r.params[i] = i < p.size() ? p[i] : 0.0;
        r.accepted = s.estimator.accepted;
        const long n = static_cast<long>(width) * height;
        r.maeZeroMotion = MeanAbsDifference(s.current->GetArray(ormel::Y_COMP),
                                            s.previous->GetArray(ormel::Y_COMP), n);
        r.objectBlocks = CountObjectBlocks(s.mask.GetArray(ormel::Y_COMP), width, height);
        r.estimatorSeconds = Seconds(t1, t2);
        r.compensatorSeconds = Seconds(t2, t3);
        std::swap(s.previous, s.current);
        return r;
    } catch (const numeric::FatalError& e) {
        throw FatalError(e.what());
    }
}

const std::uint8_t* SequenceEstimator::Compensated() const {
    return state && state->frames >= 2 ? state->compensated.GetArray(ormel::Y_COMP) : nullptr;
}

const std::uint8_t* SequenceEstimator::ObjectMask() const {
    return state && state->frames >= 2 ? state->mask.GetArray(ormel::Y_COMP) : nullptr;
}

int SequenceEstimator::Width() const { return state ? state->width : 0; }
int SequenceEstimator::Height() const { return state ? state->height : 0; }
long SequenceEstimator::FramesPushed() const { return state ? state->frames : 0; }

}  // namespace gme
