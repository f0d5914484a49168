// gme::SequenceEstimator: the global motion of a video held in memory, one frame after
// the other. Push 8-bit luminance planes in display order; from the second frame on each
// push returns the motion of the pair (previous frame, this frame) with the error of its
// compensation. Results are those of the gme command, bit for bit: the command itself
// runs on this class.
//
// Model convention: params (a0 .. a5) map a pixel (x, y) of the CURRENT frame, x the
// column and y the row, to the position (a0 + a1 x + a2 y, a3 + a4 x + a5 y) of the
// PREVIOUS frame; current(x, y) is predicted by previous at that position, bilinearly.
// The identity is (0, 1, 0, 0, 0, 1).
//
// This header needs only the standard library. Nothing reachable through it ends the
// process: bad arguments throw std::invalid_argument (the estimator unchanged), a fault
// of the numerical core throws gme::FatalError, memory exhaustion std::bad_alloc; after
// either of the last two the estimator must not be used again. An estimator is used by
// one thread at a time; estimators on different threads are independent.
#ifndef GME_SEQUENCEESTIMATOR_H
#define GME_SEQUENCEESTIMATOR_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>

namespace gme {

// A fault of the numerical core that the command-line tool reports by exiting.
class FatalError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Frames must be at least this large in both directions with the default three pyramid
// levels: the coarsest level must leave room for the +-7 pixel translation search
// (8 samples). With L levels the minimum is 8 * 2^(L - 1) samples a side.
constexpr int kMinimumWidth = 32;
constexpr int kMinimumHeight = 32;
constexpr int kMaximumLevels = 8;

struct Settings {
    // The estimator's tuning; the defaults are the gme command's. The constructor refuses
    // levels outside 1 .. kMaximumLevels, a percent outside [1e-6, 1] and negative or
    // non-finite bounds (std::invalid_argument).
    int levels = 3;            // pyramid levels, full resolution included
    double er1 = 0.1;          // convergence bound on the translation increments
    double er2 = 0.005;        // convergence bound on the linear-term increments
    double percent = 0.1;      // share of pixels taken as outliers in the first pair
    // Where the estimator writes its lines ("| Final parameter ...", "Initial
    // Conditions: ...", "Estimation failed for this frame!"); null writes nothing.
    std::FILE* log = nullptr;
    // Fatal faults print their report on standard output and end the process with
    // status 1, as the command does, instead of throwing FatalError.
    bool exitOnFatalError = false;
};

struct PairResult {
    // The model used for the pair: the new estimate when accepted, else the last
    // accepted one (the identity-free first estimate is always accepted).
    std::array<double, 6> params;
    bool accepted;
    // Mean absolute luminance difference between the compensated previous frame and
    // the current frame, over the pixels whose position falls inside the previous frame
    // (NaN when none does).
    double mae;
    // The same without any warp: over all pixels of the two frames.
    double maeZeroMotion;
    // 8 x 8 blocks marked as independently moving in the object mask after the pair.
    int objectBlocks;
    // Processor seconds (std::clock) of the estimate and of the compensation (the
    // command's "Estimator time" and "Compensator time"). Not reproducible.
    double estimatorSeconds;
    double compensatorSeconds;
};

class SequenceEstimator {
public:
    explicit SequenceEstimator(const Settings& settings = Settings());
    ~SequenceEstimator();
    SequenceEstimator(SequenceEstimator&&) noexcept;
    SequenceEstimator& operator=(SequenceEstimator&&) noexcept;
    SequenceEstimator(const SequenceEstimator&) = delete;
    SequenceEstimator& operator=(const SequenceEstimator&) = delete;

    // Adds the next frame: height rows of width samples, row r starting at
    // luma + r * stride. The first frame fixes the size and gives no result; every
    // later one gives the result of its pair. The plane is copied; the caller keeps it.
    // std::invalid_argument when luma is null, stride < width, the size is below the
    // minimum for the levels, or it differs from the first frame's.
    std::optional<PairResult> push(const std::uint8_t* luma, int width, int height,
                                   std::ptrdiff_t stride);

    // After a pair: the previous frame warped onto the current one (0 where the
    // position falls outside), and the object mask (255 in object blocks, 0 elsewhere;
    // a right or bottom strip narrower than a block stays 0). Width() x Height() bytes,
    // rows Width() apart, valid until the next push. Null before the first pair.
    const std::uint8_t* Compensated() const;
    const std::uint8_t* ObjectMask() const;

    int Width() const;         // 0 before the first frame
    int Height() const;
    long FramesPushed() const;

private:
    struct State;
    Settings settings;
    std::unique_ptr<State> state;   // made at the first frame, when the size is known
};

}  // namespace gme

#endif
