// Fuzz target: the checks gme makes on a vids input before it creates anything. The input
// is a description, a zero byte, then the data file (no zero byte: all description, no
// data). The sequence is opened as gme opens its input; a refusal must say why, and an
// accepted input must be one the estimator can take (at least two time samples of at
// least the minimum size) whose every declared sample then reads, and no more.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "driver/VidsInput.h"
#include "fuzz/fuzz_support.h"
#include "gme/SequenceEstimator.h"

namespace {

void Check(bool ok) {
    if (!ok) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const void* zero = std::memchr(data, 0, size);
    const size_t des = zero == nullptr ? size : static_cast<const uint8_t*>(zero) - data;
    const size_t pic = zero == nullptr ? 0 : size - des - 1;
    const std::string seq = fuzz::PathOf("seq");
    fuzz::WriteFile(seq + ".des", data, des);
    fuzz::WriteFile(seq + ".pic", data + des + (zero == nullptr ? 0 : 1), pic);

    driver::VidsInput input(seq);
    std::string error;
    if (!input.Open(&error)) {
        Check(error.compare(0, seq.size(), seq) == 0 && error.size() > seq.size() + 2);
        return 0;
    }
    Check(input.Width() >= gme::kMinimumWidth && input.Height() >= gme::kMinimumHeight);
    Check(input.Count() >= 2);
    std::vector<unsigned char> luma(static_cast<size_t>(input.Width()) * input.Height());
    for (long t = 0; t < input.Count(); ++t)
        Check(input.Next(luma.data(), &error) == driver::FrameInput::Result::kSample);
    Check(input.Next(luma.data(), &error) == driver::FrameInput::Result::kEnd);
    return 0;
}
