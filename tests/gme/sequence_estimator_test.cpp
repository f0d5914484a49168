// gme::SequenceEstimator and gme::Compensate: the command's results bit for bit, refusal
// of bad frames without a trace, independence of estimators on two threads.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "gme/Compensate.h"
#include "gme/SequenceEstimator.h"
#include "tests/driver/SequenceFixture.h"

namespace {

constexpr int kW = 160, kH = 128, kFrames = 12;

std::vector<std::vector<unsigned char>> SceneFrames() {
    std::vector<std::vector<unsigned char>> frames(kFrames, std::vector<unsigned char>(kW * kH));
    for (int n = 0; n < kFrames; ++n)
        test_scene::RenderFrame(n, kW, kH, frames[n].data());
    return frames;
}

std::vector<gme::PairResult> EstimateAll(const std::vector<std::vector<unsigned char>>& frames) {
    gme::SequenceEstimator estimator;
    std::vector<gme::PairResult> results;
    for (const auto& f : frames)
        if (auto r = estimator.push(f.data(), kW, kH, kW))
            results.push_back(*r);
    return results;
}

// Everything but the processor times, bit for bit (NaN equal to NaN).
void ExpectSame(const gme::PairResult& a, const gme::PairResult& b) {
    EXPECT_EQ(std::memcmp(a.params.data(), b.params.data(), sizeof a.params), 0);
    EXPECT_EQ(a.accepted, b.accepted);
    EXPECT_EQ(std::memcmp(&a.mae, &b.mae, sizeof a.mae), 0);
    EXPECT_EQ(a.maeZeroMotion, b.maeZeroMotion);
    EXPECT_EQ(a.objectBlocks, b.objectBlocks);
}

}  // namespace

TEST_F(GmeRun, SequenceEstimatorGivesTheCommandsResults) {
    WriteIntegerScene("in", kW, kH, kFrames);
    ASSERT_EQ(Gme("--motion m.csv in out"), 0);
    std::istringstream csv(Read("m.csv"));
    std::string row;
    std::getline(csv, row);   // header
    const auto output = Frames("out");
    const auto frames = SceneFrames();
    gme::SequenceEstimator estimator;
    EXPECT_FALSE(estimator.push(frames[0].data(), kW, kH, kW));
    EXPECT_EQ(estimator.Compensated(), nullptr);
    for (int n = 1; n < kFrames; ++n) {
        SCOPED_TRACE(n);
        const std::optional<gme::PairResult> r = estimator.push(frames[n].data(), kW, kH, kW);
        ASSERT_TRUE(r);
        ASSERT_TRUE(std::getline(csv, row));
        std::istringstream fields(row);
        std::string f;
        std::getline(fields, f, ',');
        for (double a : r->params) {
            std::getline(fields, f, ',');
            EXPECT_EQ(a, std::strtod(f.c_str(), nullptr));
        }
        std::getline(fields, f, ',');
        EXPECT_EQ(r->accepted, f == "1");
        std::getline(fields, f, ',');
        EXPECT_EQ(r->mae, std::strtod(f.c_str(), nullptr));
        std::getline(fields, f, ',');
        EXPECT_EQ(r->maeZeroMotion, std::strtod(f.c_str(), nullptr));
        std::getline(fields, f, ',');
        EXPECT_EQ(r->objectBlocks, std::atoi(f.c_str()));
        EXPECT_EQ(std::memcmp(estimator.Compensated(), output[n].data(), kW * kH), 0);

        // The mask: whole 8 x 8 blocks of 0 or 255, as many marked as reported.
        const std::uint8_t* mask = estimator.ObjectMask();
        int marked = 0;
        for (int j = 0; j < kH / 8; ++j)
            for (int i = 0; i < kW / 8; ++i) {
                const std::uint8_t v = mask[j * 8 * kW + i * 8];
                ASSERT_TRUE(v == 0 || v == 255);
                for (int y = 0; y < 8; ++y)
                    for (int x = 0; x < 8; ++x)
                        ASSERT_EQ(mask[(j * 8 + y) * kW + i * 8 + x], v);
                marked += v == 255;
            }
        EXPECT_EQ(marked, r->objectBlocks);

        // One-off compensation of the pair with the model used gives the same frame.
        std::vector<std::uint8_t> warped(kW * kH);
        const double mae = gme::Compensate(frames[n - 1].data(), kW, kH, kW, r->params,
                                           warped.data(), kW, frames[n].data(), kW);
        EXPECT_EQ(warped, output[n]);
        EXPECT_EQ(mae, r->mae);
    }
    EXPECT_EQ(estimator.FramesPushed(), kFrames);
}

TEST(SequenceEstimator, BadFramesAreRefusedWithoutATrace) {
    const auto frames = SceneFrames();
    const std::vector<gme::PairResult> expected = EstimateAll(frames);
    // A frame inside a wider buffer (stride above the width) gives the same results.
    std::vector<unsigned char> wide(static_cast<size_t>(kW + 7) * kH, 99);
    gme::SequenceEstimator estimator;
    std::vector<gme::PairResult> got;
    for (int n = 0; n < kFrames; ++n) {
        EXPECT_THROW(estimator.push(nullptr, kW, kH, kW), std::invalid_argument);
        EXPECT_THROW(estimator.push(frames[n].data(), kW, kH, kW - 1), std::invalid_argument);
        EXPECT_THROW(estimator.push(frames[n].data(), 31, 40, 31), std::invalid_argument);
        EXPECT_THROW(estimator.push(frames[n].data(), 40, 31, 40), std::invalid_argument);
        if (n > 0) {
            EXPECT_THROW(estimator.push(frames[n].data(), kW - 8, kH, kW), std::invalid_argument);
        }
        for (int y = 0; y < kH; ++y)
            std::memcpy(&wide[static_cast<size_t>(y) * (kW + 7)], &frames[n][y * kW], kW);
        if (auto r = estimator.push(wide.data(), kW, kH, kW + 7))
            got.push_back(*r);
    }
    ASSERT_EQ(got.size(), expected.size());
    for (size_t k = 0; k < got.size(); ++k)
        ExpectSame(got[k], expected[k]);
    for (const auto& bad : {gme::Settings{0}, gme::Settings{9}, gme::Settings{3, -0.1},
                            gme::Settings{3, 0.1, 0.005, 0.0}, gme::Settings{3, 0.1, 0.005, 1.5}})
        EXPECT_THROW(gme::SequenceEstimator{bad}, std::invalid_argument);

    std::vector<std::uint8_t> out(kW * kH);
    const std::array<double, 6> identity = {0, 1, 0, 0, 0, 1};
    EXPECT_THROW(gme::Compensate(nullptr, kW, kH, kW, identity, out.data(), kW), std::invalid_argument);
    EXPECT_THROW(gme::Compensate(frames[0].data(), 0, kH, kW, identity, out.data(), kW),
                 std::invalid_argument);
    EXPECT_THROW(gme::Compensate(frames[0].data(), kW, kH, kW, identity, out.data(), kW - 1),
                 std::invalid_argument);
    EXPECT_TRUE(std::isnan(gme::Compensate(frames[0].data(), kW, kH, kW, identity, out.data(), kW)));
}

TEST(SequenceEstimator, EstimatorsOnTwoThreadsGiveTheResultsOfOneAlone) {
    const auto frames = SceneFrames();
    const std::vector<gme::PairResult> alone = EstimateAll(frames);
    std::vector<gme::PairResult> a, b;
    std::thread ta([&] { a = EstimateAll(frames); });
    std::thread tb([&] { b = EstimateAll(frames); });
    ta.join();
    tb.join();
    ASSERT_EQ(a.size(), alone.size());
    ASSERT_EQ(b.size(), alone.size());
    for (size_t k = 0; k < alone.size(); ++k) {
        ExpectSame(a[k], alone[k]);
        ExpectSame(b[k], alone[k]);
    }
}
