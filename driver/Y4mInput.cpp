// Y4mInput: the command's YUV4MPEG2 input.
#include "driver/Y4mInput.h"

#include "gme/SequenceEstimator.h"
#include "image/VidsFile.h"

namespace driver {

Y4mInput::Y4mInput(const std::string& n) : name(n) {}

bool Y4mInput::Open(std::string* error) {
    std::string why;
    reader = y4m::SequenceReader::Open(name, &why);
    if (!reader) {
        *error = name + ": " + why;
        return false;
    }
    if (Width() < gme::kMinimumWidth || Height() < gme::kMinimumHeight) {
        *error = name + ": time samples of " + std::to_string(Width()) + "x" +
                 std::to_string(Height()) + " are too small; gme needs at least " +
                 std::to_string(gme::kMinimumWidth) + "x" + std::to_string(gme::kMinimumHeight);
        return false;
    }
    return true;
}

std::vector<std::string> Y4mInput::Files() const {
    if (name == "-")
        return {};
    return {name};
}

void Y4mInput::DescribeOutput(ormel::VidsFile& out) {
    ormel::VidsFile imported;   // as a vids input made by vidstool import would report
    reader->Describe(imported);
    out.SetWidth(imported.Width());
    out.SetHeight(imported.Height());
    out.SetFrameRate(imported.FrameRate());
    out.SetSamplingMatrices(ormel::YUV400, imported.Interlaced());
}

bool Y4mInput::DescribeStream(y4m::LumaStream* s, std::string*) {
    *s = reader->Stream();
    return true;
}

FrameInput::Result Y4mInput::Next(unsigned char* luma, std::string* error) {
    std::string why;
    switch (reader->NextLuma(luma, &why)) {
    case y4m::LumaResult::kSample:
        return Result::kSample;
    case y4m::LumaResult::kEnd:
        return Result::kEnd;
    case y4m::LumaResult::kError:
        break;
    }
    *error = name + ": " + why;
    return Result::kError;
}

}  // namespace driver
